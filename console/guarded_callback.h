// Callbacks of the plug-in must not throw.
#pragma once

#include "base/error.h"
#include "base/text.h"

#include <exception>
#include <kx3mpu6.h>

namespace kx3console {

/// Run `action`; an exception becomes the failure of the callback.
template <class Action> [[nodiscard]] kx3_status guardedCallback(Action action) noexcept {
    try {
        action();
        return KX3_OK;
    } catch (const kx3::Error &error) {
        kx3_fail_with(kx3::toUtf8(error.description()).c_str());
        return static_cast<kx3_status>(error.number());
    } catch (const std::exception &error) {
        kx3_fail_with(error.what());
        return KX3_INTERNAL;
    }
}

} // namespace kx3console
