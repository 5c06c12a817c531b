// Failures as a host receives them: a status, and an error object with the description.
#pragma once

#include "base/error.h"

#include <string_view>
#include <windows.h>

namespace kx3::com {

/// The status of an automation run-time error: facility "control", the error number as code.
[[nodiscard]] constexpr HRESULT statusOf(ErrorNumber number) noexcept {
    return static_cast<HRESULT>(0x800A0000U + (static_cast<std::uint32_t>(number) & 0xFFFFU));
}

/// Make an error object with `description` the thread's current one and return `status`. When there
/// is no memory for it, the status goes alone.
HRESULT fail(HRESULT status, std::u16string_view description) noexcept;
/// The same for an error of the engine.
HRESULT fail(const Failure &failure) noexcept;

/// The one wall between exceptions and the outside: `body`'s status, or the failure that ended it.
template <class Body> HRESULT guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return fail(describeCurrentException());
    }
}

} // namespace kx3::com
