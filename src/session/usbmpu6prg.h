// The programming-session window, for the non-ARM devices.
#pragma once

#include "host/context.h"

namespace kx3 {

/// Runs the device operations of the non-ARM devices by announcing them to the host.
class usbmpu6prg {
  public:
    explicit usbmpu6prg(Context &context) noexcept : context_(context) {}
    usbmpu6prg(const usbmpu6prg &) = delete;
    usbmpu6prg &operator=(const usbmpu6prg &) = delete;

    /// Perform one complete session and unload the window.
    void wmpu0();

  private:
    Context &context_;
};

} // namespace kx3
