// The session driver of the ARM devices: one driver, two profiles.
#pragma once

#include "arm/arm_profile.h"
#include "host/context.h"

namespace kx3 {

/// Runs one operation of an ARM device: loads the algorithm image, downloads and checks it, and
/// drives the programmer by its status reports. Everything it reports goes into the shared blocks.
class ArmSession {
  public:
    ArmSession(Context &context, const ArmProfile &profile) noexcept : context_(context), profile_(profile) {}
    ArmSession(const ArmSession &) = delete;
    ArmSession &operator=(const ArmSession &) = delete;

    /// Perform one complete session. Raises an error only when its own error path fails.
    void run();

  private:
    Context &context_;
    const ArmProfile &profile_;
};

} // namespace kx3
