// Which error an action raises.
#pragma once

#include "base/error.h"

#include <optional>

namespace kx3::test {

/// Number of the error that `action` raises; nothing when it raises none.
template <class Action> std::optional<ErrorNumber> errorOf(Action action) {
    try {
        action();
    } catch (const Error &error) {
        return error.number();
    }
    return std::nullopt;
}

} // namespace kx3::test
