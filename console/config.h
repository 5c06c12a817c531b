// `mpu6 config` and `mpu6 notes`.
#pragma once

#include "command_line.h"
#include "failure.h"

namespace kx3console {

/// Carry out a configuration command. Fails when it cannot even begin.
[[nodiscard]] Exit runConfig(const Options &options);
/// Show a device note.
[[nodiscard]] Exit runNotes(const Options &options);

} // namespace kx3console
