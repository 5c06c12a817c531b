// How an editor is described: each row once, as data, with the differences between the modes.
#pragma once

#include "editors/layout.h"
#include "texts/string_table.h"

#include <concepts>
#include <cstdint>

namespace kx3 {

using Texts = std::span<const std::u16string_view>;

/// A set of programming modes (1 to 64); as made by default, every mode.
class ModeSet {
  public:
    constexpr ModeSet() = default;
    template <std::same_as<int>... Modes>
    requires(sizeof...(Modes) > 0) constexpr ModeSet(Modes... modes) : bits_((bit(modes) | ...)) {}

    [[nodiscard]] constexpr bool contains(Byte mode) const {
        return mode >= 1 && mode <= 64 && (bits_ & bit(mode)) != 0;
    }

  private:
    static constexpr std::uint64_t bit(int mode) { return std::uint64_t{1} << (mode - 1); }
    std::uint64_t bits_ = ~std::uint64_t{0};
};

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
    Texts captions;
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
    Texts captions{};
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
constexpr Change rename(ModeSet modes, std::string_view control, Integer first, Texts captions) {
    const auto count = static_cast<Integer>(captions.size());
    return {modes, Change::What::rename, control, first, static_cast<Integer>(first + count - 1), captions};
}
constexpr Change renameFrame(ModeSet modes, std::string_view frame, Texts caption) {
    return {modes, Change::What::rename, frame, noIndex, noIndex, caption};
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

/// One editor dialog.
struct EditorDescription {
    std::string_view name;
    ModeSet modes;
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

extern const EditorDescription edit_figmpu62;
extern const EditorDescription edit_figmpu63;
extern const EditorDescription edit_figmpu64;
extern const EditorDescription edit_figmpu65;
extern const EditorDescription edit_figmpu66;
extern const EditorDescription edit_figmpu67;
extern const EditorDescription edit_figmpu68;
extern const EditorDescription edit_figmpu69;
extern const EditorDescription edit_figmpu600;
extern const EditorDescription edit_figmpu601;
extern const EditorDescription edit_figmpu602;

inline constexpr std::size_t editorCount = 11;
/// Every editor; no two share a mode.
extern const std::array<const EditorDescription *, editorCount> editorDescriptions;

/// Position in `editorDescriptions` of the editor of `mode`.
[[nodiscard]] std::optional<std::size_t> editorOfMode(Byte mode) noexcept;

/// The editor as it stands for `device`.
[[nodiscard]] EditorLayout layoutOf(const EditorDescription &editor, const DeviceTraits &device,
                                    const StateWords &words);

/// A list of these items.
[[nodiscard]] ItemList itemList(Texts texts);

} // namespace kx3
