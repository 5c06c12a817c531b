// Notes about the selected device.
#pragma once

#include "context/context.h"

namespace kx3 {

/// Clear bit 7 of `no`, then show the device note of that number in a message box. Numbers without a
/// note, and notes without a variant for the current device, show nothing. Raises Overflow when an
/// address in the text does not fit a Long.
void mpu6warn(const Context &context, Byte &no);

} // namespace kx3
