#include "changes.h"

#include <algorithm>
#include <fmt/format.h>

namespace kx3console::config {

namespace {

/// Defaults go less far than this beyond the bytes of the editor.
constexpr std::int32_t reach = 16;

/// The value of a field whose dialog shows the same for both of its bit patterns.
std::string withBits(const std::string &value, std::uint32_t bits) { return fmt::format("{} (bits {})", value, bits); }

FieldChange changeOf(const Field &field, std::size_t index, const Snapshot &before, const Snapshot &after) {
    FieldChange change{&field, valueText(field, before.states[index]), valueText(field, after.states[index]),
                       locksOut(field, before.bits[index], after.bits[index])};
    if (change.before == change.after) {
        change.before = withBits(change.before, before.bits[index]);
        change.after = withBits(change.after, after.bits[index]);
    }
    return change;
}

} // namespace

Bytes configurationArea(const Editor &editor, std::span<const std::uint8_t> buffer) {
    Bytes area;
    const auto size = static_cast<std::int32_t>(buffer.size());
    const auto addAround = [&](std::int32_t address) {
        const std::int32_t last = std::min(address + reach, size - 1);
        for (std::int32_t at = std::max(address - reach, 0); at <= last; ++at)
            area[at] = buffer[static_cast<std::size_t>(at)];
    };
    for (const ConfigByte &byte : editor.bytes)
        addAround(byte.address);
    if (editor.mirror) addAround(*editor.mirror);
    return area;
}

std::vector<const FieldChange *> Changes::dangers() const {
    std::vector<const FieldChange *> found;
    for (const FieldChange &change : fields)
        if (change.locksOut) found.push_back(&change);
    return found;
}

Changes changesBetween(const Editor &editor, const Snapshot &before, const Snapshot &after) {
    Changes changes;
    for (const auto &[address, value] : after.bytes)
        if (const std::uint8_t old = before.bytes.at(address); old != value)
            changes.bytes.push_back({address, old, value});
    for (std::size_t i = 0; i < editor.fields.size(); ++i)
        if (before.bits[i] != after.bits[i]) changes.fields.push_back(changeOf(editor.fields[i], i, before, after));
    return changes;
}

} // namespace kx3console::config
