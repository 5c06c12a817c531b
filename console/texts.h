// Texts that the host prepares for the plug-in, and the languages that the plug-in has.
#pragma once

#include "blocks.h"

#include <cstdint>
#include <kx3mpu6.h>
#include <string_view>
#include <vector>

namespace kx3console {

[[nodiscard]] std::vector<kx3_language_info> languages();

/// English captions of the operations, by their numbers; empty for what is none.
[[nodiscard]] std::vector<std::u16string_view> operationCaptions();

/// Fill `prgnote` and `MainmnuPrg`, and set `Language`(0). There are texts in English and in
/// simplified Chinese; other languages get the English ones.
void storeTexts(SharedBlocks &blocks, std::int32_t language);

} // namespace kx3console
