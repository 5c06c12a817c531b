// The languages of the string table, as the user names them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kx3console {

struct Language {
    std::string_view name;
    std::int32_t offset; ///< the value of `Language`(0)
};

inline constexpr std::array languageTable{
    Language{"en", 0},        Language{"zh-cn", 3000},    Language{"zh-tw", 6000}, Language{"ko", 9000},
    Language{"pl", 12000},    Language{"default", 15000}, Language{"it", 18000},   Language{"nl", 21000},
    Language{"pt-br", 24000}, Language{"tr", 27000},      Language{"hu", 30000},   Language{"ru", 33000},
};

inline constexpr std::int32_t english = 0;
inline constexpr std::int32_t chineseSimplified = 3000;

/// The language with this name, or with this offset in decimal digits.
[[nodiscard]] std::optional<std::int32_t> languageOffset(std::string_view text);

} // namespace kx3console
