#include "stop_request.h"

#include <csignal>
#include <initializer_list>

namespace kx3console {

namespace {

volatile std::sig_atomic_t requested = 0;

void note(int /*signal*/) { requested = 1; }

void handle(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

} // namespace

StopRequest::StopRequest() {
    requested = 0;
    handle(note, static_cast<int>(SA_RESETHAND));
}

StopRequest::~StopRequest() { handle(SIG_DFL, 0); }

bool StopRequest::pending() noexcept { return requested != 0; }

} // namespace kx3console
