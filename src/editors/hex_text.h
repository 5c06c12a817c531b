// Hexadecimal texts of the editors' boxes.
#pragma once

#include "base/types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kx3 {

[[nodiscard]] bool isHexDigit(char16_t character) noexcept;

/// The 32-bit number that 1 to 8 hexadecimal digits stand for; nothing for any other text.
[[nodiscard]] std::optional<std::uint32_t> parseHex(std::u16string_view text) noexcept;

/// `word` as 8 hexadecimal digits.
[[nodiscard]] std::u16string hexWord(std::uint32_t word);

} // namespace kx3
