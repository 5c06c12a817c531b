#include "report.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace kx3console::config {

using Json = nlohmann::ordered_json;

namespace {

/// "0x8000 bit 3", "0x8002 bits 7-5", "0x8005 0x8006".
std::string placeOf(const Field &field) {
    std::vector<std::string> addresses;
    for (const std::int32_t address : field.addresses)
        addresses.push_back(fmt::format("0x{:X}", address));
    std::string text = fmt::format("{}", fmt::join(addresses, " "));
    if (!field.holdsBits() || field.width == 8) return text;
    if (field.width == 1) return fmt::format("{} bit {}", text, field.bit);
    return fmt::format("{} bits {}-{}", text, field.bit + field.width - 1, field.bit);
}

/// The stored bits: binary inside a byte, two hexadecimal digits a byte else.
std::string bitsText(const Field &field, std::uint32_t bits) {
    if (!field.holdsBits() || field.width == 8) return fmt::format("{:0{}X}", bits, 2 * field.addresses.size());
    return fmt::format("{:0{}b}", bits, field.width);
}

std::string remarksOf(const Field &field, bool enabled) {
    std::vector<std::string> remarks;
    if (field.hazard != KX3_HAZARD_NONE) remarks.push_back(fmt::format("careful: {}", hazardName(field.hazard)));
    if (field.readOnly)
        remarks.emplace_back("read only");
    else if (!enabled)
        remarks.emplace_back("greyed");
    return remarks.empty() ? "" : fmt::format("  ({})", fmt::join(remarks, "; "));
}

std::string choicesOf(const Field &field) {
    switch (field.kind) {
    case KX3_FIELD_LIST: return fmt::format("{}", fmt::join(field.items, " | "));
    case KX3_FIELD_CHECK: return "unchecked | checked";
    case KX3_FIELD_HEX_WORD: return "8 hexadecimal digits";
    default: return "hexadecimal digits";
    }
}

/// Number of characters of a UTF-8 text.
std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(const std::string &text, std::size_t width) {
    const std::size_t used = widthOf(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

/// What stands behind a field's name: its value, or what it can be.
std::string contentOf(const Report &report, const Field &field) {
    if (!report.values) return choicesOf(field);
    return valueText(field, report.values->states[report.indexOf(field)]);
}

std::string bytesText(const Report &report) {
    std::string text = "Bytes\n";
    for (const ShownByte &byte : report.bytes) {
        text += fmt::format("  0x{:X}: {:02X}{}\n", byte.address, byte.value, byte.held ? "" : "  (not in the file)");
    }
    return text;
}

Json jsonOf(const Report &report, const Field &field) {
    Json json{{"frame", field.frame}, {"caption", field.caption}, {"control", field.controlName()}};
    constexpr std::array kinds{"list", "check", "hex", "hex word"};
    json["kind"] = kinds.at(static_cast<std::size_t>(field.kind));
    bool enabled = field.enabled;
    if (report.values) {
        const FieldState &state = report.values->states[report.indexOf(field)];
        enabled = state.enabled;
        json["value"] = valueText(field, state);
        if (field.kind == KX3_FIELD_LIST) json["index"] = state.item;
        if (field.kind == KX3_FIELD_CHECK) json["checked"] = state.checked;
        json["bits"] = report.values->bits[report.indexOf(field)];
    }
    json["addresses"] = field.addresses;
    if (field.holdsBits()) {
        json["bit"] = field.bit;
        json["width"] = field.width;
    }
    json["enabled"] = enabled;
    json["read_only"] = field.readOnly;
    if (field.hazard != KX3_HAZARD_NONE) json["hazard"] = hazardName(field.hazard);
    if (field.kind == KX3_FIELD_LIST) json["items"] = field.items;
    return json;
}

Json jsonOf(const Changes &changes) {
    Json fields = Json::array();
    for (const FieldChange &change : changes.fields) {
        fields.push_back({{"frame", change.field->frame},
                          {"caption", change.field->caption},
                          {"control", change.field->controlName()},
                          {"before", change.before},
                          {"after", change.after},
                          {"visible", change.field->visible},
                          {"danger", change.locksOut}});
    }
    Json bytes = Json::array();
    for (const ByteChange &change : changes.bytes)
        bytes.push_back({{"address", change.address}, {"before", change.before}, {"after", change.after}});
    return {{"fields", fields}, {"bytes", bytes}};
}

Json jsonOf(const Device &device) {
    return {{"name", device.name},
            {"mode", device.traits.prgmode},
            {"size", device.traits.tlength},
            {"pins", device.traits.chippin},
            {"figvol", device.traits.figvol}};
}

Json statusJson(const Outcome &outcome) {
    Json json{{"ok", outcome.code == Exit::done},
              {"exit_code", static_cast<int>(outcome.code)},
              {"result", exitName(outcome.code)}};
    if (outcome.code != Exit::done) {
        json["error"] = {{"message", outcome.message}};
        if (!outcome.advice.empty()) json["error"]["advice"] = outcome.advice;
    }
    return json;
}

std::string dump(const Json &json) {
    // Texts may come from file names, which need not be UTF-8.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

std::string fieldsText(const Report &report) {
    std::size_t nameWidth = 0;
    std::size_t contentWidth = 0;
    for (const Field *field : report.fields) {
        nameWidth = std::max(nameWidth, widthOf(field->caption));
        if (report.values) contentWidth = std::max(contentWidth, widthOf(contentOf(report, *field)));
    }
    std::string text = fmt::format("{}: {}{}{}\n", report.device.name, report.editor.name,
                                   report.source.empty() ? "" : ", ", report.source);
    const std::string *frame = nullptr;
    for (const Field *field : report.fields) {
        if (frame == nullptr || *frame != field->frame)
            text += (field->frame.empty() ? "Configuration" : field->frame) + "\n";
        frame = &field->frame;
        const std::string name = padded(field->caption, nameWidth);
        const std::string content = contentOf(report, *field);
        if (report.values) {
            const std::size_t index = report.indexOf(*field);
            text += fmt::format("  {}  {}  {} = {}{}\n", name, padded(content, contentWidth), placeOf(*field),
                                bitsText(*field, report.values->bits[index]),
                                remarksOf(*field, report.values->states[index].enabled));
        } else {
            text += fmt::format("  {}  {}: {}{}\n", name, placeOf(*field), content, remarksOf(*field, field->enabled));
        }
    }
    return report.bytes.empty() ? text : text + bytesText(report);
}

std::string valuesText(const Report &report) {
    std::string text;
    for (const Field *field : report.fields) {
        if (report.fields.size() > 1) text += field->fullName() + "=";
        text += contentOf(report, *field) + "\n";
    }
    return text;
}

std::string changesText(const Report &report) {
    const Changes &changes = *report.changes;
    std::string text;
    for (const FieldChange &change : changes.fields)
        text += fmt::format("{} {}{}: {} -> {}{}\n", change.locksOut ? '!' : ' ', change.field->fullName(),
                            change.field->visible ? "" : " (not shown by the editor)", change.before, change.after,
                            change.locksOut ? fmt::format("  (danger: {})", hazardName(change.field->hazard)) : "");
    for (const ByteChange &change : changes.bytes)
        text += fmt::format("  byte 0x{:X}: {:02X} -> {:02X}\n", change.address, change.before, change.after);
    if (!report.added.empty()) {
        std::vector<std::string> addresses;
        for (const std::int32_t address : report.added)
            addresses.push_back(fmt::format("0x{:X}", address));
        text += fmt::format("  bytes that the file does not have yet: {}\n", fmt::join(addresses, " "));
    }
    if (text.empty()) return fmt::format("No change to {}.\n", report.target);
    return fmt::format("Changes to {}:\n{}", report.target, text);
}

std::string reportJson(const Report &report) {
    Json json = statusJson(report.outcome);
    json["command"] = report.command;
    json["device"] = jsonOf(report.device);
    json["editor"] = report.editor.name;
    if (!report.source.empty()) json["source"] = report.source;
    if (report.changes) {
        json["target"] = report.target;
        json["changes"] = jsonOf(*report.changes);
        json["added"] = report.added;
        json["written"] = report.written;
        return dump(json);
    }
    Json fields = Json::array();
    for (const Field *field : report.fields)
        fields.push_back(jsonOf(report, *field));
    json["fields"] = std::move(fields);
    Json bytes = Json::array();
    for (const ShownByte &byte : report.bytes)
        bytes.push_back({{"address", byte.address}, {"value", byte.value}, {"in_source", byte.held}});
    if (report.values) json["bytes"] = std::move(bytes);
    return dump(json);
}

std::string noteJson(const Device &device, std::uint8_t number, const std::optional<Note> &note) {
    Json json = statusJson({});
    json["command"] = "notes";
    json["device"] = jsonOf(device);
    json["note"] = number;
    json["shown"] = note.has_value();
    if (note) {
        json["title"] = note->title;
        json["lines"] = note->lines;
    }
    return dump(json);
}

} // namespace kx3console::config
