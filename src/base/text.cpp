#include "base/text.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace kx3 {

namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf16(std::u16string &out, char32_t code) {
    if (code < 0x10000) {
        out.push_back(static_cast<char16_t>(code));
        return;
    }
    out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
}

void appendUtf8(std::string &out, char32_t code) {
    const auto tail = [&](int shift) { out.push_back(static_cast<char>(0x80 | ((code >> shift) & 0x3F))); };
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        tail(0);
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        tail(6);
        tail(0);
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        tail(12);
        tail(6);
        tail(0);
    }
}

struct Decoded {
    char32_t code;
    std::size_t length; // bytes taken, at least 1
};

Decoded decodeUtf8(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return {first, 1};
    const std::size_t length = first >= 0xF0 && first < 0xF5 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (first >= 0xF5 || length == 0 || length > text.size()) return {replacement, 1};
    char32_t code = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {replacement, 1};
        code = (code << 6) | (byte(i) & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return {replacement, 1};
    return {code, length};
}

} // namespace

std::u16string fromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const Decoded decoded = decodeUtf8(text);
        appendUtf16(out, decoded.code);
        text.remove_prefix(decoded.length);
    }
    return out;
}

std::string toUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        const bool high = code >= 0xD800 && code < 0xDC00;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00U);
        else if (code >= 0xD800 && code < 0xE000)
            code = replacement;
        appendUtf8(out, code);
    }
    return out;
}

std::u16string hex(Long value) {
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    auto rest = static_cast<std::uint32_t>(value);
    std::u16string text;
    do {
        text.insert(text.begin(), digits[rest & 0xF]);
        rest >>= 4;
    } while (rest != 0);
    return text;
}

std::u16string decimal(Long value) {
    const std::string text = std::to_string(value);
    return {text.begin(), text.end()};
}

std::u16string twoDecimals(Double value) {
    const auto rounded = static_cast<std::int64_t>(std::round(std::fabs(value) * 100.0));
    const std::string cents = std::to_string(rounded % 100);
    const std::string text = (value < 0 && rounded != 0 ? "-" : "") + std::to_string(rounded / 100) +
                             (cents.size() == 1 ? ".0" : ".") + cents;
    return {text.begin(), text.end()};
}

std::u16string hundredths(Long hundredths) {
    const std::int64_t magnitude = std::llabs(static_cast<std::int64_t>(hundredths));
    std::string text = (hundredths < 0 ? "-" : "") + std::to_string(magnitude / 100);
    const auto fraction = static_cast<char>(magnitude % 100);
    if (fraction != 0) {
        text += '.';
        text += static_cast<char>('0' + fraction / 10);
        if (fraction % 10 != 0) text += static_cast<char>('0' + fraction % 10);
    }
    return {text.begin(), text.end()};
}

std::u16string_view trimBlanks(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == std::u16string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

std::u16string_view nameOfCaption(std::u16string_view caption) {
    caption = trimBlanks(caption);
    if (caption.ends_with(u':')) caption.remove_suffix(1);
    return trimBlanks(caption);
}

} // namespace kx3
