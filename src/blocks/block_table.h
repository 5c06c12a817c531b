// The one table of shared blocks: attaching, releasing, documentation and tests are driven by it.
#pragma once

#include "blocks/array.h"

#include <array>
#include <string>
#include <string_view>

namespace kx3 {

/// A shared block as host and plug-in agree on it.
struct BlockRow {
    std::string_view root; ///< name between the prefix and the instance number
    ElementType type;      ///< element type
    Long count;            ///< elements of the plug-in's array once attached
    Long bytes;            ///< size asked for when the plug-in creates the block
};

/// Prefix of every block's full name.
inline constexpr std::string_view blockPrefix = "tamsel";

/// The 60 blocks whose names end with the instance number, in attach order.
inline constexpr std::array blockTable{
#define KX3_BLOCK(member, root, type, count, bytes) BlockRow{root, elementTypeOf<type>, count, bytes},
#include "blocks/block_table.inc"
#undef KX3_BLOCK
};
static_assert(blockTable.size() == 60);

/// Bytes of the device buffer behind the device data: room for the configuration bytes.
inline constexpr Long deviceBufferExtra = 2200;
/// The two device-buffer blocks, attached after the table; their names carry no number. Count and
/// size of `ibuffer` are those of the device: `buflength`(0) + `deviceBufferExtra`.
inline constexpr BlockRow deviceBufferRow{"ibuffer", ElementType::byte, 0, 0};
inline constexpr BlockRow deviceBuffer66Row{"ibuffer66", ElementType::byte, 15, 40};

/// Full name of a block of the table for host instance `num`: prefix, root, decimal number.
[[nodiscard]] std::string blockName(const BlockRow &row, Integer num);
/// Full name of a device-buffer block.
[[nodiscard]] std::string blockName(const BlockRow &row);

} // namespace kx3
