// A command that the programmer is carrying out: its operation, its block and its stages.
#pragma once

#include "simulator/device.h"
#include "simulator/protocol.h"

#include <optional>
#include <vector>

namespace kx3sim {

/// What a stage does to the chip or puts into its report.
enum class Work : std::uint8_t {
    erase,
    blankCheck,
    program,
    verify,
    programConfiguration,
    checkConfiguration,
    protect,
    read,         ///< offers the block's data to bulk reads
    queryVersion, ///< the report carries the firmware version
    readIdentity, ///< the report carries maker and device codes
    refuse,       ///< fails: the run breaks a rule
};

struct Stage {
    Work work;
    protocol::StageCode code = protocol::StageCode::none;
    Byte pass = 0; ///< verify pass 1 or 2
};

/// What the programmer knows of an operation.
struct OperationFacts {
    protocol::Operation operation;
    Byte runCode;
    bool inBlocks;                  ///< runs once for each block of the device
    bool takesBlock;                ///< of data, before each run
    std::optional<Stage> onlyStage; ///< nothing: an automatic sequence has several
};

/// The operation of a run packet; nullptr when there is none.
[[nodiscard]] const OperationFacts *operationOf(Byte runCode) noexcept;

/// Progress comes in steps; without a fault that slows the programmer down a stage takes one.
struct Run {
    const OperationFacts *facts = nullptr; ///< null for a service: its only stage concerns no block
    BlockRange block{};
    protocol::Configuration configuration{};
    std::vector<Stage> stages{};
    std::size_t current = 0; ///< stage under way
    std::uint64_t steps = 0; ///< of that stage

    [[nodiscard]] const Stage &stage() const { return stages[current]; }
    /// Percent of the stage that are done at the next step. `stepsPerPercent` 0 gives 100 at once.
    [[nodiscard]] Byte step(std::uint64_t stepsPerPercent) noexcept;
};

/// Stages of an operation on a block. An operation that does not run in blocks has one block.
[[nodiscard]] std::vector<Stage> stagesOf(const OperationFacts &facts, const BlockRange &block, bool isFirstBlock,
                                          const Device &device);

/// Bytes that must have been sent before a run.
[[nodiscard]] std::size_t dataNeeded(const Run &run, const Device &device) noexcept;

} // namespace kx3sim
