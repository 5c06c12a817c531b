#include "text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <numeric>
#include <utility>

namespace kx3console {

namespace {

char folded(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// Number of insertions, deletions and replacements that turn one text into the other.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row.at(0), i + 1);
        for (std::size_t k = 0; k < right.size(); ++k) {
            const std::size_t replaced = diagonal + (folded(left[i]) == folded(right[k]) ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({replaced, diagonal + 1, row[k] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), folded);
    return result;
}

std::string normalName(std::string_view text) {
    std::string name;
    for (char c : text) {
        if (c == '\t') c = ' ';
        if (c == ' ' && (name.empty() || name.back() == ' ')) continue;
        name.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    }
    for (const char end : {' ', ':', ' '})
        if (name.ends_with(end)) name.pop_back();
    return name;
}

bool hasWord(std::string_view words, std::string_view word) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        if (words.substr(0, end) == word) return true;
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    return false;
}

std::optional<std::uint32_t> numberIn(std::string_view text, int base) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<std::uint32_t> numberIn(std::string_view text) {
    return hasHexPrefix(text) ? numberIn(text.substr(2), 16) : numberIn(text, 10);
}

bool hasHexPrefix(std::string_view text) { return text.starts_with("0x") || text.starts_with("0X"); }

std::string nearIt(std::string_view wanted, std::vector<std::string> names) {
    constexpr std::size_t most = 3;
    // A name this long is no slip of the hand, and the comparison's cost grows with its length.
    wanted = wanted.substr(0, 100);
    std::stable_sort(names.begin(), names.end(), [wanted](const std::string &left, const std::string &right) {
        return editDistance(wanted, left) < editDistance(wanted, right);
    });
    names.resize(std::min(most, names.size()));
    return fmt::format("Near it are: {}.", fmt::join(names, ", "));
}

std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(std::string text, std::size_t width) {
    const std::size_t used = widthOf(text);
    return used < width ? text.append(width - used, ' ') : text;
}

} // namespace kx3console
