// What the shared blocks hold, for people who write hosts.
#pragma once

#include "blocks/block_texts.h"
#include "failure.h"

#include <string>

namespace kx3console {

struct Options;

/// "Byte"
[[nodiscard]] std::string_view typeName(kx3::ElementType type);
/// Elements or bytes of a block; those of `ibuffer` depend on n = `buflength`(0).
[[nodiscard]] std::string sizeText(kx3::Long size);
/// The indexes of the elements: "3", "0 to 10".
[[nodiscard]] std::string placeText(const kx3::ElementText &element);

/// `mpu6 blocks`: list the blocks, or one with its elements.
[[nodiscard]] Exit runBlocks(const Options &options);

} // namespace kx3console
