// Default configuration bytes of the selected device.
#pragma once

#include "base/types.h"

#include <map>

namespace kx3 {

struct BlockArrays;

/// Write the initial configuration bytes of programming mode `prgmode`(0) into `ibuffer`, at the
/// positions derived from `tlength`(0). Modes without defaults write nothing. Raises Overflow or the
/// subscript error for a position outside; bytes written before it stay written.
void sinitmpu6(BlockArrays &blocks);

/// The bytes that `sinitmpu6` writes for a device, by their index in `ibuffer`. Raises Overflow.
[[nodiscard]] std::map<Long, Byte> defaultBytes(Byte mode, Long tlength);

} // namespace kx3
