#include "editors/editor_form.h"

#include "base/checked.h"
#include "base/text.h"
#include "blocks/sharemap.h"
#include "context/context.h"
#include "editors/description.h"
#include "editors/hex_text.h"

#include <utility>

namespace kx3 {

namespace {

constexpr ControlKind controlKind(FieldKind kind) {
    switch (kind) {
    case FieldKind::list: return ControlKind::comboBox;
    case FieldKind::check: return ControlKind::checkBox;
    case FieldKind::hexNumber:
    case FieldKind::hexWord: break;
    }
    return ControlKind::textBox;
}

} // namespace

EditorForm::EditorForm(const Context &context, const EditorDescription &editor)
    : Form(editor.name, editor.startPosition), context_(context), editor_(editor) {}

// Load

void EditorForm::onLoad() {
    const std::u16string_view title = context_.text(editor_.title);
    const StateWords words{.enable = context_.text(textEnable), .disable = context_.text(textDisable)};
    const sharemap &blocks = context_.blocks;
    device_ = {mode_, blocks.tlength(0), blocks.chippin(0), blocks.figvol(0)};
    chinese_ = blocks.Language(0) == simplifiedChinese;
    layout_ = layoutOf(editor_, device_, words);

    setCaption(title);
    controls_.clear();
    std::vector<Control *> frames;
    addFrames(frames);
    for (const Field &field : layout_.fields)
        addField(field, *frames[field.frame]);
    addButtons();
    readBytes();
    for (std::size_t i = 0; i < layout_.fields.size(); ++i)
        showField(layout_.fields[i], *controls_[i]);
    mirrorByte();
}

void EditorForm::addFrames(std::vector<Control *> &frames) {
    for (const FrameLayout &frame : layout_.frames) {
        const Control *parent = frame.parent ? frames[*frame.parent] : nullptr;
        Control &added = add(ControlKind::frame, frame.name, noIndex, frame.caption, parent);
        added.setColumns(frame.columns);
        added.setVisible(frame.visible);
        frames.push_back(&added);
    }
}

void EditorForm::addField(const Field &field, Control &frame) {
    const Control *labelControl = nullptr;
    if (!field.label.name.empty()) {
        Control &label = add(ControlKind::label, field.label.name, field.label.index, field.caption, &frame);
        label.setVisible(field.visible);
        label.setEnabled(field.enabled);
        labelControl = &label;
    }
    Control &control = add(controlKind(field.kind), field.control.name, field.control.index,
                           field.kind == FieldKind::check ? field.caption : std::u16string_view{}, &frame);
    control.setLabel(labelControl);
    control.setItems(field.items);
    control.setVisible(field.visible);
    control.setEnabled(field.enabled);
    controls_.push_back(&control);
}

void EditorForm::addButtons() {
    const auto index = [&](Integer i) { return editor_.buttonArray ? i : noIndex; };
    add(ControlKind::commandButton, "OKButton", index(0), context_.text(textOk)).setDefault();
    add(ControlKind::commandButton, "CancelButton", index(1), context_.text(textCancel)).setCancel();
}

void EditorForm::readBytes() {
    loaded_.clear();
    for (const ConfigByte &byte : layout_.bytes)
        loaded_.push_back(context_.blocks.ibuffer(address(byte)));
}

void EditorForm::showField(const Field &field, Control &control) {
    if (field.byteCount == 0) return;
    switch (field.kind) {
    case FieldKind::list:
        if (!field.items->empty()) control.setListIndex(field.indexOf(bitsOf(field)));
        break;
    case FieldKind::check: control.setChecked(field.indexOf(bitsOf(field)) != 0); break;
    case FieldKind::hexNumber: control.setText(hex(static_cast<Long>(numberOf(field)))); break;
    case FieldKind::hexWord: control.setText(hexWord(numberOf(field))); break;
    }
}

/// Keep the copy at `tlength`(0) equal to the byte itself, also when nothing is changed later. The
/// last step of the load, so that a load that fails has changed nothing.
void EditorForm::mirrorByte() {
    if (layout_.mirrored) mirroredBefore_ = std::exchange(context_.blocks.ibuffer(device_.tlength), loaded_.front());
}

void EditorForm::undoLoad() {
    if (layout_.mirrored) context_.blocks.ibuffer(device_.tlength) = mirroredBefore_;
}

// Events

void EditorForm::onClick(Control &control) {
    if (control.kind() == ControlKind::checkBox) enableFollowers(control);
    if (control.kind() != ControlKind::commandButton) return;
    if (control.isDefault())
        acceptEntries();
    else
        unload();
}

void EditorForm::enableFollowers(const Control &checkBox) {
    for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
        if (layout_.fields[i].enabledBy != checkBox.name()) continue;
        controls_[i]->setEnabled(checkBox.checked());
        mutableControl(*controls_[i]->label()).setEnabled(checkBox.checked());
    }
}

void EditorForm::onChange(Control &control) {
    const Field *field = fieldOf(control);
    if (field == nullptr) return;
    const LengthRule &rule = field->lengthRule;
    if (rule.maxLength > 0) control.setMaxLength(rule.maxLength);
    const std::size_t length = control.text().size();
    if (rule.longest > 0 && (length == 0 || length > static_cast<std::size_t>(rule.longest)))
        control.setText(rule.replacement);
}

