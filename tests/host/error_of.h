// Which error an action raises.
#pragma once

#include "base/error.h"

#include <optional>

namespace kx3::test {

/// The error that `action` raises; nothing when it raises none.
template <class Action> std::optional<Failure> failureOf(Action action) {
    try {
        action();
    } catch (...) {
        return describeCurrentException();
    }
    return std::nullopt;
}
/// Its number.
template <class Action> std::optional<ErrorNumber> errorOf(Action action) {
    const std::optional<Failure> failure = failureOf(action);
    if (failure) return failure->number;
    return std::nullopt;
}

} // namespace kx3::test
