// The commands that run operations on a device.
#pragma once

#include "command_line.h"
#include "profile.h"
#include "report.h"

namespace kx3console {

/// Carry out the command of `options` on the device of `profile`. Fails when it cannot even begin.
[[nodiscard]] RunReport runOnDevice(Options options, const Profile &profile, Display &display);

} // namespace kx3console
