#include "editors/layout.h"

#include "base/checked.h"
#include "base/error.h"
#include "base/text.h"
#include "editors/description.h"

#include <algorithm>

namespace kx3 {

namespace {

// Fields of 3 bits with Coding::wholeSize, for an image of one protected size.
constexpr Byte nothingLocked = 7;
constexpr Byte allLockedOld = 6;
constexpr Byte allLocked = 0;

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

Field makeField(const Rows &rows, std::size_t row, const ItemList &items) {
    const bool isText = rows.kind == FieldKind::hexNumber || rows.kind == FieldKind::hexWord;
    const Place place = placeOf(rows, row);
    return {.kind = rows.kind,
            .coding = rows.coding,
            .hazard = rows.captions[row].hazard,
            .control = element(rows.control, row),
            .label = element(rows.label, row),
            .caption = rows.captions[row].text,
            .frame = rows.frame,
            .items = items,
            .offsets = place.offsets,
            .byteCount = place.byteCount,
            .bit = place.bit,
            .width = place.width,
            .visible = rows.visible,
            .enabled = rows.enabled,
            .readOnly = rows.readOnly,
            .hexKeys = isText && rows.hexKeys,
            .lengthRule = rows.lengthRule,
            .enabledBy = rows.enabledBy};
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
        field.rename(change.captions[static_cast<std::size_t>(field.control.index - change.first)]);
        break;
    }
}

void apply(const Change &change, EditorLayout &layout) {
    for (FrameLayout &frame : layout.frames) {
        if (frame.name != change.control) continue;
        if (change.what == Change::What::rename)
            frame.caption = change.frameCaption;
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
    return layout;
}

std::optional<EditorLayout> editorLayout(const DeviceTraits &device, const StateWords &words) {
    const EditorDescription *editor = editorOf(device.prgmode);
    if (editor == nullptr) return std::nullopt;
    return layoutOf(*editor, device, words);
}

Long configAddress(AddressBase base, Long offset, Long tlength) {
    switch (base) {
    case AddressBase::length: return (Checked(tlength) + offset).value();
    case AddressBase::twiceLength: return (Checked(2) * tlength + offset).value();
    case AddressBase::bufferStart: break;
    }
    return offset;
}

} // namespace kx3
