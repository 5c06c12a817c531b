// Which editor opens for which programming mode.
#pragma once

#include "base/types.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace kx3 {

/// A set of programming modes (1 to 64); as made by default, every mode.
class ModeSet {
  public:
    constexpr ModeSet() = default;
    template <std::same_as<int>... Modes>
    requires(sizeof...(Modes) > 0) constexpr ModeSet(Modes... modes) : bits_((bit(modes) | ...)) {}

    [[nodiscard]] constexpr bool contains(Byte mode) const {
        return mode >= 1 && mode <= 64 && (bits_ & bit(mode)) != 0;
    }
    [[nodiscard]] constexpr bool containsAll(ModeSet modes) const { return (modes.bits_ & ~bits_) == 0; }
    [[nodiscard]] constexpr bool operator==(const ModeSet &) const = default;

  private:
    static constexpr std::uint64_t bit(int mode) { return std::uint64_t{1} << (mode - 1); }
    std::uint64_t bits_ = ~std::uint64_t{0};
};

struct EditorDescription;

#define KX3_EDITOR(name, ...) extern const EditorDescription name;
#include "editors/editor_list.inc"
#undef KX3_EDITOR

inline constexpr struct {
    std::string_view name;
    ModeSet modes;
    const EditorDescription *editor;
} editorList[] = {
#define KX3_EDITOR(name, ...) {#name, {__VA_ARGS__}, &(name)},
#include "editors/editor_list.inc"
#undef KX3_EDITOR
};

/// The editor of a programming mode, or null.
[[nodiscard]] constexpr const EditorDescription *editorOf(Byte mode) noexcept {
    for (const auto &row : editorList)
        if (row.modes.contains(mode)) return row.editor;
    return nullptr;
}

/// The modes with an editor.
inline constexpr ModeSet editedModes{
#define KX3_EDITOR(name, ...) __VA_ARGS__,
#include "editors/editor_list.inc"
#undef KX3_EDITOR
};

static_assert(
    [] {
        for (Byte mode = 1; mode <= 64; ++mode)
            if (std::count_if(std::begin(editorList), std::end(editorList),
                              [=](const auto &row) { return row.modes.contains(mode); }) > 1)
                return false;
        return true;
    }(),
    "no two editors share a mode");

} // namespace kx3
