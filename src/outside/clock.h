#pragma once

namespace kx3 {

/// Time of day, so that tests can run over midnight.
class Clock {
  public:
    virtual ~Clock() = default;
    /// Seconds since local midnight, with fractions.
    [[nodiscard]] virtual float secondsSinceMidnight() = 0;
};

/// Seconds from `start` to `end`, both since midnight; an end before the start is one of the next
/// day.
[[nodiscard]] inline double elapsedSeconds(float start, float end) {
    constexpr double secondsPerDay = 86400.0;
    const double elapsed = static_cast<double>(end) - static_cast<double>(start);
    return end < start ? elapsed + secondsPerDay : elapsed;
}

} // namespace kx3
