#include "editor.h"

#include "../failure.h"

#include "base/text.h"

#include <array>
#include <fmt/format.h>
#include <memory>
#include <string_view>

namespace kx3console::config {

namespace {

struct FreeEditor {
    void operator()(kx3_editor *editor) const noexcept { kx3_editor_free(editor); }
};
using EditorHandle = std::unique_ptr<kx3_editor, FreeEditor>;

void require(kx3_status status) {
    if (status != KX3_OK)
        throw Failure(Exit::failed, fmt::format("the plug-in cannot describe its editor: {}", kx3_last_error()));
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string plainCaption(const std::string &caption) {
    std::string_view text = trimmed(caption);
    if (text.ends_with(':')) text.remove_suffix(1);
    return std::string(trimmed(text));
}

std::vector<std::string> itemsOf(const kx3_editor *editor, std::int32_t field, std::int32_t count) {
    std::vector<std::string> items;
    for (std::int32_t item = 0; item < count; ++item) {
        kx3_text text{};
        require(kx3_editor_item(editor, field, item, &text));
        items.push_back(textOf(text));
    }
    return items;
}

Field fieldAt(const kx3_editor *editor, std::int32_t index) {
    kx3_field_info info{};
    require(kx3_editor_field(editor, index, &info));
    Field field;
    field.frame = std::string(trimmed(textOf(info.frame)));
    field.caption = plainCaption(textOf(info.caption));
    field.control = info.control;
    field.controlIndex = info.control_index;
    field.kind = info.kind;
    field.coding = info.coding;
    field.hazard = info.hazard;
    field.addresses.assign(info.addresses, info.addresses + info.byte_count);
    field.bit = info.bit;
    field.width = info.width;
    field.visible = info.visible != 0;
    field.enabled = info.enabled != 0;
    field.readOnly = info.read_only != 0;
    field.items = itemsOf(editor, index, info.items);
    return field;
}

ConfigByte byteAt(const kx3_editor *editor, std::int32_t index) {
    kx3_config_byte_info info{};
    require(kx3_editor_byte(editor, index, &info));
    return {info.address, info.written != 0, static_cast<std::uint8_t>(info.fixed_mask),
            static_cast<std::uint8_t>(info.fixed_value)};
}

} // namespace

std::string Field::controlName() const {
    return controlIndex < 0 ? control : fmt::format("{}({})", control, controlIndex);
}

std::string Field::fullName() const { return frame.empty() ? caption : fmt::format("{}/{}", frame, caption); }

std::optional<Editor> describeEditor(const kx3_device &device, std::int32_t language) {
    kx3_editor *raw = nullptr;
    const kx3_status status = kx3_editor_describe(&device, language, &raw);
    const EditorHandle handle(raw);
    if (status == KX3_NOT_AVAILABLE) return std::nullopt;
    if (status == KX3_OVERFLOW)
        throw Failure(Exit::usage, "the device is too large for the addresses of its configuration bytes",
                      "Give a smaller size.");
    require(status);

    Editor editor;
    editor.name = kx3_editor_name(raw);
    for (std::int32_t i = 0; i < kx3_editor_field_count(raw); ++i)
        editor.fields.push_back(fieldAt(raw, i));
    for (std::int32_t i = 0; i < kx3_editor_byte_count(raw); ++i)
        editor.bytes.push_back(byteAt(raw, i));
    if (const std::int32_t mirror = kx3_editor_mirror(raw); mirror >= 0) editor.mirror = mirror;
    return editor;
}

const char *hazardName(std::int32_t hazard) {
    constexpr std::array names{"", "reset pin", "programming interface", "debug interface", "lock", "write once"};
    const auto index = static_cast<std::size_t>(hazard);
    return index < names.size() ? names[index] : "unknown";
}

std::string textOf(const std::uint16_t *units, std::size_t length) {
    if (units == nullptr) return {};
    std::string text = kx3::toUtf8({reinterpret_cast<const char16_t *>(units), length});
    std::erase(text, '\t');
    return text;
}

} // namespace kx3console::config
