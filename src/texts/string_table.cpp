#include "texts/string_table.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace kx3 {

namespace {

struct Row {
    Long id;
    std::array<std::u16string_view, languageCount> texts;
};

constexpr std::array rows{
// A row with more or fewer texts than there are languages has another type of array.
#define KX3_TEXT(name, id, ...) Row{name, std::to_array<std::u16string_view>({__VA_ARGS__})},
#include "texts/string_table.inc"
#undef KX3_TEXT
};
static_assert(std::is_sorted(rows.begin(), rows.end(), [](const Row &a, const Row &b) { return a.id <= b.id; }));

[[noreturn]] void raiseNotFound(Long language, Long id) {
    const std::int64_t identifier = std::int64_t{language} + id;
    raise(ErrorNumber::resourceNotFound,
          join(u"Resource with identifier '", fromUtf8(std::to_string(identifier)), u"' not found"));
}

} // namespace

std::u16string_view stringTableText(Long language, Long id) {
    const bool isBlockStart = language >= 0 && language % languageStep == 0 && language / languageStep < languageCount;
    const auto *row = std::lower_bound(rows.begin(), rows.end(), id, [](const Row &r, Long key) { return r.id < key; });
    if (!isBlockStart || row == rows.end() || row->id != id) raiseNotFound(language, id);
    return row->texts[static_cast<std::size_t>(language / languageStep)];
}

} // namespace kx3
