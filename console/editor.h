// What the configuration editor of a device shows and edits, as the plug-in describes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <kx3mpu6.h>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx3console {

/// Bytes of the device buffer by their addresses.
using Bytes = std::map<std::int32_t, std::uint8_t>;

/// One row of an editor.
struct Field : kx3_field_info {
    std::string group;                ///< caption of the frame around it, without blanks at the ends
    std::string name;                 ///< its own caption, without blanks at the ends and without the colon
    std::vector<std::string> choices; ///< of a list

    /// Of its bytes in the device buffer, least significant byte first.
    [[nodiscard]] std::span<const std::int32_t> places() const {
        return {addresses, static_cast<std::size_t>(byte_count)};
    }
    [[nodiscard]] bool holdsBits() const { return kind == KX3_FIELD_LIST || kind == KX3_FIELD_CHECK; }
    [[nodiscard]] std::uint32_t mask() const { return (1U << width) - 1U; }
    /// "Combo1(3)", or "Check1" when it is no array element.
    [[nodiscard]] std::string controlName() const;
    /// "Fuse Low Byte/CKDIV8"
    [[nodiscard]] std::string fullName() const;
    /// "reset pin", "lock" and so on; empty for no hazard.
    [[nodiscard]] std::string_view hazardName() const;
};

struct Editor {
    std::string name; ///< "edit_figmpu65"
    std::vector<Field> fields;
    std::vector<kx3_config_byte_info> bytes;
    std::optional<std::int32_t> mirror; ///< address of the second copy of the one byte
    std::shared_ptr<kx3_editor> owner;  ///< of the fields' C texts
};

/// The editor of `device` with the words of `language`; nothing for a mode that has none. Fails with
/// Exit::usage for a device whose addresses do not fit.
[[nodiscard]] std::optional<Editor> describeEditor(const kx3_device &device, std::int32_t language);

/// The default configuration bytes of a device; none for a mode without defaults.
[[nodiscard]] Bytes defaultBytes(const kx3_device &device);

// Fields are found by the names that people type. Case, blanks at the ends, runs of blanks and a colon
// at the end do not count, and the beginning of a caption is enough as long as no other caption begins
// like it. A field can be named by
//
//   its caption                    CKDIV8
//   frame and caption              Fuse Low Byte/CKDIV8
//   a frame, for all its fields    Fuse Low Byte/
//   its control in the dialog      Combo1(7)

using FieldList = std::vector<const Field *>;

/// The fields that a person can see for this device.
[[nodiscard]] FieldList visibleFields(const Editor &editor);
/// The one field of that name, or all fields of that frame. Fails with Exit::usage and lists the names
/// that were meant, or the nearest ones.
[[nodiscard]] FieldList findFields(const Editor &editor, std::string_view name);
/// The one field of that name; a frame is none.
[[nodiscard]] const Field &findField(const Editor &editor, std::string_view name);

} // namespace kx3console
