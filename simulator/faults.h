// Faults that the simulated programmer is told to show, from a compact text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kx3sim {

/// Where a fault strikes. Calls of each point are counted from 1.
enum class FaultPoint : std::uint8_t { comWrite, bulkWrite, bulkRead, report, version, chipId, start, prepare };
inline constexpr std::size_t faultPoints = 8;

enum class FaultKind : std::uint8_t {
    fail,     ///< a write returns 1; a read stays pending for `value` steps and then fails
    pending,  ///< a read stays pending for `value` steps and then succeeds
    corrupt,  ///< one byte of a read arrives wrong
    missing,  ///< no report comes
    compare,  ///< a report with a compare error at address `value`
    identity, ///< a report with an identity error
    stop,     ///< a report with the stop event
    wrong,    ///< a wrong firmware version or maker byte
    refuse,   ///< the host refuses to start or to prepare the device
};

struct Fault {
    FaultPoint point;
    FaultKind kind;
    std::uint32_t call; ///< number of the call, from 1
    bool fromThenOn;    ///< all later calls, too
    std::uint64_t value;
};

/// A bit of the chip's main memory that flips once, when the byte has been programmed.
struct BitFlip {
    std::uint64_t offset;
    unsigned bit;
    bool done = false;
};

class FaultPlan {
  public:
    FaultPlan() = default;
    /// Parse a comma-separated list of faults (simulator/README.md); an empty text has none. Throws
    /// Failure, naming the item, when one is malformed.
    FaultPlan(std::string_view text, std::uint64_t seed);

    /// Count a call of `point`; the fault that strikes it, or nullptr.
    [[nodiscard]] const Fault *strike(FaultPoint point) noexcept;
    /// Reports per percent of progress; 0 means that every stage is done at once.
    [[nodiscard]] std::uint64_t reportsPerPercent() const noexcept { return reportsPerPercent_; }
    [[nodiscard]] std::vector<BitFlip> &bitFlips() noexcept { return bitFlips_; }
    /// Next number of the seeded sequence.
    [[nodiscard]] std::uint64_t random() noexcept;

  private:
    void parseItem(std::string_view item);
    void parseBitFlip(std::string_view item, std::string_view place);
    void parseCallFault(std::string_view item, std::string_view point, std::string_view rest);

    std::vector<Fault> faults_;
    std::vector<BitFlip> bitFlips_;
    std::array<std::uint32_t, faultPoints> calls_{};
    std::uint64_t reportsPerPercent_ = 0;
    std::uint64_t state_ = 0;
};

} // namespace kx3sim
