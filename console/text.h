// Texts that people type: names, numbers, and what a misspelt name may have meant.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx3console {

/// `text` without the blanks at its ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

[[nodiscard]] std::string lowered(std::string_view text);

/// `text` in lower case, with single blanks and none at the ends, without a colon at its end.
[[nodiscard]] std::string normalName(std::string_view text);

/// Whether `word` is one of `words`, which blanks keep apart.
[[nodiscard]] bool hasWord(std::string_view words, std::string_view word);

/// The whole text as a number of 32 bits; nothing when it is anything else.
[[nodiscard]] std::optional<std::uint32_t> numberIn(std::string_view text, int base);
/// The same of a decimal number, or of a hexadecimal one behind "0x".
[[nodiscard]] std::optional<std::uint32_t> numberIn(std::string_view text);
[[nodiscard]] bool hasHexPrefix(std::string_view text);

/// "Near it are: A, B, C." with at most three of `names`, nearest first. Case does not count.
[[nodiscard]] std::string nearIt(std::string_view wanted, std::vector<std::string> names);

/// `text`, filled up with blanks to `width` characters; UTF-8.
[[nodiscard]] std::string padded(std::string text, std::size_t width);
/// Number of characters of a UTF-8 text.
[[nodiscard]] std::size_t widthOf(std::string_view text);

} // namespace kx3console
