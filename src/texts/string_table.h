// User-interface texts in one block for each language.
#pragma once

#include "base/types.h"

#include <array>
#include <string_view>

namespace kx3 {

/// Identifiers of the texts, as offsets inside a language block.
enum TextId : Long {
#define KX3_TEXT(name, id, ...) name = (id),
#include "texts/string_table.inc"
#undef KX3_TEXT
};

/// The languages in the order of their blocks.
inline constexpr auto languageNames = std::to_array<std::string_view>(
    {"en", "zh-cn", "zh-tw", "ko", "pl", "default", "it", "nl", "pt-br", "tr", "hu", "ru"});
/// Distance between two language blocks; the first one starts at 0.
inline constexpr Long languageStep = 3000;
inline constexpr Long languageCount{languageNames.size()};
/// Start of the block whose language also has literal texts of its own in dialogs and notes.
inline constexpr Long simplifiedChinese = 1 * languageStep;
static_assert(languageNames[1] == "zh-cn");

/// The text with identifier `language` + `id`, exactly as stored. Raises "resource not found" when
/// `language` is not the start of a block, or the table holds no such text.
[[nodiscard]] std::u16string_view stringTableText(Long language, Long id);

} // namespace kx3
