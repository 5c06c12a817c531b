// The ARM driver that serves a device, and whether it can move the device's blocks exactly.
#pragma once

#include "failure.h"
#include "profile.h"

#include <kx3mpu6.h>
#include <optional>

namespace kx3console {

/// The plug-in's driver of a device; nothing for one that the host drives.
[[nodiscard]] std::optional<kx3_driver_info> driverOf(const Profile &profile);

/// Nothing when every operation moves exactly the bytes of every block. A driver counts transfers
/// from addresses and makes all but the last one full, so that some divisions would move too much or
/// too little; such a device would be programmed or verified wrongly.
[[nodiscard]] std::optional<Failure> geometryProblem(const Profile &profile);

} // namespace kx3console
