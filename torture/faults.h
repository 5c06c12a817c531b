// Which outside call fails, and how; and a trace of all that goes out and comes back.
#pragma once

#include "base/types.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kx3::torture {

/// Kinds of outside calls, each of which can fail in ways of its own.
enum class Point : std::uint8_t {
    comWrite,
    bulkWrite,
    bulkRead,
    digits,
    poll,
    startCheck,
    prepare,
    compare,
    order, ///< a session host operation without a result
    messageBox,
    modal,
    yield,
    clock,
    system,     ///< a call of the operating system: files, named memory
    allocation, ///< counted apart from all others
};

enum class Effect : std::uint8_t {
    raise,        ///< an error of the run-time kind, number `value`
    foreign,      ///< an exception of another type
    instead,      ///< not carried out, `value` is the result
    afterwards,   ///< carried out, but the result is `value`
    half,         ///< half of the data is lost, the result is that of success
    never,        ///< a read that stays pending for a long time, then fails with state `value`
    corrupt,      ///< one byte arrives wrong
    event,        ///< a report with event `value`
    garbage,      ///< a report of any bytes that is not a last one
    stop,         ///< the host sets result code `value` in this yield
    reenter,      ///< the host calls into the plug-in
    leaveOpen,    ///< the presenter comes back while the form is open
    answer,       ///< the message box is answered by button `value`
    fails,        ///< a system call, with error number `value`; an allocation
    disconnected, ///< the call fails as it does when the programmer is gone
};

/// A way in which calls between two points of the list above can fail.
struct Fault {
    std::string name; ///< of its row of the table, with its value where the row has several
    Point first;
    Point last;
    Effect effect;
    Long value;
    [[nodiscard]] bool applies(Point point) const { return first <= point && point <= last; }
};

/// All ways in which a call can fail.
[[nodiscard]] std::span<const Fault> allFaults();
/// The fault of that name, or null.
[[nodiscard]] const Fault *findFault(std::string_view name);

/// A fault that strikes the `call`-th outside call (from 1), or the next one that can have it, once
/// or from there on.
struct Planned {
    std::uint64_t call = 0;
    const Fault *fault = nullptr;
    bool fromThenOn = false;
    bool struck = false;
};

/// What went out and came back in one run.
struct Trace {
    std::vector<Point> calls;
    std::uint64_t allocations = 0;
    std::uint64_t digest = 0xCBF29CE484222325U;
    bool struck = false; ///< a fault has struck
};

class Injector {
  public:
    /// Start counting and tracing. Beyond `budget` calls the run is exhausted.
    void arm(std::vector<Planned> plan, std::size_t budget);
    /// Back to an outside that works; the trace of the run.
    Trace disarm() noexcept;

    /// Count a call; the fault that strikes it, or null.
    const Fault *strike(Point point);
    /// Count an allocation; true when it fails.
    [[nodiscard]] bool strikeAllocation() noexcept;
    /// A run that makes far more calls than the clean one: everything that waits must come to its end.
    [[nodiscard]] bool exhausted() const noexcept { return trace_.calls.size() > budget_; }

    template <class... Values> void trace(Values... values) noexcept {
        ((trace_.digest = (trace_.digest ^ static_cast<std::uint64_t>(values)) * 0x100000001B3U), ...);
    }
    void traceBytes(std::span<const Byte> bytes) noexcept;
    [[nodiscard]] std::uint64_t digest() const noexcept { return trace_.digest; }

    /// Marks code of the outside, as long as it lives: its own allocations and system calls are not the
    /// plug-in's. With `isOutside` false, a call from there back into the plug-in.
    class Outside {
      public:
        explicit Outside(Injector &injector, bool isOutside = true) noexcept
            : injector_(injector), before_(std::exchange(injector.outside_, isOutside)) {}
        ~Outside() { injector_.outside_ = before_; }
        Outside(const Outside &) = delete;
        Outside &operator=(const Outside &) = delete;

      private:
        Injector &injector_;
        bool before_;
    };
    [[nodiscard]] bool insidePlugIn() const noexcept { return armed_ && !outside_; }

  private:
    /// The fault that strikes the `call`-th call of its count, or null.
    [[nodiscard]] const Fault *due(Point point, std::uint64_t call) noexcept;

    bool armed_ = false;
    bool outside_ = false;
    std::size_t budget_ = 0;
    std::vector<Planned> plan_;
    Trace trace_;
};

/// The process's one injector: system calls and allocations have no object to carry it.
[[nodiscard]] Injector &injector() noexcept;

} // namespace kx3::torture
