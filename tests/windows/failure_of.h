#pragma once

#include "base/error.h"

namespace kx3::test {

/// Number and description of the error that `action` raises; number 0 when it raises none.
template <class Action> [[nodiscard]] Failure failureOf(Action action) {
    try {
        action();
    } catch (...) {
        return describeCurrentException();
    }
    return {ErrorNumber{}, u""};
}

} // namespace kx3::test
