// Where configuration bytes stand in the device buffer.
#pragma once

#include "base/types.h"

namespace kx3 {

/// What the offset of a configuration byte counts from: `tlength`(0), twice that (an image counted
/// in words), or the start of the buffer.
enum class AddressBase : Byte { length, twiceLength, bufferStart };

/// Index in the device buffer of the byte `offset` from `base`. Raises Overflow.
[[nodiscard]] Long configAddress(AddressBase base, Long offset, Long tlength);

/// Offset from the start of the buffer of the configuration byte that is copied to the image's end.
inline constexpr Long configByteAddress = 0x103F;

} // namespace kx3
