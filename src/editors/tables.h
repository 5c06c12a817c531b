// How an editor is described: each row once, as data, with the differences between the modes.
#pragma once

#include "editors/editor_list.h"
#include "editors/layout.h"
#include "texts/string_table.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace kx3 {

using Captions = std::span<const Caption>;

/// Captions of rows with the same hazard.
template <class... Strings>
constexpr std::array<Caption, sizeof...(Strings)> rowsOf(Hazard hazard, const Strings &...captions) {
    return {Caption(captions, hazard)...};
}

using Texts = std::span<const std::u16string_view>;

/// Items of a list: the two state words, with "(0)" and "(1)" behind them or plain, or own texts.
enum class Items : Byte { bitStates, plainStates, texts };

/// Offsets of a number's bytes, least significant first.
struct ByteOrder {
    std::array<Long, maxFieldBytes> offsets{};
    Byte count = 0;
};

/// A run of rows of the same kind, one for each caption.
///
/// Lists and check boxes: row i holds `width` bits from bit `bit` + i * `bitStep` of byte `offset`.
/// Words: row i holds the four bytes from `offset` + 4 * i. Numbers: one row holds `number`.
struct Rows {
    ModeSet modes{};
    Byte frame = 0;
    FieldKind kind = FieldKind::list;
    ControlName control; ///< first element, or a control that is no array
    ControlName label{};
    Captions captions;
    Long offset = 0;
    Byte bit = 0;
    Byte width = 1; ///< 0 for controls that hold nothing
    int bitStep = 1;
    ByteOrder number{};
    Coding coding = Coding::plain;
    Items items = Items::bitStates;
    Texts texts{};
    LengthRule lengthRule{};
    bool hexKeys = true; ///< of a text box
    bool readOnly = false;
    bool enabled = true;
    bool visible = true;
    std::string_view enabledBy{};
};

/// Where a row is stored. Members as in `Field`.
struct Place {
    std::array<Long, maxFieldBytes> offsets{};
    Byte byteCount = 0;
    Byte bit = 0;
    Byte width = 0;
};

constexpr Place placeOf(const Rows &rows, std::size_t row) {
    if (rows.width == 0) return {};
    const auto i = static_cast<int>(row);
    switch (rows.kind) {
    case FieldKind::hexNumber: return {rows.number.offsets, rows.number.count, 0, 8};
    case FieldKind::hexWord: {
        const Long first = rows.offset + 4 * i;
        return {{first, first + 1, first + 2, first + 3}, 4, 0, 8};
    }
    case FieldKind::list:
    case FieldKind::check: break;
    }
    return {{rows.offset}, 1, static_cast<Byte>(rows.bit + i * rows.bitStep), rows.width};
}

/// The control of row `row`, whose run begins with `first`.
constexpr ControlName element(ControlName first, std::size_t row) {
    if (first.index == noIndex) return first;
    return {first.name, static_cast<Integer>(first.index + static_cast<Integer>(row))};
}

struct FrameSpec {
    std::string_view name;
    std::u16string_view caption;
    std::optional<std::size_t> parent{};
    Byte columns = 1;
};

/// A difference of some modes from the rows as first described; applied in the order of the table.
struct Change {
    enum class What : Byte { hide, show, disable, enable, rename };
    ModeSet modes;
    What what;
    std::string_view control; ///< a field's control, or a frame
    Integer first = noIndex;
    Integer last = noIndex;
    Captions captions{}; ///< of the rows from `first` on
    std::u16string_view frameCaption{};
};

constexpr Change hideRows(ModeSet modes, std::string_view control, Integer first = noIndex, Integer last = noIndex) {
    return {modes, Change::What::hide, control, first, last};
}
constexpr Change showRows(ModeSet modes, std::string_view control, Integer first, Integer last) {
    return {modes, Change::What::show, control, first, last};
}
constexpr Change disableRow(ModeSet modes, std::string_view control, Integer index) {
    return {modes, Change::What::disable, control, index, index};
}
constexpr Change enableRow(ModeSet modes, std::string_view control, Integer index) {
    return {modes, Change::What::enable, control, index, index};
}
/// New captions from row `first` on.
constexpr Change rename(ModeSet modes, std::string_view control, Integer first, Captions captions) {
    const auto count = static_cast<Integer>(captions.size());
    return {modes, Change::What::rename, control, first, static_cast<Integer>(first + count - 1), captions};
}
constexpr Change renameFrame(ModeSet modes, std::string_view frame, std::u16string_view caption) {
    return {modes, Change::What::rename, frame, noIndex, noIndex, {}, caption};
}

/// `count` bytes from `first` that the editor reads, and writes back in `written`.
struct ByteRange {
    Long first;
    Long count;
    ModeSet read{};
    ModeSet written{};
    bool readOnly = false;
};

/// Bits that have no row in some modes and that OK forces to `value`.
struct FixedBits {
    ModeSet modes;
    Long offset;
    Byte mask;
    Byte value;
};
constexpr FixedBits ones(ModeSet modes, Long offset, Byte mask) { return {modes, offset, mask, mask}; }
constexpr FixedBits zeros(ModeSet modes, Long offset, Byte mask) { return {modes, offset, mask, 0}; }

/// What makes up one editor dialog.
struct EditorTables {
    std::string_view name; ///< in the list of editors
    TextId title = textEditTitle;
    StartPosition startPosition = StartPosition::centerScreen;
    bool buttonArray = false; ///< the buttons are OKButton(0) and CancelButton(1)
    AddressBase base = AddressBase::length;
    bool mirrored = false;
    std::span<const FrameSpec> frames;
    std::span<const Rows> rows;
    std::span<const ByteRange> bytes;
    std::span<const FixedBits> fixedBits{};
    std::span<const Change> changes{};
    /// What depends on more than the mode.
    void (*adjust)(EditorLayout &, const DeviceTraits &) = nullptr;
};

} // namespace kx3
