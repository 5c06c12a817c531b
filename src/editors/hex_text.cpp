#include "editors/hex_text.h"

#include "base/text.h"

namespace kx3 {

namespace {

std::optional<std::uint32_t> digitValue(char16_t character) noexcept {
    if (character >= u'0' && character <= u'9') return character - u'0';
    if (character >= u'A' && character <= u'F') return character - u'A' + 10;
    if (character >= u'a' && character <= u'f') return character - u'a' + 10;
    return std::nullopt;
}

} // namespace

bool isHexDigit(char16_t character) noexcept { return digitValue(character).has_value(); }

std::optional<std::uint32_t> parseHex(std::u16string_view text) noexcept {
    if (text.empty() || text.size() > 8) return std::nullopt;
    std::uint32_t number = 0;
    for (const char16_t character : text) {
        const auto digit = digitValue(character);
        if (!digit) return std::nullopt;
        number = number << 4 | *digit;
    }
    return number;
}

std::u16string hexWord(std::uint32_t word) {
    const std::u16string digits = hex(static_cast<Long>(word));
    return std::u16string(8 - digits.size(), u'0') + digits;
}

} // namespace kx3
