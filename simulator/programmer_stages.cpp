// What the stages of a run do to the chip.
#include "simulator/simulated_programmer.h"

namespace kx3sim {

using namespace protocol;

SimulatedProgrammer::StageResult SimulatedProgrammer::perform(Work work) {
    const bool isProtected = chip_ && chip_->isProtected;
    const std::uint32_t first = run_->block.first;
    switch (work) {
    case Work::erase: erase(); return std::nullopt;
    case Work::blankCheck: return isProtected ? refusal(Event::identityError, first) : blankCheck();
    case Work::program: return isProtected ? refusal(Event::compareError, first) : program();
    case Work::verify: return compareStaged(device_->bytesOf(run_->block));
    case Work::programConfiguration:
        if (isProtected) return refusal(Event::identityError, first);
        changedChip().configuration.store(0, run_->configuration);
        return std::nullopt;
    case Work::checkConfiguration: return isProtected ? refusal(Event::identityError, first) : checkConfiguration();
    case Work::protect: changedChip().isProtected = true; return std::nullopt;
    case Work::read:
        if (isProtected) return refusal(Event::compareError, first);
        window_ = {.offered = device_->bytesOf(run_->block)};
        return std::nullopt;
    case Work::queryVersion:
    case Work::readIdentity: return std::nullopt;
    case Work::refuse: return refusal(Event::compareError, first);
    }
    return std::nullopt;
}

/// An automatic sequence erases the addresses that it programs; an erase, and any that has to lift the
/// protection, erases the whole chip.
void SimulatedProgrammer::erase() {
    Chip &target = changedChip();
    if (run_->facts->operation == Operation::erase || target.isProtected) {
        target.massErase();
        return;
    }
    const std::size_t first = device_->bytesOf(run_->block).offset;
    target.main.erase(first, target.main.size() - first);
}

SimulatedProgrammer::StageResult SimulatedProgrammer::blankCheck() {
    const Memory &main = chip().main;
    const std::size_t first = device_->bytesOf(run_->block).offset;
    const std::optional<std::size_t> found = main.firstProgrammed(first, main.size() - first);
    return found ? std::optional(differenceAt(*found, {}, 0)) : std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::program() {
    const DataRange block = device_->bytesOf(run_->block);
    const auto wanted = std::span<const Byte>(staged_).first(block.count);
    const std::optional<std::size_t> stuck = programMain(block.offset, wanted);
    return stuck ? std::optional(differenceAt(*stuck, wanted, block.offset)) : std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::checkConfiguration() {
    const DataRange data = device_->directData();
    if (!chip().main.contains(data.offset, data.count)) return refusal(Event::compareError, run_->block.first);
    if (StageResult differs = compareStaged(data)) return differs;
    const std::optional<std::size_t> found = chip().configuration.firstDifference(0, run_->configuration);
    if (!found) return std::nullopt;
    return StageFailure{Event::compareError,
                        run_->block.addresses + static_cast<std::uint32_t>(*found),
                        {chip().configuration[*found], 0},
                        {run_->configuration[*found], 0}};
}

SimulatedProgrammer::StageResult SimulatedProgrammer::compareStaged(const DataRange &range) {
    const auto wanted = std::span<const Byte>(staged_).first(range.count);
    const std::optional<std::size_t> found = chip().main.firstDifference(range.offset, wanted);
    return found ? std::optional(differenceAt(*found, wanted, range.offset)) : std::nullopt;
}

SimulatedProgrammer::StageFailure SimulatedProgrammer::differenceAt(std::size_t offset, std::span<const Byte> wanted,
                                                                    std::size_t base) const {
    const std::size_t width = device_->bytesOf(1);
    const std::size_t first = offset / width * width;
    StageFailure failure{Event::compareError, static_cast<std::uint32_t>(offset / width), dataAt(first), {}};
    for (std::size_t i = 0; i < width; ++i)
        if (first + i >= base && first + i - base < wanted.size()) failure.buffer[i] = wanted[first + i - base];
    return failure;
}

SimulatedProgrammer::StageFailure SimulatedProgrammer::refusal(Event event, std::uint32_t address) const {
    const bool readable = chip_ && device_ && !chip_->isProtected;
    return {event, address, readable ? dataAt(device_->bytesOf(address)) : Data{}, {}};
}

SimulatedProgrammer::Data SimulatedProgrammer::dataAt(std::size_t offset) const {
    Data data{};
    for (std::size_t i = 0; i < device_->bytesOf(1); ++i)
        if (chip_->main.contains(offset + i, 1)) data[i] = chip_->main[offset + i];
    return data;
}

} // namespace kx3sim
