#include "rows.h"

#include "failure.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <optional>
#include <string_view>

namespace kx3docs {

namespace {

using kx3console::Field;

/// Names addresses by how they depend on the size `t` of the device.
class AddressNames {
  public:
    AddressNames(const Editor &editor, const kx3_device &device) : size_(device.tlength), mirror_(editor.mirror) {
        kx3_config_byte_info first = kx3_config_byte_info_init();
        if (kx3_editor_byte(editor.owner.get(), 0, &first) != KX3_OK)
            throw kx3console::Failure(kx3console::Exit::failed, kx3_last_error());
        factor_ = first.base == KX3_BASE_BUFFER_START ? 0 : first.base == KX3_BASE_LENGTH ? 1 : 2;
    }

    [[nodiscard]] std::string of(std::int32_t address) const {
        if (address == mirror_) return "t";
        if (factor_ == 0) return fmt::format("{:X} hex", address);
        const std::int32_t offset = address - factor_ * size_;
        const std::string base = factor_ == 1 ? "t" : fmt::format("{} × t", factor_);
        return fmt::format("{} {} {}", base, offset < 0 ? "−" : "+", offset < 0 ? -offset : offset);
    }

  private:
    std::int32_t size_;
    std::int32_t factor_ = 0; ///< of `t` in all addresses of an editor
    std::optional<std::int32_t> mirror_;
};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '|') result += '\\';
        result += c;
    }
    return result;
}

std::string bitsName(int high, int low) {
    return high == low ? fmt::format("{}", high) : fmt::format("{}–{}", high, low);
}

/// The stored bits of item `index`.
std::string storedItem(const Field &field, std::uint32_t index) {
    switch (field.coding) {
    case KX3_CODING_INVERTED: return fmt::format("{}", field.mask() ^ index);
    case KX3_CODING_WHOLE_SIZE: return index == 0 ? "7" : "0 (6 shows it, too)";
    default: return fmt::format("{}", index);
    }
}

std::string valuesOf(const Field &field) {
    if (field.kind == KX3_FIELD_HEX_NUMBER) return "hexadecimal";
    if (field.kind == KX3_FIELD_HEX_WORD) return "8 hexadecimal digits";
    const std::vector<std::string> states{"unchecked", "checked"};
    const std::vector<std::string> &items = field.kind == KX3_FIELD_CHECK ? states : field.choices;
    if (items.empty()) return "no items: the bits are kept";
    std::vector<std::string> texts;
    for (std::uint32_t i = 0; i < items.size(); ++i)
        texts.push_back(fmt::format("{} = {}", storedItem(field, i), escaped(items[i])));
    std::string text = fmt::format("{}", fmt::join(texts, "; "));
    if (field.coding == KX3_CODING_INDEX_OR_FIRST) text += "; others show the first";
    return text;
}

std::string remarksOf(const Field &field) {
    if (field.visible == 0)
        return field.coding == KX3_CODING_INDEX_OR_FIRST ? "hidden; a value without an item becomes 0"
                                                         : "hidden; its bits are kept";
    std::vector<std::string> remarks;
    if (field.read_only != 0)
        remarks.emplace_back("never written");
    else if (field.enabled == 0)
        remarks.emplace_back("greyed when the dialog opens");
    if (field.hazard != KX3_HAZARD_NONE) remarks.push_back(fmt::format("careful: {}", field.hazardName()));
    return fmt::format("{}", fmt::join(remarks, "; "));
}

/// Bits of the byte at `address` that OK forces.
std::uint32_t fixedMask(const Editor &editor, std::int32_t address) {
    const auto byte = std::find_if(editor.bytes.begin(), editor.bytes.end(),
                                   [address](const kx3_config_byte_info &each) { return each.address == address; });
    return byte == editor.bytes.end() ? 0U : static_cast<std::uint32_t>(byte->fixed_mask);
}

