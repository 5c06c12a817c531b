// `mpu6 config` and `mpu6 notes`.
#pragma once

#include "../exit_codes.h"
#include "request.h"

namespace kx3console::config {

/// Carry out the request: results go to standard output, messages and questions to standard error.
/// Gives the exit status, or fails.
[[nodiscard]] Exit run(const Request &request);

} // namespace kx3console::config
