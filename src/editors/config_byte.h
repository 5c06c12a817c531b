// The configuration byte that stands at a fixed place of the image and is copied to its end.
#pragma once

#include "base/types.h"

namespace kx3 {

/// Index in the device buffer of the configuration byte.
inline constexpr Long configByteAddress = 0x103F;

} // namespace kx3
