// Which outside call fails, and how; and a trace of all that goes out and comes back.
#pragma once

#include "base/types.h"

#include <cstdint>
#include <span>
#include <string_view>
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

/// A set of points.
using Points = std::uint32_t;
constexpr Points operator|(Point a, Point b) { return 1U << static_cast<unsigned>(a) | 1U << static_cast<unsigned>(b); }
constexpr Points operator|(Points set, Point point) { return set | 1U << static_cast<unsigned>(point); }

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
    systemError,  ///< the call fails with error number `value`
    outOfMemory,  ///< the allocation fails
    disconnected, ///< the call fails as it does when the programmer is gone
};

struct Fault {
    std::string_view name;
    Points points;
    Effect effect;
    Long value = 0;

    constexpr Fault(std::string_view itsName, Points where, Effect what, Long itsValue = 0)
        : name(itsName), points(where), effect(what), value(itsValue) {}
    constexpr Fault(std::string_view itsName, Point where, Effect what, Long itsValue = 0)
        : Fault(itsName, where | where, what, itsValue) {}
    [[nodiscard]] constexpr bool applies(Point point) const { return (points | point) == points; }
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

class Injector {
  public:
    /// Start counting and tracing.
    void arm(std::vector<Planned> plan, std::size_t budget);
    /// Back to an outside that works.
    void disarm() noexcept { armed_ = false; }

    /// Count a call; the fault that strikes it, or null.
    const Fault *strike(Point point);
    /// Count an allocation; true when it fails.
    [[nodiscard]] bool strikeAllocation() noexcept;
    /// A run that makes far more calls than the clean one: everything that waits must come to its end.
    [[nodiscard]] bool exhausted() const noexcept { return calls_.size() > budget_; }
    [[nodiscard]] bool anyStruck() const noexcept;

    template <class... Values> void trace(Values... values) noexcept {
        ((digest_ = (digest_ ^ static_cast<std::uint64_t>(values)) * 0x100000001B3U), ...);
    }
    void traceBytes(std::span<const Byte> bytes) noexcept;

    [[nodiscard]] std::uint64_t digest() const noexcept { return digest_; }
    [[nodiscard]] const std::vector<Point> &calls() const noexcept { return calls_; }
    [[nodiscard]] std::uint64_t allocations() const noexcept { return allocations_; }

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
    bool armed_ = false;
    bool outside_ = false;
    std::size_t budget_ = 0;
    std::vector<Planned> plan_;
    std::vector<Point> calls_;
    std::uint64_t allocations_ = 0;
    std::uint64_t digest_ = 0;
};

/// The process's one injector: system calls and allocations have no object to carry it.
[[nodiscard]] Injector &injector() noexcept;

} // namespace kx3::torture
