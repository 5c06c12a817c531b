// Everything that belongs to one host thread.
#pragma once

#include "arm/arm_session.h"
#include "editors/editors.h"
#include "context/context.h"
#include "session/usbmpu6prg.h"

#include <memory>
#include <optional>

namespace kx3 {

/// The outside components that a door hands over.
struct Outside {
    std::unique_ptr<ProgrammerIo> io;
    SessionHostFactory sessionHost;
    std::unique_ptr<Ui> ui;
    std::unique_ptr<Clock> clock;
};

/// One host thread's state: the block bindings, the outside components and the windows, shared by
/// all clsMPU objects of the thread. Windows are created on first use and kept.
class Apartment {
  public:
    explicit Apartment(Outside outside)
        : outside_(std::move(outside)),
          sessionHost_(outside_.sessionHost), context_{blocks_, *outside_.io, sessionHost_, *outside_.ui,
                                                       *outside_.clock} {}
    Apartment(const Apartment &) = delete;
    Apartment &operator=(const Apartment &) = delete;

    [[nodiscard]] sharemap &blocks() noexcept { return blocks_; }
    [[nodiscard]] Context &context() noexcept { return context_; }
    /// The session window, for a host that shows it.
    [[nodiscard]] usbmpu6prg &sessionWindow() { return existing(sessionWindow_); }
    [[nodiscard]] Editors &editors() { return existing(editors_); }

    /// Why the last ARM session ended on its error path; empty when it did not.
    [[nodiscard]] std::u16string sessionFailure() const {
        return lastArmSession_ == nullptr ? std::u16string() : lastArmSession_->failure();
    }
    /// Run one session of a twin module.
    void runArmSession(const ArmProfile &profile);
    /// Run one session of the session window.
    void runSessionWindow();

    /// True while an operation runs. Its transfers and loops hold addresses inside the blocks.
    [[nodiscard]] bool running() const noexcept { return running_; }
    /// Release the 60 main blocks; while an operation runs, at its end.
    void releaseMainBlocks() noexcept;

  private:
    /// Marks an operation as running; refuses a second one from inside the first.
    class Operation;

    template <class Window, class... Arguments>
    Window &existing(std::optional<Window> &slot, const Arguments &...arguments) {
        if (!slot) slot.emplace(context_, arguments...);
        return *slot;
    }

    Outside outside_;
    sharemap blocks_;
    SessionHostSlot sessionHost_;
    Context context_;
    std::optional<ArmSession> arm_[2];
    const ArmSession *lastArmSession_ = nullptr;
    std::optional<usbmpu6prg> sessionWindow_;
    std::optional<Editors> editors_;
    bool running_ = false;
    bool releasePending_ = false;
};

} // namespace kx3
