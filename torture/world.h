// A host with its blocks, the simulated programmer, and a plug-in on an outside that can fail.
#pragma once

#include "outside.h"
#include "rig/blocks.h"
#include "scenario.h"

namespace kx3::torture {

using test::Bytes;

/// Everything that the oracle looks at.
struct Outcome {
    kx3sim::Signal signal = kx3sim::Signal::none;
    std::optional<ErrorNumber> raised;
    std::u16string failure; ///< of an ARM session
    std::u16string log;
    Bytes chip; ///< all areas, and whether it is protected
    Bytes buffer;
    int boxes = 0;
    bool attached = false; ///< all main blocks, and the buffer
    std::size_t names = 0; ///< blocks that exist, after attaching alone
    Trace trace;
    std::string objection; ///< a promise that was broken on the way
};

class World : public test::ApartmentOn<FaultyIo, FaultyHost, FaultyUi, FaultyClock> {
  public:
    explicit World(const Target &target);
    ~World();
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    /// Play `scenario` from its start with these faults. A run that goes far beyond `budget` calls
    /// is brought to its end.
    Outcome play(const Scenario &scenario, std::vector<Planned> plan = {}, std::size_t budget = SIZE_MAX);
    /// The same without faults, on the chip as it is.
    kx3sim::Signal playOn(const Scenario &scenario);
    /// Play an operation, and say whether it passes.
    bool passes(Byte operation, ChipState before = ChipState::blank);
    /// The buffer before a run.
    [[nodiscard]] const Bytes &image() const noexcept { return image_; }

    static void flip(std::uint64_t offset, Byte bit);
    [[nodiscard]] kx3sim::SessionHost &programmer() const noexcept { return sessionHost->real; }

  private:
    void prepare(const Scenario &scenario);
    void fillBlocks();
    void insertChip(ChipState state);
    void act(const Scenario &scenario);
    void duringYield();
    void reenter();
    void refused(const char *what, const std::function<void()> &call);

    const Target target_;
    std::optional<test::SavedBlocks> saved_;
    Bytes image_;
    Bytes programmed_; ///< main memory and configuration of a chip that the image was programmed into
    const Scenario *scenario_ = nullptr;
    std::size_t step_ = 0;
    std::string objection_;
};

} // namespace kx3::torture
