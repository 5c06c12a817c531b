#include "editor.h"

#include "failure.h"
#include "plugin.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace kx3console {

namespace {

void require(kx3_status status) {
    if (status == KX3_OVERFLOW)
        throw Failure(Exit::usage, "the device is too large for the addresses of its configuration bytes",
                      "Give a smaller size.");
    if (status != KX3_OK)
        throw Failure(Exit::failed, fmt::format("the plug-in cannot describe its editor: {}", kx3_last_error()));
}

std::string plainCaption(const kx3_text &caption) {
    const std::string shown = shownText(caption);
    std::string_view text = trimmed(shown);
    if (text.ends_with(':')) text.remove_suffix(1);
    return std::string(trimmed(text));
}

Field fieldAt(const kx3_editor *editor, std::int32_t index) {
    Field field;
    static_cast<kx3_field_info &>(field) = kx3_field_info_init();
    require(kx3_editor_field(editor, index, &field));
    field.group = trimmed(shownText(field.frame));
    field.name = plainCaption(field.caption);
    for (std::int32_t item = 0; item < field.items; ++item) {
        kx3_text text{};
        require(kx3_editor_item(editor, index, item, &text));
        field.choices.push_back(shownText(text));
    }
    return field;
}

/// How well a typed name fits; more is better.
enum class Fit { none, start, whole };

/// A caption is also named in full by what stands before its explanation: "HWBS" for "HWBS(Eable ...)".
Fit fitOf(const std::string &wanted, std::string_view caption) {
    const std::string known = normalName(caption);
    if (wanted == known || wanted == normalName(caption.substr(0, caption.find('(')))) return Fit::whole;
    return !wanted.empty() && known.starts_with(wanted) ? Fit::start : Fit::none;
}

/// Frame captions themselves may have a slash, so every slash is tried.
Fit fitWithFrame(std::string_view wanted, const Field &field) {
    Fit best = Fit::none;
    for (std::size_t slash = wanted.find('/'); slash != std::string_view::npos; slash = wanted.find('/', slash + 1)) {
        const Fit frame = fitOf(normalName(wanted.substr(0, slash)), field.group);
        const std::string caption = normalName(wanted.substr(slash + 1));
        // Nothing behind the slash means the whole frame.
        const Fit rest = caption.empty() ? Fit::whole : fitOf(caption, field.name);
        best = std::max(best, std::min(frame, rest));
    }
    return best;
}

Fit fitOf(std::string_view wanted, const Field &field) {
    const std::string name = normalName(wanted);
    if (name == normalName(field.controlName())) return Fit::whole;
    return std::max(fitOf(name, field.name), fitWithFrame(wanted, field));
}

/// The fields that fit best.
FieldList candidates(const Editor &editor, std::string_view wanted) {
    FieldList found;
    Fit best = Fit::start;
    for (const Field *field : visibleFields(editor)) {
        const Fit fit = fitOf(wanted, *field);
        if (fit > best) found.clear();
        best = std::max(best, fit);
        if (fit == best) found.push_back(field);
    }
    return found;
}

bool namesFrame(std::string_view wanted) {
    const std::size_t last = wanted.find_last_not_of(" \t");
    return last != std::string_view::npos && wanted[last] == '/';
}

bool shareFrame(const FieldList &fields) {
    return std::all_of(fields.begin(), fields.end(),
                       [&fields](const Field *field) { return field->group == fields.front()->group; });
}

} // namespace

std::string Field::controlName() const {
    return control_index < 0 ? control : fmt::format("{}({})", control, control_index);
}

std::string Field::fullName() const { return group.empty() ? name : fmt::format("{}/{}", group, name); }

std::string_view Field::hazardName() const {
    constexpr std::array names{"", "reset pin", "programming interface", "debug interface", "lock", "write once"};
    const auto index = static_cast<std::size_t>(hazard);
    return index < names.size() ? names[index] : "unknown";
}

std::optional<Editor> describeEditor(const kx3_device &device, std::int32_t language) {
    kx3_editor *raw = nullptr;
    const kx3_status status = kx3_editor_describe(&device, language, &raw);
    if (status == KX3_NOT_AVAILABLE) return std::nullopt;
    require(status);
    Editor editor;
    editor.owner.reset(raw, kx3_editor_free);
    editor.name = kx3_editor_name(raw);
    for (std::int32_t i = 0; i < kx3_editor_field_count(raw); ++i)
        editor.fields.push_back(fieldAt(raw, i));
    for (std::int32_t i = 0; i < kx3_editor_byte_count(raw); ++i)
        require(kx3_editor_byte(raw, i, &editor.bytes.emplace_back(kx3_config_byte_info_init())));
    if (const std::int32_t mirror = kx3_editor_mirror(raw); mirror >= 0) editor.mirror = mirror;
    return editor;
}

Bytes defaultBytes(const kx3_device &device) {
    std::size_t count = 0;
    require(kx3_default_bytes(&device, nullptr, nullptr, 0, &count));
    std::vector<std::int32_t> addresses(count);
    std::vector<std::uint8_t> values(count);
    require(kx3_default_bytes(&device, addresses.data(), values.data(), count, &count));
    Bytes bytes;
    for (std::size_t i = 0; i < count; ++i)
        bytes[addresses[i]] = values[i];
    return bytes;
}

FieldList visibleFields(const Editor &editor) {
    FieldList visible;
    for (const Field &field : editor.fields)
        if (field.visible != 0 && field.byte_count > 0) visible.push_back(&field);
    return visible;
}

FieldList findFields(const Editor &editor, std::string_view name) {
    FieldList found = candidates(editor, name);
    std::vector<std::string> names;
    if (found.empty()) {
        for (const Field *field : visibleFields(editor))
            names.push_back(field->name);
        throw Failure(Exit::usage, fmt::format("this device has no configuration field \"{}\"", name),
                      nearIt(name, std::move(names)) + " `mpu6 config list` lists all.");
    }
    if (found.size() == 1 || (namesFrame(name) && shareFrame(found))) return found;
    for (const Field *field : found)
        names.push_back(fmt::format("{} [{}]", field->fullName(), field->controlName()));
    throw Failure(Exit::usage, fmt::format("\"{}\" fits more than one field: {}", name, fmt::join(names, ", ")),
                  "Give more of the name, the name with its frame, or the control's name in brackets.");
}

const Field &findField(const Editor &editor, std::string_view name) {
    if (namesFrame(name))
        throw Failure(Exit::usage, fmt::format("\"{}\" names a frame, not a field", name),
                      "Put the field's caption behind the slash.");
    return *findFields(editor, name).front();
}

} // namespace kx3console
