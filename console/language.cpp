#include "language.h"

#include <algorithm>
#include <string>

namespace kx3console {

std::optional<std::int32_t> languageOffset(std::string_view text) {
    const auto *row = std::find_if(languageTable.begin(), languageTable.end(), [text](const Language &language) {
        return language.name == text || std::to_string(language.offset) == text;
    });
    if (row == languageTable.end()) return std::nullopt;
    return row->offset;
}

} // namespace kx3console
