// The calls that the plug-in makes to its host: served by the session host of the simulated programmer.
#pragma once

#include "outcome.h"

#include <cstdint>
#include <initializer_list>
#include <kx3mpu6.h>
#include <optional>
#include <simulator/session_host.h>
#include <span>

namespace kx3console {

class Trace;

/// The operations of the session host.
enum class HostCall : std::uint8_t {
#define KX3_OPERATION(name, ...) name,
#include "outside/session_host_operations.inc"
};

/// The plug-in's session host, and what is seen of its calls and of those to the programmer's
/// libraries. One at a time.
class HostCalls {
  public:
    /// `report` is block ibuf1; `trace` may be null.
    HostCalls(kx3sim::SessionHost &host, std::span<const std::uint8_t> report, Trace *trace);
    ~HostCalls();
    HostCalls(const HostCalls &) = delete;
    HostCalls &operator=(const HostCalls &) = delete;

    Evidence evidence;

  private:
    template <HostCall call, auto member> struct Callback;

    void note(HostCall call, std::initializer_list<std::int64_t> arguments, std::optional<std::int64_t> result = {});
    void note(const kx3_io_call &call);

    kx3sim::SessionHost &host_;
    std::span<const std::uint8_t> report_;
    Trace *trace_;
};

} // namespace kx3console
