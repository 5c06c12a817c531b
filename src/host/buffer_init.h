// Default configuration bytes of the selected device.
#pragma once

#include "blocks/sharemap.h"

namespace kx3 {

/// Write the initial configuration bytes of programming mode `prgmode`(0) into `ibuffer`, at the
/// positions derived from `tlength`(0). Modes without defaults write nothing. Raises Overflow or the
/// subscript error for a position outside; bytes written before it stay written.
void sinitmpu6(BlockArrays &blocks);

} // namespace kx3
