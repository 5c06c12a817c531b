// A command that the programmer is carrying out, as a sequence of stages.
#pragma once

#include "simulator/geometry.h"
#include "simulator/protocol.h"

#include <array>
#include <cstddef>
#include <string>

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
    Work work = Work::refuse;
    protocol::StageCode code = protocol::StageCode::none;
    Byte pass = 0; ///< verify pass 1 or 2
};

/// The stages of one command, in order.
class StageList {
  public:
    void add(Stage stage) { stages_[count_++] = stage; }
    [[nodiscard]] std::size_t size() const noexcept { return count_; }
    [[nodiscard]] const Stage &operator[](std::size_t index) const { return stages_[index]; }

  private:
    static constexpr std::size_t most = 7; ///< an auto sequence of one block with two verify passes
    std::array<Stage, most> stages_{};
    std::size_t count_ = 0;
};

/// Stages of an operation on a block. An operation that does not run in blocks has one block.
[[nodiscard]] StageList stagesOf(protocol::Operation operation, const BlockRange &block, bool isFirstBlock,
                                 const kx6sim_geometry &geometry);

/// A command under way. Progress comes in steps; immediate commands take one step a stage.
class Run {
  public:
    Run(protocol::Operation itsOperation, const BlockRange &itsBlock, const StageList &stages)
        : operation(itsOperation), block(itsBlock), stages_(stages) {}
    /// A command of a single stage that concerns no block.
    explicit Run(Stage only) : operation(protocol::Operation::autoSequence) { stages_.add(only); }

    [[nodiscard]] const Stage &stage() const { return stages_[current_]; }
    [[nodiscard]] bool isLastStage() const noexcept { return current_ + 1 == stages_.size(); }
    void enterNextStage() noexcept {
        ++current_;
        steps_ = 0;
    }
    /// Percent of the stage that are done at the next step. `stepsPerPercent` 0 gives 100 at once.
    [[nodiscard]] Byte step(std::uint64_t stepsPerPercent) noexcept;

    protocol::Operation operation;
    BlockRange block;
    protocol::Configuration configuration{};

  private:
    StageList stages_;
    std::size_t current_ = 0;
    std::uint64_t steps_ = 0;
};

} // namespace kx3sim
