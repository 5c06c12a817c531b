#include "announcements.h"

namespace kx3console {

namespace {

/// `prgresult`(1).
constexpr std::size_t requested = 1;
constexpr std::uint8_t wholeSequence = 0;
/// The device's own sequence, for a device that has no list of steps.
constexpr std::uint8_t automaticProgram = 6;

/// `prgmode`(1): 1 announces; a host that has taken note puts its progress there.
constexpr std::size_t state = 1;
constexpr std::uint8_t announced = 1;
constexpr std::uint8_t finished = 100;

} // namespace

std::optional<std::uint8_t> Announcements::take() {
    if (blocks_.mode[state] != announced) return std::nullopt;
    blocks_.mode[state] = finished;
    return operation();
}

std::uint8_t Announcements::operation() {
    if (const std::uint8_t single = blocks_.result[requested]; single != wholeSequence) return single;
    if (blocks_.sequenceLength[0] == 0) return automaticProgram;
    return blocks_.sequence[next_++];
}

} // namespace kx3console
