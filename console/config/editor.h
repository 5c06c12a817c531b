// What the configuration editor of a device shows and edits, as the plug-in describes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <kx3mpu6.h>
#include <optional>
#include <string>
#include <vector>

namespace kx3console::config {

/// One row of an editor. Texts are UTF-8.
struct Field {
    std::string frame;              ///< caption of the frame around it, without blanks at the ends
    std::string caption;            ///< without blanks at the ends and without the colon
    std::string control;            ///< "Combo1"
    std::int32_t controlIndex = -1; ///< element of the control array, -1 for none
    std::int32_t kind = KX3_FIELD_LIST;
    std::int32_t coding = KX3_CODING_PLAIN;
    std::int32_t hazard = KX3_HAZARD_NONE;
    std::vector<std::int32_t> addresses; ///< in the device buffer, least significant byte first
    std::int32_t bit = 0;                ///< lowest bit, of a field inside one byte
    std::int32_t width = 0;              ///< number of bits, of a field inside one byte
    bool visible = true;
    bool enabled = true; ///< when the form opens
    bool readOnly = false;
    std::vector<std::string> items;

    [[nodiscard]] bool holdsBits() const { return kind == KX3_FIELD_LIST || kind == KX3_FIELD_CHECK; }
    [[nodiscard]] std::uint32_t mask() const { return (1U << width) - 1U; }
    /// "Combo1(3)", or "Check1" when it is no array element.
    [[nodiscard]] std::string controlName() const;
    /// "Fuse Low Byte/CKDIV8"
    [[nodiscard]] std::string fullName() const;
};

struct ConfigByte {
    std::int32_t address;
    bool written; ///< false: the editor only shows it
    std::uint8_t fixedMask;
    std::uint8_t fixedValue;
};

struct Editor {
    std::string name; ///< "edit_figmpu65"
    std::vector<Field> fields;
    std::vector<ConfigByte> bytes;
    std::optional<std::int32_t> mirror; ///< address of the second copy of the one byte
};

/// The editor of `device` with the words of `language`; nothing for a mode that has none. Fails with
/// Exit::usage for a device whose addresses do not fit.
[[nodiscard]] std::optional<Editor> describeEditor(const kx3_device &device, std::int32_t language);

/// "reset pin", "lock" and so on; empty for no hazard.
[[nodiscard]] const char *hazardName(std::int32_t hazard);

/// UTF-8 of a text of the plug-in, without the tabs that some languages carry.
[[nodiscard]] std::string textOf(const std::uint16_t *units, std::size_t length);
[[nodiscard]] inline std::string textOf(const kx3_text &text) { return textOf(text.units, text.length); }

} // namespace kx3console::config
