#include "thread_state.h"

namespace kx3::native {

ThreadState &threadState() {
    // On the heap: a library with much thread storage of its own finds no room in some processes.
    thread_local const auto state = std::make_unique<ThreadState>();
    return *state;
}

kx3_status rememberCurrentException() noexcept {
    const Failure failure = describeCurrentException();
    try {
        threadState().lastError = toUtf8(failure.description);
    } catch (...) {
        // The status alone has to do.
        return static_cast<kx3_status>(failure.number);
    }
    return static_cast<kx3_status>(failure.number);
}

} // namespace kx3::native
