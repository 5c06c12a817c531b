#pragma once

#include "outside/clock.h"
#include "platform/system.h"

namespace kx3 {

/// The system's time of day.
class SystemClock final : public Clock {
  public:
    float secondsSinceMidnight() override { return platform::secondsSinceMidnight(); }
};

} // namespace kx3
