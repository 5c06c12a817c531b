#pragma once

namespace kx3 {

/// Time of day, so that tests can run over midnight.
class Clock {
  public:
    virtual ~Clock() = default;
    /// Seconds since local midnight, with fractions.
    [[nodiscard]] virtual float secondsSinceMidnight() = 0;
};

} // namespace kx3
