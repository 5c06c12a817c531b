#include "simulator/run.h"

#include <algorithm>
#include <iterator>

namespace kx3sim {

using protocol::Operation;
using protocol::StageCode;

namespace {

constexpr OperationFacts operations[] = {
    {Operation::autoSequence, 1, true, true, std::nullopt},
    {Operation::read, 2, true, false, Stage{Work::read}},
    {Operation::program, 4, true, true, Stage{Work::program, StageCode::program}},
    {Operation::blankCheck, 5, false, false, Stage{Work::blankCheck, StageCode::blankCheck}},
    {Operation::verify, 6, true, false, Stage{Work::read}},
    {Operation::autoProgram, 7, true, true, std::nullopt},
    {Operation::protect, 8, false, false, Stage{Work::protect, StageCode::protection}},
    {Operation::erase, 9, false, false, Stage{Work::erase, StageCode::erase}},
    {Operation::programConfiguration, 10, false, false, Stage{Work::programConfiguration, StageCode::configuration}},
    {Operation::checkConfiguration, 11, false, false, Stage{Work::checkConfiguration, StageCode::verify}},
};

} // namespace

const OperationFacts *operationOf(Byte runCode) noexcept {
    const auto *const found = std::ranges::find(operations, runCode, &OperationFacts::runCode);
    return found == std::end(operations) ? nullptr : found;
}

std::vector<Stage> stagesOf(const OperationFacts &facts, const BlockRange &block, bool isFirstBlock,
                            const Device &device) {
    if (facts.onlyStage) return {*facts.onlyStage};
    std::vector<Stage> stages;
    if (isFirstBlock) stages = {{Work::erase, StageCode::erase}, {Work::blankCheck, StageCode::blankCheck}};
    stages.push_back({Work::program, StageCode::program});
    stages.push_back({Work::verify, StageCode::verify, 1});
    if (device->verify_margin > 0) stages.push_back({Work::verify, StageCode::verify, 2});
    if (block.isLast) stages.push_back({Work::programConfiguration, StageCode::configuration});
    if (block.isLast && device->protect_in_auto != 0) stages.push_back({Work::protect, StageCode::protection});
    return stages;
}

std::size_t dataNeeded(const Run &run, const Device &device) noexcept {
    if (!run.facts->inBlocks) return device.directData().count;
    return run.facts->takesBlock ? device.bytesOf(run.block).count : 0;
}

Byte Run::step(std::uint64_t stepsPerPercent) noexcept {
    if (stepsPerPercent == 0) return protocol::finished;
    const std::uint64_t percent = steps++ / stepsPerPercent;
    return static_cast<Byte>(std::min<std::uint64_t>(percent, protocol::finished));
}

} // namespace kx3sim
