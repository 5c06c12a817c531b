// Asking before something is written.
#pragma once

#include "command_line.h"
#include "config_report.h"
#include "failure.h"
#include "window.h"

#include <optional>

namespace kx3console {

/// Why the changes of the report must not be written; nothing when they may be: by the options, or by
/// what a person types. Where nobody can type, a box in `window` (which may be null) asks, but not for
/// what is dangerous: Enter answers it too easily.
[[nodiscard]] std::optional<Failure> refusal(const Options &options, const ConfigReport &report, const Window *window);

} // namespace kx3console
