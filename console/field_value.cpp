#include "field_value.h"

#include "failure.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace kx3console {

namespace {

constexpr std::size_t digitsOfWord = 8;

/// An item without the bits in front: "Fosc/2" of "[000] Fosc/2".
std::string_view withoutBits(std::string_view item) {
    const std::size_t end = item.starts_with('[') ? item.find("] ") : std::string_view::npos;
    return end == std::string_view::npos ? item : item.substr(end + 2);
}

std::string numberedChoices(const Field &field) {
    std::vector<std::string> choices;
    for (std::size_t i = 0; i < field.choices.size(); ++i)
        choices.push_back(fmt::format("#{} {}", i, field.choices[i]));
    return fmt::format("Choose one of: {}.", fmt::join(choices, ", "));
}

/// Items whose text is `wanted`, or else the ones that begin with it.
std::vector<std::int32_t> itemsByText(const Field &field, const std::string &wanted) {
    std::vector<std::int32_t> whole;
    std::vector<std::int32_t> starts;
    for (std::size_t i = 0; i < field.choices.size(); ++i) {
        for (const std::string_view text : {std::string_view(field.choices[i]), withoutBits(field.choices[i])}) {
            const std::string name = normalName(text);
            std::vector<std::int32_t> *list = name == wanted ? &whole : name.starts_with(wanted) ? &starts : nullptr;
            const auto index = static_cast<std::int32_t>(i);
            if (list != nullptr && (list->empty() || list->back() != index)) list->push_back(index);
        }
    }
    return whole.empty() ? starts : whole;
}

[[noreturn]] void failItem(const Field &field, std::string_view value, std::string_view trouble) {
    throw Failure(Exit::usage, fmt::format("{}: \"{}\" {}", field.fullName(), value, trouble), numberedChoices(field));
}

std::optional<std::int32_t> itemByNumber(const Field &field, std::string_view digits) {
    const auto number = numberIn(digits, 10);
    if (!number || *number >= field.choices.size()) return std::nullopt;
    return static_cast<std::int32_t>(*number);
}

Entry listEntry(const Field &field, std::string_view value) {
    const std::string wanted = normalName(value);
    std::vector<std::int32_t> meant;
    std::optional<std::int32_t> numbered;
    if (wanted.starts_with('#')) {
        numbered = itemByNumber(field, std::string_view(wanted).substr(1));
    } else if (!wanted.empty()) {
        meant = itemsByText(field, wanted);
        numbered = itemByNumber(field, wanted);
    }
    // The text of an item in full is no number of another one.
    const bool inFull =
        meant.size() == 1 && normalName(field.choices[static_cast<std::size_t>(meant.front())]) == wanted;
    if (numbered && !inFull && std::find(meant.begin(), meant.end(), *numbered) == meant.end())
        meant.push_back(*numbered);
    if (meant.empty()) failItem(field, value, "is no item of this list");
    if (meant.size() > 1) failItem(field, value, "fits more than one item of this list");
    return {.item = meant.front()};
}

Entry checkEntry(const Field &field, std::string_view value) {
    const std::string word = normalName(value);
    const bool checked = hasWord("checked on yes 1", word);
    if (!checked && !hasWord("unchecked off no 0", word))
        throw Failure(Exit::usage, fmt::format("{}: \"{}\" is no state of a check box", field.fullName(), value),
                      "Choose checked or unchecked.");
    return {.checked = checked};
}

Entry textEntry(const Field &field, std::string_view value) {
    Entry entry;
    entry.text = value;
    const bool isNumber = hasHexPrefix(value);
    entry.number = numberIn(isNumber ? value.substr(2) : value, 16);
    if (!isNumber) return entry;
    if (!entry.number)
        throw Failure(Exit::usage,
                      fmt::format("{}: \"{}\" is no hexadecimal number of 32 bits", field.fullName(), value),
                      "Give up to 8 hexadecimal digits, such as 0x1F.");
    const bool isWord = field.kind == KX3_FIELD_HEX_WORD;
    entry.text = fmt::format("{:0{}X}", *entry.number, isWord ? digitsOfWord : std::size_t{1});
    return entry;
}

} // namespace

Entry parseEntry(const Field &field, std::string_view value) {
    switch (field.kind) {
    case KX3_FIELD_LIST: return listEntry(field, value);
    case KX3_FIELD_CHECK: return checkEntry(field, value);
    default: return textEntry(field, value);
    }
}

bool shows(const Field &field, const FieldState &state, const Entry &entry) {
    switch (field.kind) {
    case KX3_FIELD_LIST: return state.item == entry.item;
    case KX3_FIELD_CHECK: return state.checked == entry.checked;
    default: return entry.number.has_value() && numberIn(state.text, 16) == entry.number;
    }
}

std::string valueText(const Field &field, const FieldState &state) {
    if (field.kind == KX3_FIELD_CHECK) return state.checked ? "checked" : "unchecked";
    if (field.kind == KX3_FIELD_LIST && state.item < 0) return "(none)";
    return state.text;
}

std::uint32_t storedBits(const Field &field, std::span<const std::uint8_t> buffer) {
    std::uint32_t number = 0;
    int shift = 0;
    for (const std::int32_t place : field.places()) {
        number |= std::uint32_t{buffer[static_cast<std::size_t>(place)]} << shift;
        shift += 8;
    }
    return field.holdsBits() ? number >> field.bit & field.mask() : number;
}

bool locksOut(const Field &field, std::uint32_t before, std::uint32_t after) {
    if (before == after || field.hazard == KX3_HAZARD_NONE) return false;
    if (!field.holdsBits()) return true; // a register: what its bits do is the device's own affair
    const bool unprogrammed = after == field.mask();
    switch (field.hazard) {
    // A fuse that switches an interface on is programmed; a protection bit that shuts one is, too.
    case KX3_HAZARD_PROGRAMMING: return field.coding == KX3_CODING_PLAIN ? unprogrammed : !unprogrammed;
    case KX3_HAZARD_RESET_PIN:
    case KX3_HAZARD_DEBUG:
    case KX3_HAZARD_LOCK: return !unprogrammed;
    default: return true;
    }
}

} // namespace kx3console
