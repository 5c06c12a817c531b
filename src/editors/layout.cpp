#include "editors/layout.h"

#include "base/checked.h"
#include "base/text.h"
#include "editors/description.h"

#include <algorithm>

namespace kx3 {

constinit const std::array<const EditorDescription *, editorCount> editorDescriptions = {
    &edit_figmpu62, &edit_figmpu63, &edit_figmpu64,  &edit_figmpu65,  &edit_figmpu66,  &edit_figmpu67,
    &edit_figmpu68, &edit_figmpu69, &edit_figmpu600, &edit_figmpu601, &edit_figmpu602,
};

namespace {

// Fields of 3 bits with Coding::wholeSize, for an image of one protected size.
constexpr Byte nothingLocked = 7;
constexpr Byte allLockedOld = 6;
constexpr Byte allLocked = 0;

/// Beginnings of captions of fields that can lock the user out.
constexpr struct {
    std::u16string_view start;
    Hazard hazard;
} hazards[] = {
    {u"RSTDISBL:", Hazard::resetPin},
    {u"SPIEN:", Hazard::programming},
    {u"JTAGEN:", Hazard::programming},
    {u"SPI Read Flash", Hazard::programming},
    {u"BL_CONFIG:", Hazard::programming},
    {u"DWEN:", Hazard::debug},
    {u"OCDEN:", Hazard::debug},
    {u"Debug Lock Bit", Hazard::debug},
    {u"CCFG_TAP_DAP", Hazard::debug},
    {u"LB", Hazard::lock},
    {u"BLB", Hazard::lock},
    {u"NVLB", Hazard::lock},
    {u"LOCK", Hazard::lock},
    {u"Boot Block Lock", Hazard::lock},
    {u"Lock Size", Hazard::lock},
    {u"EEPROM Security", Hazard::lock},
    {u"ERASE_CONF:", Hazard::lock},
    {u"CCFG_PROT", Hazard::lock},
    {u"FMPRE", Hazard::writeOnce},
    {u"FMPPE", Hazard::writeOnce},
    {u"USER_", Hazard::writeOnce},
};

Hazard hazardOf(std::u16string_view caption) {
    caption = trimBlanks(caption);
    const auto found = std::find_if(std::begin(hazards), std::end(hazards),
                                    [&](const auto &h) { return caption.starts_with(h.start); });
    return found == std::end(hazards) ? Hazard::none : found->hazard;
}

ControlName element(ControlName first, std::size_t row) {
    if (first.index == noIndex) return first;
    return {first.name, static_cast<Integer>(first.index + static_cast<Integer>(row))};
}

/// Lists of the two states, made once for all fields of a layout.
struct StateLists {
    explicit StateLists(const StateWords &words)
        : bitStates(std::make_shared<ItemList::element_type>(
              ItemList::element_type{join(words.enable, u"(0)"), join(words.disable, u"(1)")})),
          plainStates(std::make_shared<ItemList::element_type>(
              ItemList::element_type{std::u16string(words.enable), std::u16string(words.disable)})) {}

    [[nodiscard]] ItemList of(const Rows &rows) const {
        if (rows.kind != FieldKind::list) return {};
        switch (rows.items) {
        case Items::bitStates: return bitStates;
        case Items::plainStates: return plainStates;
        case Items::texts: break;
        }
        return itemList(rows.texts);
    }