/// Whether all bits of a field are forced, so that it holds nothing.
bool isForced(const Editor &editor, const Field &field) {
    return field.holdsBits() && (fixedMask(editor, field.addresses[0]) >> field.bit & field.mask()) == field.mask();
}

/// Rows that no mode shows with a caption of their own have none.
std::string nameOf(const Field &field) { return field.name.empty() ? field.group : escaped(field.fullName()); }

ReferenceRow bitsRow(const Field &field) {
    const int high = field.bit + field.width - 1;
    return {.address = field.addresses[0],
            .bit = high,
            .bits = bitsName(high, field.bit),
            .field = nameOf(field),
            .control = field.controlName(),
            .values = valuesOf(field),
            .remarks = remarksOf(field)};
}

/// A row for each byte of a number.
void addNumber(std::vector<ReferenceRow> &rows, const Field &field) {
    for (std::size_t k = 0; k < field.places().size(); ++k) {
        std::string values = valuesOf(field);
        if (field.places().size() > 1) values += fmt::format(": bits {}–{}", 8 * k + 7, 8 * k);
        ReferenceRow row{.address = field.addresses[k], .bit = 7, .bits = bitsName(7, 0)};
        row.field = nameOf(field);
        row.control = field.controlName();
        row.values = std::move(values);
        row.remarks = remarksOf(field);
        rows.push_back(std::move(row));
    }
}

/// Rows of the device's fields. A hidden field with forced bits is told by the row of those bits.
void addFields(std::vector<ReferenceRow> &rows, const Editor &editor) {
    for (const Field &field : editor.fields) {
        if (field.byte_count == 0 || (field.visible == 0 && isForced(editor, field))) continue;
        if (field.holdsBits())
            rows.push_back(bitsRow(field));
        else
            addNumber(rows, field);
    }
}

/// Rows of runs of forced bits of equal value.
void addFixed(std::vector<ReferenceRow> &rows, const kx3_config_byte_info &byte) {
    for (int high = 7; high >= 0; --high) {
        const auto valueAt = [&byte](int bit) -> std::optional<int> {
            if ((byte.fixed_mask >> bit & 1) == 0) return std::nullopt;
            return byte.fixed_value >> bit & 1;
        };
        const auto value = valueAt(high);
        if (!value) continue;
        int low = high;
        while (low > 0 && valueAt(low - 1) == value)
            --low;
        rows.push_back({.address = byte.address,
                        .bit = high,
                        .bits = bitsName(high, low),
                        .values = fmt::format("OK writes {}", *value),
                        .remarks = "forced"});
        high = low;
    }
}

void addDefaultsAlone(std::vector<ReferenceRow> &rows, const Editor &editor, const Bytes &defaults) {
    for (const auto &[address, value] : defaults) {
        const bool known = std::any_of(editor.bytes.begin(), editor.bytes.end(),
                                       [at = address](const kx3_config_byte_info &byte) { return byte.address == at; });
        if (!known)
            rows.push_back(
                {.address = address, .bit = 7, .bits = bitsName(7, 0), .remarks = "default alone; not in the editor"});
    }
}

} // namespace

std::vector<ReferenceRow> referenceRows(const Editor &editor, const kx3_device &device, const Bytes &defaults) {
    std::vector<ReferenceRow> rows;
    addFields(rows, editor);
    for (const kx3_config_byte_info &byte : editor.bytes)
        addFixed(rows, byte);
    addDefaultsAlone(rows, editor, defaults);
    std::stable_sort(rows.begin(), rows.end(), [](const ReferenceRow &left, const ReferenceRow &right) {
        return left.address != right.address ? left.address < right.address : left.bit < right.bit;
    });
    const AddressNames names(editor, device);
    for (ReferenceRow &row : rows) {
        row.place = names.of(row.address);
        if (const auto found = defaults.find(row.address); found != defaults.end())
            row.standard = fmt::format("{:02X}", found->second);
    }
    return rows;
}

} // namespace kx3docs
