// The C interface: what an editor shows and edits, without opening it.

#include "thread_state.h"

#include "editors/layout.h"
#include "host/buffer_init.h"
#include "texts/string_table.h"

using namespace kx3;
using native::copyOf;
using native::fill;
using native::guarded;
using native::required;
using native::textOf;

static_assert(KX3_HAZARD_WRITE_ONCE == static_cast<int>(Hazard::writeOnce));
static_assert(KX3_FIELD_HEX_WORD == static_cast<int>(FieldKind::hexWord));
static_assert(KX3_CODING_WHOLE_SIZE == static_cast<int>(Coding::wholeSize));
static_assert(KX3_BASE_BUFFER_START == static_cast<int>(AddressBase::bufferStart));
static_assert(std::size(decltype(kx3_field_info::addresses){}) == maxFieldBytes);

/// An editor's layout with its addresses.
struct kx3_editor {
    EditorLayout layout;
    std::string name;
    std::vector<std::string> controls; ///< names, beside the fields
    Long tlength;

    kx3_editor(EditorLayout given, Long length) : layout(std::move(given)), name(layout.name), tlength(length) {
        for (const Field &field : layout.fields)
            controls.emplace_back(field.control.name);
    }

    [[nodiscard]] Long address(Long offset) const { return configAddress(layout.base, offset, tlength); }
};

namespace {

template <class Elements> const auto &elementAt(const Elements &elements, std::int32_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) raise(ErrorNumber::subscript);
    return elements[static_cast<std::size_t>(index)];
}

kx3_field_info infoOf(const kx3_editor &editor, const Field &field, const std::string &control) {
    kx3_field_info info{
        .struct_size = {},
        .frame = textOf(editor.layout.frames.at(field.frame).caption),
        .caption = textOf(field.caption),
        .control = control.c_str(),
        .control_index = field.control.index,
        .kind = static_cast<std::int32_t>(field.kind),
        .coding = static_cast<std::int32_t>(field.coding),
        .hazard = static_cast<std::int32_t>(field.hazard),
        .byte_count = field.byteCount,
        .addresses = {},
        .bit = field.bit,
        .width = field.width,
        .visible = editor.layout.isShown(field) ? 1 : 0,
        .enabled = field.enabled ? 1 : 0,
        .read_only = field.readOnly ? 1 : 0,
        .items = field.items ? static_cast<std::int32_t>(field.items->size()) : 0,
    };
    std::int32_t *address = info.addresses;
    for (const Long offset : field.bytes())
        *address++ = editor.address(offset);
    return info;
}

} // namespace

extern "C" {

kx3_status kx3_editor_describe(const kx3_device *device, int32_t language, kx3_editor **editor) {
    return guarded([&] {
        kx3_editor *&out = required(editor, u"editor");
        out = nullptr;
        const kx3_device given = copyOf(device, u"device");
        const StateWords words{stringTableText(language, textEnable), stringTableText(language, textDisable)};
        std::optional<EditorLayout> layout =
            editorLayout({given.prgmode, given.tlength, given.chippin, given.figvol}, words);
        if (!layout) raise(ErrorNumber::notAvailable, join(u"No editor for programming mode ", decimal(given.prgmode)));
        out = std::make_unique<kx3_editor>(std::move(*layout), given.tlength).release();
    });
}

const char *kx3_editor_name(const kx3_editor *editor) { return editor == nullptr ? "" : editor->name.c_str(); }

int32_t kx3_editor_mirror(const kx3_editor *editor) {
    return editor != nullptr && editor->layout.mirrored ? editor->tlength : -1;
}

int32_t kx3_editor_field_count(const kx3_editor *editor) {
    return editor == nullptr ? 0 : static_cast<int32_t>(editor->layout.fields.size());
}

kx3_status kx3_editor_field(const kx3_editor *editor, int32_t field, kx3_field_info *info) {
    return guarded([&] {
        const kx3_editor &given = required(editor, u"editor");
        fill(info, u"info", infoOf(given, elementAt(given.layout.fields, field), elementAt(given.controls, field)));
    });
}

kx3_status kx3_editor_item(const kx3_editor *editor, int32_t field, int32_t item, kx3_text *text) {
    return guarded([&] {
        const ItemList &items = elementAt(required(editor, u"editor").layout.fields, field).items;
        if (!items) raise(ErrorNumber::subscript);
        required(text, u"text") = textOf(elementAt(*items, item));
    });
}

int32_t kx3_editor_byte_count(const kx3_editor *editor) {
    return editor == nullptr ? 0 : static_cast<int32_t>(editor->layout.bytes.size());
}

kx3_status kx3_editor_byte(const kx3_editor *editor, int32_t byte, kx3_config_byte_info *info) {
    return guarded([&] {
        const kx3_editor &given = required(editor, u"editor");
        const ConfigByte &found = elementAt(given.layout.bytes, byte);
        fill(info, u"info",
             {.struct_size = {},
              .address = given.address(found.offset),
              .written = found.written ? 1 : 0,
              .fixed_mask = found.fixedMask,
              .fixed_value = found.fixedValue,
              .base = static_cast<std::int32_t>(given.layout.base),
              .offset = found.offset,
              .field_mask = given.layout.fieldBits(found),
              .kept_mask = given.layout.keptBits(found)});
    });
}

void kx3_editor_free(kx3_editor *editor) { delete editor; }

kx3_status kx3_default_bytes(const kx3_device *device, int32_t *addresses, uint8_t *values, size_t capacity,
                             size_t *count) {
    return guarded([&] {
        const kx3_device given = copyOf(device, u"device");
        const std::map<Long, Byte> bytes = defaultBytes(given.prgmode, given.tlength);
        required(count, u"count") = bytes.size();
        if (capacity == 0) return;
        std::int32_t *address = &required(addresses, u"addresses");
        std::uint8_t *value = &required(values, u"values");
        for (auto byte = bytes.begin(); byte != bytes.end() && capacity > 0; ++byte, --capacity) {
            *address++ = byte->first;
            *value++ = byte->second;
        }
    });
}

int32_t kx3_language_count(void) { return languageCount; }

kx3_status kx3_language_describe(int32_t index, kx3_language_info *info) {
    return guarded([&] {
        const std::string_view name = elementAt(languageNames, index);
        fill(info, u"info", {.struct_size = {}, .name = name.data(), .block = index * languageStep});
    });
}

} // extern "C"
