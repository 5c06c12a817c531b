// Sends the device buffer to the programmer, block by block.
#pragma once

#include "arm/arm_driver.h"
#include "arm/block_geometry.h"

namespace kx3 {

/// How sending a block ended. A failed transfer leaves result code `error`.
enum class Sent : Byte { completely, announcementFailed, dataFailed };

/// Whether the last chunk carries the bytes behind the data, where the configuration bytes stand.
enum class Tail : Byte { dataOnly, withConfiguration };

/// Geometry of an operation that writes.
[[nodiscard]] BlockGeometry programGeometry(ArmDriver &driver, EndRounding rounding);

/// Announce and send the chunks of `block`; each transfer's status becomes the result code.
[[nodiscard]] Sent sendBlock(ArmDriver &driver, const BlockGeometry &geometry, Long block, Tail tail);

} // namespace kx3
