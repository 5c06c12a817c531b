// Values of fields: as the dialog shows them, as people type them, and as bits in the device buffer.
#pragma once

#include "editor.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kx3console {

/// What the control of a field shows.
struct FieldState {
    std::int32_t item = -1; ///< list: selected item, -1 for none
    bool checked = false;   ///< check box
    std::string text;       ///< text box; selected item of a list
    bool enabled = true;
    bool operator==(const FieldState &) const = default;
};

/// What a person enters into the control of a field.
struct Entry {
    std::int32_t item = -1;
    bool checked = false;
    std::string text = {};                    ///< for the text box, as it is to be pasted
    std::optional<std::uint32_t> number = {}; ///< that `text` means; nothing when it is no number
};

/// The entry that `value` asks for. A list takes the text of an item (case does not count, a beginning
/// that no other item has is enough, a leading "[010] " may be left out) or its index, with "#" in
/// front where the digits could be a text, too. A check box takes checked or unchecked (also on, off,
/// yes, no, 1, 0). A hex box takes digits as they are typed there; with 0x in front they are filled up
/// to the box's length. Fails with Exit::usage and says what there is to choose from.
[[nodiscard]] Entry parseEntry(const Field &field, std::string_view value);

/// Whether the control shows what was entered.
[[nodiscard]] bool shows(const Field &field, const FieldState &state, const Entry &entry);

/// The value as people read it, such as "Enable(0)", "checked", "FF"; "(none)" for an empty list.
[[nodiscard]] std::string valueText(const Field &field, const FieldState &state);

/// The field's bits in `buffer`, or the number in its bytes.
[[nodiscard]] std::uint32_t storedBits(const Field &field, std::span<const std::uint8_t> buffer);

/// Whether a field with a hazard that changes from `before` to `after` can lock the user out.
[[nodiscard]] bool locksOut(const Field &field, std::uint32_t before, std::uint32_t after);

} // namespace kx3console