/// Only hexadecimal digits pass; each replaces the character behind the caret, so that the number of
/// digits stays.
void EditorForm::onKeyPress(Control &control, char16_t &character) {
    const Field *field = fieldOf(control);
    if (field == nullptr || !field->hexKeys) return;
    if (isHexDigit(character))
        control.setSelection(control.selectionStart(), 1);
    else
        character = 0;
}

void EditorForm::onKeyDown(Control &control, Integer &keyCode) {
    const Field *field = fieldOf(control);
    if (field != nullptr && field->hexKeys && keyCode == keyDelete) keyCode = 0;
}

// OK

/// Write all bytes and close; a bad entry keeps the form open and the buffer as it was.
void EditorForm::acceptEntries() {
    if (refuseBadEntry()) return;
    write(compose());
    unload();
}

bool EditorForm::refuseBadEntry() {
    for (std::size_t i = 0; i < layout_.fields.size(); ++i) {
        const Field &field = layout_.fields[i];
        std::u16string message = complaint(field);
        if (message.empty()) continue;
        // A greyed box takes no focus: the check box that enables it comes first.
        Control &box = *controls_[i];
        refuse(box, isEnabled(box) ? box : control(field.enabledBy), std::move(message));
        return true;
    }
    return false;
}

/// What is wrong with the entry, in one line; empty when it is well.
std::u16string EditorForm::complaint(const Field &field) const {
    const bool isWord = field.kind == FieldKind::hexWord;
    if (field.byteCount == 0 || field.readOnly || (!isWord && field.kind != FieldKind::hexNumber)) return {};
    const std::u16string_view text = controls_[static_cast<std::size_t>(&field - layout_.fields.data())]->text();
    if (parseHex(text) && (!isWord || text.size() == 8)) return {};
    const std::u16string_view name = nameOfCaption(field.caption);
    if (isWord) return join(name, chinese_ ? u"：需要 8 位十六进制数字" : u": 8 hexadecimal digits are needed");
    return join(name, chinese_ ? u"：不是十六进制数" : u": not a hexadecimal number");
}

std::vector<Byte> EditorForm::compose() const {
    std::vector<Byte> values(layout_.bytes.size());
    for (std::size_t i = 0; i < layout_.fields.size(); ++i)
        composeField(layout_.fields[i], *controls_[i], values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ConfigByte &byte = layout_.bytes[i];
        values[i] = static_cast<Byte>((values[i] & ~byte.fixedMask) | byte.fixedValue);
    }
    return values;
}

void EditorForm::composeField(const Field &field, const Control &control, std::vector<Byte> &values) const {
    if (field.byteCount == 0 || field.readOnly) return;
    const auto addBits = [&](Byte bits) {
        values[layout_.byteAt(field.offsets[0])] |= static_cast<Byte>(bits << field.bit);
    };
    switch (field.kind) {
    case FieldKind::list: addBits(field.items->empty() ? bitsOf(field) : field.bitsAt(control.listIndex())); break;
    case FieldKind::check: addBits(field.bitsAt(control.checked() ? 1 : 0)); break;
    case FieldKind::hexNumber:
    case FieldKind::hexWord: {
        std::uint32_t rest = parseHex(control.text()).value_or(0);
        for (const Long offset : field.bytes()) {
            values[layout_.byteAt(offset)] = static_cast<Byte>(rest & 0xFF);
            rest >>= 8;
        }
        break;
    }
    }
}

/// Store one value a byte. Every address is tested before the first store.
void EditorForm::write(const std::vector<Byte> &values) {
    std::vector<std::pair<Byte *, Byte>> stores;
    stores.reserve(values.size() + 1);
    Array<Byte> &buffer = context_.blocks.ibuffer;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (layout_.bytes[i].written) stores.emplace_back(&buffer(address(layout_.bytes[i])), values[i]);
    if (layout_.mirrored) stores.emplace_back(&buffer(device_.tlength), values.front());
    for (const auto &[place, value] : stores)
        *place = value;
}

// Helpers

/// The field's bits as loaded, from bit 0 on.
Byte EditorForm::bitsOf(const Field &field) const {
    return static_cast<Byte>((loaded_[layout_.byteAt(field.offsets[0])] & field.mask()) >> field.bit);
}

/// The field's bytes as loaded.
std::uint32_t EditorForm::numberOf(const Field &field) const {
    std::uint32_t number = 0;
    for (std::size_t k = field.byteCount; k-- > 0;)
        number = number << 8 | loaded_[layout_.byteAt(field.offsets[k])];
    return number;
}

const Field *EditorForm::fieldOf(const Control &control) const noexcept {
    for (std::size_t i = 0; i < controls_.size(); ++i)
        if (controls_[i] == &control) return &layout_.fields[i];
    return nullptr;
}

Long EditorForm::address(const ConfigByte &byte) const {
    return configAddress(layout_.base, byte.offset, device_.tlength);
}

} // namespace kx3