    ItemList bitStates;
    ItemList plainStates;
};

void placeInBuffer(Field &field, const Rows &rows, std::size_t row) {
    if (rows.width == 0) return;
    const auto i = static_cast<int>(row);
    switch (rows.kind) {
    case FieldKind::hexNumber:
        field.offsets = rows.number.offsets;
        field.byteCount = rows.number.count;
        field.width = 8;
        break;
    case FieldKind::hexWord:
        for (Long k = 0; k < 4; ++k)
            field.offsets[static_cast<std::size_t>(k)] = rows.offset + 4 * i + k;
        field.byteCount = 4;
        field.width = 8;
        break;
    case FieldKind::list:
    case FieldKind::check:
        field.offsets[0] = rows.offset;
        field.byteCount = 1;
        field.bit = static_cast<Byte>(rows.bit + i * rows.bitStep);
        field.width = rows.width;
        break;
    }
}

Field makeField(const Rows &rows, std::size_t row, const ItemList &items) {
    const bool isText = rows.kind == FieldKind::hexNumber || rows.kind == FieldKind::hexWord;
    Field field{.kind = rows.kind,
                .coding = rows.coding,
                .control = element(rows.control, row),
                .label = element(rows.label, row),
                .caption = rows.captions[row],
                .frame = rows.frame,
                .items = items,
                .visible = rows.visible,
                .enabled = rows.enabled,
                .readOnly = rows.readOnly,
                .hexKeys = isText && rows.hexKeys,
                .lengthRule = rows.lengthRule,
                .enabledBy = rows.enabledBy};
    placeInBuffer(field, rows, row);
    return field;
}

void addFields(EditorLayout &layout, const EditorDescription &editor, Byte mode, const StateLists &states) {
    for (const Rows &rows : editor.rows) {
        if (!rows.modes.contains(mode)) continue;
        const ItemList items = states.of(rows);
        for (std::size_t row = 0; row < rows.captions.size(); ++row)
            layout.fields.push_back(makeField(rows, row, items));
    }
}

void addBytes(EditorLayout &layout, const EditorDescription &editor, Byte mode) {
    for (const ByteRange &range : editor.bytes) {
        if (!range.read.contains(mode)) continue;
        const bool written = !range.readOnly && range.written.contains(mode);
        for (Long k = 0; k < range.count; ++k)
            layout.bytes.push_back({range.first + k, written});
    }
    for (const FixedBits &fixed : editor.fixedBits) {
        if (!fixed.modes.contains(mode)) continue;
        ConfigByte &byte = layout.bytes[layout.byteAt(fixed.offset)];
        byte.fixedMask |= fixed.mask;
        byte.fixedValue |= fixed.value;
    }
}

void apply(const Change &change, Field &field) {
    switch (change.what) {
    case Change::What::hide: field.visible = false; break;
    case Change::What::show: field.visible = true; break;
    case Change::What::disable: field.enabled = false; break;
    case Change::What::enable: field.enabled = true; break;
    case Change::What::rename:
        field.caption = change.captions[static_cast<std::size_t>(field.control.index - change.first)];
        break;
    }
}

void apply(const Change &change, EditorLayout &layout) {
    for (FrameLayout &frame : layout.frames) {
        if (frame.name != change.control) continue;
        if (change.what == Change::What::rename)
            frame.caption = change.captions.front();
        else
            frame.visible = change.what == Change::What::show;
    }
    for (Field &field : layout.fields)
        if (field.control.name == change.control && field.control.index >= change.first &&
            field.control.index <= change.last)
            apply(change, field);
}

} // namespace

ItemList itemList(Texts texts) {
    return std::make_shared<ItemList::element_type>(ItemList::element_type(texts.begin(), texts.end()));
}

Long Field::indexOf(Byte bits) const {
    switch (coding) {
    case Coding::plain: break;
    case Coding::inverted: return ((1 << width) - 1) ^ bits;
    case Coding::indexOrFirst: return bits < items->size() ? bits : 0;
    case Coding::wholeSize: return bits == nothingLocked ? 0 : bits == allLockedOld || bits == allLocked ? 1 : -1;
    }
    return bits;
}

Byte Field::bitsAt(Long index) const {
    if (index < 0) index = 0;
    switch (coding) {
    case Coding::plain:
    case Coding::indexOrFirst: break;
    case Coding::inverted: return static_cast<Byte>(((1 << width) - 1) ^ index);
    case Coding::wholeSize: return index == 0 ? nothingLocked : allLocked;
    }
    return static_cast<Byte>(index);
}

bool Field::covers(Long offset) const { return std::find(bytes().begin(), bytes().end(), offset) != bytes().end(); }

bool Field::keepsBits() const {
    if (kind == FieldKind::hexNumber || kind == FieldKind::hexWord || hasNoItems()) return true;
    for (unsigned bits = 0; bits < 1U << width; ++bits)
        if (bitsAt(indexOf(static_cast<Byte>(bits))) != bits) return false;
    return true;
}

Field &EditorLayout::field(std::string_view control, Integer index) {
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const Field &f) {
        return f.control == ControlName{control, index};
    });
    if (found == fields.end()) raise(ErrorNumber::internal, u"An editor lacks one of its fields");
    return *found;
}

bool EditorLayout::isShown(const Field &field) const {
    bool shown = field.visible;
    for (std::optional<std::size_t> frame = field.frame; frame; frame = frames[*frame].parent)
        shown = shown && frames[*frame].visible;
    return shown;
}

bool EditorLayout::canChange(const Field &field) const {
    const bool canBeEnabled = field.enabled || !field.enabledBy.empty();
    return isShown(field) && canBeEnabled && !field.readOnly && !field.hasNoItems();
}

std::size_t EditorLayout::byteAt(Long offset) const {
    const auto found =
        std::find_if(bytes.begin(), bytes.end(), [&](const ConfigByte &b) { return b.offset == offset; });
    if (found == bytes.end()) raise(ErrorNumber::internal, u"An editor lacks one of its bytes");
    return static_cast<std::size_t>(found - bytes.begin());
}

Byte EditorLayout::fieldBits(const ConfigByte &byte) const {
    Byte bits = 0;
    for (const Field &field : fields)
        if (field.covers(byte.offset)) bits |= field.mask();
    return bits;
}

Byte EditorLayout::keptBits(const ConfigByte &byte) const {
    if (!byte.written) return 0xFF;
    Byte bits = 0;
    for (const Field &field : fields)
        if (field.covers(byte.offset) && !canChange(field) && field.keepsBits()) bits |= field.mask();
    return bits & static_cast<Byte>(~byte.fixedMask);
}

EditorLayout layoutOf(const EditorDescription &editor, const DeviceTraits &device, const StateWords &words) {
    EditorLayout layout{
        .name = editor.name, .base = editor.base, .mirrored = editor.mirrored, .frames = {}, .fields = {}, .bytes = {}};
    for (const FrameSpec &frame : editor.frames)
        layout.frames.push_back({frame.name, frame.caption, frame.parent, frame.columns});
    addFields(layout, editor, device.prgmode, StateLists(words));
    addBytes(layout, editor, device.prgmode);
    for (const Change &change : editor.changes)
        if (change.modes.contains(device.prgmode)) apply(change, layout);
    if (editor.adjust != nullptr) editor.adjust(layout, device);
    for (Field &field : layout.fields)
        field.hazard = hazardOf(field.caption);
    return layout;
}

std::optional<std::size_t> editorOfMode(Byte mode) noexcept {
    for (std::size_t i = 0; i < editorCount; ++i)
        if (editorDescriptions[i]->modes.contains(mode)) return i;
    return std::nullopt;
}

std::optional<EditorLayout> editorLayout(const DeviceTraits &device, const StateWords &words) {
    const auto editor = editorOfMode(device.prgmode);
    if (!editor) return std::nullopt;
    return layoutOf(*editorDescriptions[*editor], device, words);
}

} // namespace kx3
