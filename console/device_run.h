// The commands that run an operation on a device.
#pragma once

#include "display.h"
#include "options.h"
#include "profile.h"
#include "report.h"

namespace kx3console {

/// Carry out the command of `options` on the device of `profile`. Fails when it cannot even begin.
[[nodiscard]] OperationReport runOnDevice(const Options &options, const Profile &profile, Display &display);

} // namespace kx3console
