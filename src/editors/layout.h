// What an editor shows and edits for one device: its frames, fields and the bytes behind them. The
// dialogs, the console's configuration commands and the generated documentation all read this.
#pragma once

#include "base/types.h"
#include "editors/config_address.h"
#include "forms/control_facts.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kx3 {

/// The values of the selected device that an editor depends on, read once when it opens: element 0
/// of the shared blocks with these names.
struct DeviceTraits {
    Byte prgmode = 0;
    Long tlength = 0;
    Integer chippin = 0;
    Byte figvol = 0;
};

/// Words of the two states of a bit, in the user's language.
struct StateWords {
    std::u16string_view enable;  ///< a bit that is 0
    std::u16string_view disable; ///< a bit that is 1
};

enum class FieldKind : Byte { list, check, hexNumber, hexWord };

/// How a list index, or a check box (checked = 1), stands for the bits of its field.
enum class Coding : Byte {
    plain,        ///< the number itself
    inverted,     ///< its complement: index 0, or an empty check box, sets all bits
    indexOrFirst, ///< the number itself; a stored value without an item shows item 0
    wholeSize,    ///< 3 bits: item 0 is 7; item 1 stores 0 and shows 0 and 6; other values show no item
};

/// How a wrong value can lock the user out of the device.
enum class Hazard : Byte {
    none,
    resetPin,    ///< the reset pin stops being one: no further in-system programming
    programming, ///< a programming interface can be shut
    debug,       ///< a debug interface can be shut, or takes over the reset pin
    lock,        ///< memory is protected until it is erased, if it can be
    writeOnce,   ///< the device takes the value once and for all
};

/// What a row is called. There is none without a hazard.
struct Caption {
    constexpr Caption(std::u16string_view theText, Hazard theHazard) : text(theText), hazard(theHazard) {}
    std::u16string_view text;
    Hazard hazard;
};

struct ControlName {
    std::string_view name;
    Integer index = noIndex;
    [[nodiscard]] bool operator==(const ControlName &) const = default;
};

/// What a change of a text box makes the box do.
struct LengthRule {
    Long maxLength = 0;                ///< becomes the maximum length, unless 0
    Long longest = 0;                  ///< a text that is empty or longer is replaced, unless 0
    std::u16string_view replacement{}; ///< the text that replaces it
};

/// Most bytes that one field covers.
inline constexpr std::size_t maxFieldBytes = 4;

/// One control that edits bits or bytes.
struct Field {
    FieldKind kind = FieldKind::list;
    Coding coding = Coding::plain;
    Hazard hazard = Hazard::none;
    ControlName control;
    ControlName label; ///< empty for a check box, which bears its caption itself
    std::u16string_view caption;
    std::size_t frame = 0; ///< in `EditorLayout::frames`
    ItemList items{};      ///< a list without items is a field whose bits are kept

    /// Offsets of the bytes from the layout's base, least significant byte first.
    std::array<Long, maxFieldBytes> offsets{};
    Byte byteCount = 0; ///< 0 for a control that holds nothing for this device
    Byte bit = 0;       ///< lowest bit, where the field is part of one byte
    Byte width = 0;     ///< number of bits, where the field is part of one byte

    bool visible = true;
    bool enabled = true;
    bool readOnly = false;        ///< shown and never written
    bool hexKeys = false;         ///< only hexadecimal digits can be typed, over the old ones
    LengthRule lengthRule{};      ///< of a text box
    std::string_view enabledBy{}; ///< check box that enables the row while it is checked

    void rename(const Caption &name) {
        caption = name.text;
        hazard = name.hazard;
    }
    /// The field's bits inside its one byte.
    [[nodiscard]] constexpr Byte mask() const {
        return byteCount == 1 ? static_cast<Byte>(((1U << width) - 1U) << bit) : Byte{0xFF};
    }
    [[nodiscard]] std::span<const Long> bytes() const { return std::span(offsets).first(byteCount); }
    [[nodiscard]] bool covers(Long offset) const;
    [[nodiscard]] bool hasNoItems() const { return kind == FieldKind::list && items->empty(); }
    /// List index, or check state (1 checked), that shows `bits` of the field; -1 shows none.
    [[nodiscard]] Long indexOf(Byte bits) const;
    /// The reverse: the bits that `index` stores. No selection stands for item 0.
    [[nodiscard]] Byte bitsAt(Long index) const;
    /// Whether OK stores what was loaded, for any loaded bits, when nobody touches the control.
    [[nodiscard]] bool keepsBits() const;
};

/// One configuration byte.
struct ConfigByte {
    Long offset = 0;
    bool written = true;
    Byte fixedMask = 0;  ///< bits that OK forces, whatever the fields say
    Byte fixedValue = 0; ///< their values
};

struct FrameLayout {
    std::string_view name;
    std::u16string_view caption;
    std::optional<std::size_t> parent; ///< frame around this one
    Byte columns = 1;                  ///< rows side by side
    bool visible = true;
};

/// An editor as it stands for one device. Texts refer to the program's own literals.
struct EditorLayout {
    std::string_view name; ///< of the form
    AddressBase base = AddressBase::length;
    bool mirrored = false; ///< a copy of the one byte stands at `tlength`(0)
    std::vector<FrameLayout> frames;
    std::vector<Field> fields; ///< frame by frame, in the order of the rows
    std::vector<ConfigByte> bytes;

    [[nodiscard]] Field &field(std::string_view control, Integer index = noIndex);
    /// Whether the field and the frames around it are visible.
    [[nodiscard]] bool isShown(const Field &field) const;
    /// Whether a person can change what the field stores.
    [[nodiscard]] bool canChange(const Field &field) const;
    /// Position in `bytes`; every byte of a field has one.
    [[nodiscard]] std::size_t byteAt(Long offset) const;
    /// The bits of a byte that fields hold, shown or hidden.
    [[nodiscard]] Byte fieldBits(const ConfigByte &byte) const;
    /// The bits of a byte that OK leaves as they are, whatever a person enters.
    [[nodiscard]] Byte keptBits(const ConfigByte &byte) const;
};

/// The editor that opens for `device.prgmode`, or nothing for a mode without an editor.
[[nodiscard]] std::optional<EditorLayout> editorLayout(const DeviceTraits &device, const StateWords &words);

} // namespace kx3
