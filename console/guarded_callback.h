// Callbacks of the plug-in must not throw.
#pragma once

#include <kx3mpu6.h>

namespace kx3console {

/// The status for the exception that is being handled; its text goes to the plug-in.
[[nodiscard]] kx3_status callbackFailure() noexcept;

/// Run `action`; an exception becomes the failure of the callback.
template <class Action> [[nodiscard]] inline kx3_status guardedCallback(Action action) noexcept {
    try {
        action();
        return KX3_OK;
    } catch (...) {
        return callbackFailure();
    }
}

} // namespace kx3console
