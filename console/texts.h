// Texts that the host prepares for the plug-in: note fragments and captions of operations.
#pragma once

#include "blocks.h"

#include <cstdint>

namespace kx3console {

/// Fill `prgnote` and `MainmnuPrg`, and set `Language`(0). There are texts in English and in
/// simplified Chinese; other languages get the English ones.
void storeTexts(SharedBlocks &blocks, std::int32_t language);

} // namespace kx3console
