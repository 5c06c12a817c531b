// The plug-in's callbacks, served by the session host of the simulated programmer.
#pragma once

#include "outcome.h"
#include "trace.h"

#include <kx3mpu6.h>
#include <simulator/session_host.h>
#include <span>

namespace kx3console {

/// Where the calls of the plug-in go, and what is noted of them. `trace` may be null.
struct HostCalls {
    kx3sim::SessionHost &host;
    std::span<const std::uint8_t> report; ///< block ibuf1
    Evidence &evidence;
    Trace *trace;
};

/// Callbacks on `calls`, which must outlive their use. An exception of the session host becomes a
/// failed callback.
[[nodiscard]] kx3_session_host sessionHostCallbacks(HostCalls &calls);

/// Observe the programmer I/O calls on `calls`.
void observeIo(HostCalls &calls);

} // namespace kx3console
