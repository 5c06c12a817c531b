// Ctrl-C and termination signals as a request that the running operation takes note of.
#pragma once

namespace kx3console {

/// While it lives, the first SIGINT or SIGTERM only asks for a stop; the second one ends the process
/// as it always does.
class StopRequest {
  public:
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest &) = delete;
    StopRequest &operator=(const StopRequest &) = delete;

    [[nodiscard]] static bool pending() noexcept;
};

} // namespace kx3console
