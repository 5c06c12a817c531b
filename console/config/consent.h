// Asking before something is written.
#pragma once

#include "../outcome.h"
#include "../window.h"
#include "changes.h"
#include "request.h"

#include <string>

namespace kx3console::config {

/// Whether a person sits at a terminal and wants to be asked.
[[nodiscard]] bool mayAsk(const Request &request);

/// Whether the changes may be written: by the options of the request, or by what a person types. Where
/// nobody can type, a box in `window` (which may be null) asks, but not for what is dangerous: Enter
/// answers it too easily. Exit::done, or Exit::refused with the reason.
[[nodiscard]] Outcome askConsent(const Request &request, const Changes &changes, const std::string &target,
                                 const Window *window);

} // namespace kx3console::config
