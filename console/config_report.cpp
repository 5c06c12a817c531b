#include "config_report.h"

#include "report.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <span>

namespace kx3console {

using Json = nlohmann::ordered_json;

namespace {

/// "0x8005 0x8006"
std::string addressesText(std::span<const std::int32_t> addresses) {
    return addresses.empty() ? "" : fmt::format("0x{:X}", fmt::join(addresses, " 0x"));
}

/// "0x8000 bit 3", "0x8002 bits 7-5", "0x8005 0x8006".
std::string placeOf(const Field &field) {
    std::string text = addressesText(field.places());
    if (!field.holdsBits() || field.width == 8) return text;
    if (field.width == 1) return fmt::format("{} bit {}", text, field.bit);
    return fmt::format("{} bits {}-{}", text, field.bit + field.width - 1, field.bit);
}

/// The stored bits: binary inside a byte, two hexadecimal digits a byte else.
std::string bitsText(const Field &field, std::uint32_t bits) {
    if (!field.holdsBits() || field.width == 8) return fmt::format("{:0{}X}", bits, 2 * field.places().size());
    return fmt::format("{:0{}b}", bits, field.width);
}

std::string remarksOf(const Field &field, bool enabled) {
    std::vector<std::string> remarks;
    if (field.hazard != KX3_HAZARD_NONE) remarks.push_back(fmt::format("careful: {}", field.hazardName()));
    if (field.read_only != 0)
        remarks.emplace_back("read only");
    else if (!enabled)
        remarks.emplace_back("greyed");
    return remarks.empty() ? "" : fmt::format("  ({})", fmt::join(remarks, "; "));
}

std::string choicesOf(const Field &field) {
    switch (field.kind) {
    case KX3_FIELD_LIST: return fmt::format("{}", fmt::join(field.choices, " | "));
    case KX3_FIELD_CHECK: return "unchecked | checked";
    case KX3_FIELD_HEX_WORD: return "8 hexadecimal digits";
    default: return "hexadecimal digits";
    }
}

/// The value of a field, or what it can be.
std::string contentOf(const ConfigReport &report, const Field &field) {
    if (!report.values) return choicesOf(field);
    return valueText(field, report.values->states[report.indexOf(field)]);
}

Json nameOf(const Field &field) {
    return {{"frame", field.group}, {"caption", field.name}, {"control", field.controlName()}};
}

Json jsonOf(const ConfigReport &report, const Field &field) {
    constexpr std::array kinds{"list", "check", "hex", "hex word"};
    Json json = nameOf(field);
    json["kind"] = kinds.at(static_cast<std::size_t>(field.kind));
    bool enabled = field.enabled != 0;
    if (report.values) {
        const std::size_t index = report.indexOf(field);
        const FieldState &state = report.values->states[index];
        enabled = state.enabled;
        json["value"] = valueText(field, state);
        if (field.kind == KX3_FIELD_LIST) json["index"] = state.item;
        if (field.kind == KX3_FIELD_CHECK) json["checked"] = state.checked;
        json["bits"] = report.values->bits[index];
    }
    json["addresses"] = field.places();
    if (field.holdsBits()) {
        json["bit"] = field.bit;
        json["width"] = field.width;
    }
    json["enabled"] = enabled;
    json["read_only"] = field.read_only != 0;
    if (field.hazard != KX3_HAZARD_NONE) json["hazard"] = field.hazardName();
    if (field.kind == KX3_FIELD_LIST) json["items"] = field.choices;
    return json;
}

Json jsonOf(const Changes &changes) {
    Json fields = Json::array();
    for (const FieldChange &change : changes.fields) {
        Json &json = fields.emplace_back(nameOf(*change.field));
        json["before"] = change.before;
        json["after"] = change.after;
        json["visible"] = change.field->visible != 0;
        json["danger"] = change.locksOut;
    }
    Json bytes = Json::array();
    for (const ByteChange &change : changes.bytes)
        bytes.push_back({{"address", change.address}, {"before", change.before}, {"after", change.after}});
    return {{"fields", fields}, {"bytes", bytes}};
}

Json jsonOf(const Profile &device) {
    const kx3_device traits = device.traits();
    return {{"name", device.name},
            {"mode", traits.prgmode},
            {"size", traits.tlength},
            {"pins", traits.chippin},
            {"figvol", traits.figvol}};
}

/// What every report begins with.
Json beginning(const std::optional<Failure> &failure, const std::string &command, const Profile &device) {
    Json json = statusJson(failure ? &*failure : nullptr);
    if (failure) json["error"] = errorJson(*failure);
    json["command"] = command;
    json["device"] = jsonOf(device);
    return json;
}

} // namespace

Changes changesBetween(const Editor &editor, const Snapshot &before, const Snapshot &after) {
    Changes changes;
    for (const auto &[address, value] : after.bytes)
        if (const std::uint8_t old = before.bytes.at(address); old != value)
            changes.bytes.push_back({address, old, value});
    for (std::size_t i = 0; i < editor.fields.size(); ++i) {
        if (before.bits[i] == after.bits[i]) continue;
        const Field &field = editor.fields[i];
        FieldChange change{&field, valueText(field, before.states[i]), valueText(field, after.states[i]),
                           locksOut(field, before.bits[i], after.bits[i])};
        if (change.before == change.after) { // the dialog shows the same for both bit patterns
            change.before += fmt::format(" (bits {})", before.bits[i]);
            change.after += fmt::format(" (bits {})", after.bits[i]);
        }
        changes.fields.push_back(std::move(change));
    }
    return changes;
}

std::string fieldsText(const ConfigReport &report) {
    std::size_t nameWidth = 0;
    std::size_t contentWidth = 0;
    for (const Field *field : report.fields) {
        nameWidth = std::max(nameWidth, widthOf(field->name));
        if (report.values) contentWidth = std::max(contentWidth, widthOf(contentOf(report, *field)));
    }
    std::string text = fmt::format("{}: {}{}{}\n", report.device.name, report.editor.name,
                                   report.source.empty() ? "" : ", ", report.source);
    const std::string *group = nullptr;
    for (const Field *field : report.fields) {
        if (group == nullptr || *group != field->group)
            text += (field->group.empty() ? "Configuration" : field->group) + "\n";
        group = &field->group;
        const std::string name = padded(field->name, nameWidth);
        const std::string content = contentOf(report, *field);
        if (report.values) {
            const std::size_t index = report.indexOf(*field);
            text += fmt::format("  {}  {}  {} = {}{}\n", name, padded(content, contentWidth), placeOf(*field),
                                bitsText(*field, report.values->bits[index]),
                                remarksOf(*field, report.values->states[index].enabled));
        } else {
            text +=
                fmt::format("  {}  {}: {}{}\n", name, placeOf(*field), content, remarksOf(*field, field->enabled != 0));
        }
    }
    if (!report.bytes.empty()) text += "Bytes\n";
    for (const ShownByte &byte : report.bytes)
        text += fmt::format("  0x{:X}: {:02X}{}\n", byte.address, byte.value, byte.held ? "" : "  (not in the file)");
    return text;
}

std::string valuesText(const ConfigReport &report) {
    std::string text;
    for (const Field *field : report.fields) {
        if (report.fields.size() > 1) text += field->fullName() + "=";
        text += contentOf(report, *field) + "\n";
    }
    return text;
}

std::string changesText(const ConfigReport &report) {
    std::string text;
    for (const FieldChange &change : report.changes->fields)
        text += fmt::format("{} {}{}: {} -> {}{}\n", change.locksOut ? '!' : ' ', change.field->fullName(),
                            change.field->visible != 0 ? "" : " (not shown by the editor)", change.before, change.after,
                            change.locksOut ? fmt::format("  (danger: {})", change.field->hazardName()) : "");
    for (const ByteChange &change : report.changes->bytes)
        text += fmt::format("  byte 0x{:X}: {:02X} -> {:02X}\n", change.address, change.before, change.after);
    if (!report.added.empty())
        text += fmt::format("  bytes that the file does not have yet: {}\n", addressesText(report.added));
    if (text.empty()) return fmt::format("No change to {}.\n", report.target);
    return fmt::format("Changes to {}:\n{}", report.target, text);
}

std::string reportJson(const ConfigReport &report) {
    Json json = beginning(report.failure, report.command, report.device);
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

std::string noteText(const Profile &device, std::uint8_t number, const std::optional<Note> &note) {
    if (!note) return fmt::format("Note {} says nothing about {}.\n", number, device.name);
    return fmt::format("{}{}{}\n", note->title, note->title.empty() ? "" : "\n", fmt::join(note->lines, "\n"));
}

std::string noteJson(const Profile &device, std::uint8_t number, const std::optional<Note> &note) {
    Json json = beginning(std::nullopt, "notes", device);
    json["note"] = number;
    json["shown"] = note.has_value();
    if (note) {
        json["title"] = note->title;
        json["lines"] = note->lines;
    }
    return dump(json);
}

} // namespace kx3console
