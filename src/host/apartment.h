// Everything that belongs to one host thread.
#pragma once

#include "blocks/sharemap.h"
#include "context/context.h"
#include "context/session_report.h"
#include "outside/clock.h"
#include "outside/programmer_io.h"
#include "outside/session_host.h"
#include "outside/ui.h"

#include <map>
#include <memory>

namespace kx3 {

class ArmSession;
class Editors;
class usbmpu6prg;
struct ArmProfile;

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
    explicit Apartment(Outside outside);
    ~Apartment();
    Apartment(const Apartment &) = delete;
    Apartment &operator=(const Apartment &) = delete;

    [[nodiscard]] sharemap &blocks() noexcept { return blocks_; }
    [[nodiscard]] Context &context() noexcept { return context_; }
    /// The session window, for a host that shows it.
    [[nodiscard]] usbmpu6prg &sessionWindow();

    /// How the latest session ended.
    [[nodiscard]] const SessionReport &report() const noexcept { return report_; }
    /// Begin a new report, unless an operation is running.
    void beginReport();
    /// Run one session of the driver module that `profile` describes; it is a row of the table.
    void runArmSession(const ArmProfile &profile);
    /// Run one session of the session window.
    void runSessionWindow();
    /// Open the editor of programming mode `mode` modally; return when it is closed.
    void openEditor(Byte mode);

    /// True while an operation runs or a dialog is open.
    [[nodiscard]] bool inUse() const noexcept { return uses_ > 0; }
    /// The blocks stay where they are while they are in use: transfers and loops of an operation hold
    /// addresses inside them, and a dialog writes where it has read. Raises "invalid call" then.
    void refuseWhileInUse() const;
    /// Release the 60 main blocks; while they are in use, at its end.
    void releaseMainBlocks() noexcept;

  private:
    /// Marks the blocks as in use.
    class Use;
    /// Marks an operation as running; refuses a second one from inside the first.
    class Run;

    Outside outside_;
    sharemap blocks_;
    SessionHostSlot sessionHost_;
    SessionReport report_;
    Context context_;
    std::map<const ArmProfile *, std::unique_ptr<ArmSession>> armSessions_;
    std::unique_ptr<usbmpu6prg> sessionWindow_;
    std::unique_ptr<Editors> editors_;
    int uses_ = 0;
    bool running_ = false;
    bool releasePending_ = false;
};

} // namespace kx3
