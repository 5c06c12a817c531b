// The system's wide characters and the engine's UTF-16 are the same 16-bit units under two names.
#pragma once

#include <string>
#include <string_view>

namespace kx3::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

/// `text` for a system call; valid as long as `text` is.
[[nodiscard]] inline const wchar_t *wide(const char16_t *text) noexcept {
    return reinterpret_cast<const wchar_t *>(text);
}
[[nodiscard]] inline const wchar_t *wide(const std::u16string &text) noexcept { return wide(text.c_str()); }

/// A text of the system in the engine's type; valid as long as `text` is.
[[nodiscard]] inline std::u16string_view utf16(std::wstring_view text) noexcept {
    return {reinterpret_cast<const char16_t *>(text.data()), text.size()};
}

} // namespace kx3::platform
