#include "simulator/run.h"

#include <algorithm>

namespace kx3sim {

using protocol::Operation;
using protocol::StageCode;

namespace {

constexpr Byte firstPass = 1;
constexpr Byte secondPass = 2;

StageList autoStages(const BlockRange &block, bool isFirstBlock, const kx6sim_geometry &geometry) {
    StageList stages;
    if (isFirstBlock) {
        stages.add({Work::erase, StageCode::erase});
        stages.add({Work::blankCheck, StageCode::blankCheck});
    }
    stages.add({Work::program, StageCode::program});
    stages.add({Work::verify, StageCode::verify, firstPass});
    if (geometry.verify_margin > 0) stages.add({Work::verify, StageCode::verify, secondPass});
    if (block.isLast) {
        stages.add({Work::programConfiguration, StageCode::configuration});
        if (geometry.protect_in_auto != 0) stages.add({Work::protect, StageCode::protection});
    }
    return stages;
}

Stage onlyStage(Operation operation) {
    switch (operation) {
    case Operation::read:
    case Operation::verify: return {Work::read, StageCode::none};
    case Operation::program: return {Work::program, StageCode::program};
    case Operation::blankCheck: return {Work::blankCheck, StageCode::blankCheck};
    case Operation::protect: return {Work::protect, StageCode::protection};
    case Operation::erase: return {Work::erase, StageCode::erase};
    case Operation::programConfiguration: return {Work::programConfiguration, StageCode::configuration};
    case Operation::checkConfiguration: return {Work::checkConfiguration, StageCode::verify};
    case Operation::autoSequence:
    case Operation::autoProgram: break;
    }
    return {};
}

} // namespace

StageList stagesOf(Operation operation, const BlockRange &block, bool isFirstBlock, const kx6sim_geometry &geometry) {
    if (operation == Operation::autoSequence || operation == Operation::autoProgram)
        return autoStages(block, isFirstBlock, geometry);
    StageList stages;
    stages.add(onlyStage(operation));
    return stages;
}

Byte Run::step(std::uint64_t stepsPerPercent) noexcept {
    if (stepsPerPercent == 0) return protocol::finished;
    const std::uint64_t percent = steps_++ / stepsPerPercent;
    return static_cast<Byte>(std::min<std::uint64_t>(percent, protocol::finished));
}

} // namespace kx3sim
