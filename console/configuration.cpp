#include "configuration.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <span>

namespace kx3console {

namespace {

/// Configuration bytes of an ARM device ride in the command packets.
constexpr std::size_t armBytes = 11;
constexpr std::size_t hostDrivenBytes = 16;

struct NamedByte {
    std::string_view name;
    std::size_t offset;
};

constexpr std::array fuseBytes{NamedByte{"low", 0}, NamedByte{"high", 1}, NamedByte{"extended", 2},
                               NamedByte{"lock", 7}};
constexpr std::array oneFuseByte{NamedByte{"fuse", 0}, NamedByte{"lock", 1}};
constexpr std::array numberedFuses{NamedByte{"fuse0", 0}, NamedByte{"fuse1", 1}, NamedByte{"fuse2", 2},
                                   NamedByte{"fuse4", 3}, NamedByte{"fuse5", 4}, NamedByte{"lock", 5}};

struct NamesOfFamily {
    std::uint8_t family;
    std::span<const NamedByte> names;
};

/// Families whose configuration bytes have names; those of the others go by their offsets.
constexpr std::array namesTable{
    NamesOfFamily{3, fuseBytes},    NamesOfFamily{4, fuseBytes},      NamesOfFamily{6, fuseBytes},
    NamesOfFamily{10, fuseBytes},   NamesOfFamily{13, fuseBytes},     NamesOfFamily{14, fuseBytes},
    NamesOfFamily{15, fuseBytes},   NamesOfFamily{18, fuseBytes},     NamesOfFamily{30, fuseBytes},
    NamesOfFamily{31, fuseBytes},   NamesOfFamily{32, fuseBytes},     NamesOfFamily{55, fuseBytes},
    NamesOfFamily{56, fuseBytes},   NamesOfFamily{58, fuseBytes},     NamesOfFamily{59, fuseBytes},
    NamesOfFamily{60, fuseBytes},   NamesOfFamily{61, fuseBytes},     NamesOfFamily{62, fuseBytes},
    NamesOfFamily{12, oneFuseByte}, NamesOfFamily{50, numberedFuses},
};

std::span<const NamedByte> namesOf(std::int64_t family) {
    const auto row = std::find_if(namesTable.begin(), namesTable.end(),
                                  [family](const NamesOfFamily &each) { return each.family == family; });
    return row == namesTable.end() ? std::span<const NamedByte>() : row->names;
}

/// A whole text in this base; nothing when it is anything else.
constexpr std::uint32_t noNumber = UINT32_MAX;

std::uint32_t number(std::string_view text, int base) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return noNumber;
    return value;
}

bool hasHexPrefix(std::string_view text) { return text.starts_with("0x") || text.starts_with("0X"); }

std::uint8_t requireByte(std::string_view option, std::string_view text, std::uint32_t value) {
    if (value <= UINT8_MAX) return static_cast<std::uint8_t>(value);
    throw Failure(Exit::usage, fmt::format("{}: \"{}\" is no byte", option, text),
                  "A byte is 0 to FF in --config-bytes, and 0 to 255 or 0x00 to 0xFF in --fuse.");
}

std::uint32_t prefixedNumber(std::string_view text) {
    return hasHexPrefix(text) ? number(text.substr(2), 16) : number(text, 10);
}

/// Collects bytes, each of which may be given once.
class Changes {
  public:
    explicit Changes(const Profile &profile) : profile_(profile), most_(configurationBytesOf(profile)) {}

    void addBytes(const std::vector<std::string> &texts) {
        std::size_t offset = 0;
        for (const std::string &text : texts) {
            const std::string_view digits = hasHexPrefix(text) ? std::string_view(text).substr(2) : text;
            add("--config-bytes", offset++, requireByte("--config-bytes", text, number(digits, 16)));
        }
    }

    void addFuse(std::string_view text) {
        const std::size_t sign = text.find('=');
        if (sign == std::string_view::npos)
            throw Failure(Exit::usage, fmt::format("--fuse: \"{}\" has no value", text), advice());
        const std::string_view value = text.substr(sign + 1);
        add("--fuse", offsetOf(text.substr(0, sign)), requireByte("--fuse", value, prefixedNumber(value)));
    }

    [[nodiscard]] std::vector<ConfigurationByte> take() { return std::move(changes_); }

  private:
    [[nodiscard]] std::size_t offsetOf(std::string_view name) const {
        for (const NamedByte &each : namesOf(profile_.integer(Field::family)))
            if (each.name == name) return each.offset;
        if (const std::uint32_t offset = prefixedNumber(name); offset != noNumber) return offset;
        throw Failure(Exit::usage, fmt::format("--fuse: {} has no configuration byte \"{}\"", profile_.name, name),
                      advice());
    }

    void add(std::string_view option, std::size_t offset, std::uint8_t value) {
        if (offset >= most_)
            throw Failure(
                Exit::usage,
                fmt::format("{}: {} has no configuration byte {}; it has {}", option, profile_.name, offset, most_),
                advice());
        const bool twice = std::any_of(changes_.begin(), changes_.end(),
                                       [offset](const ConfigurationByte &each) { return each.offset == offset; });
        if (twice)
            throw Failure(Exit::usage, fmt::format("{}: configuration byte {} is given more than once", option, offset),
                          "Which value is meant?");
        changes_.push_back({offset, value});
    }

    [[nodiscard]] std::string advice() const {
        std::vector<std::string_view> names;
        for (const NamedByte &each : namesOf(profile_.integer(Field::family)))
            names.push_back(each.name);
        const std::string offsets = fmt::format("an offset from 0 to {}", most_ - 1);
        if (names.empty()) return fmt::format("Give --fuse OFFSET=VALUE with {}.", offsets);
        return fmt::format("Give --fuse NAME=VALUE with {} or {}.", fmt::join(names, ", "), offsets);
    }

    const Profile &profile_;
    std::size_t most_;
    std::vector<ConfigurationByte> changes_;
};

} // namespace

std::size_t configurationBytesOf(const Profile &profile) { return profile.isHostDriven() ? hostDrivenBytes : armBytes; }

std::vector<ConfigurationByte> configurationChanges(const ConfigurationTexts &texts, const Profile &profile) {
    Changes changes(profile);
    changes.addBytes(texts.bytes);
    for (const std::string &fuse : texts.fuses)
        changes.addFuse(fuse);
    return changes.take();
}

std::string configurationName(std::int64_t family, std::size_t offset) {
    for (const NamedByte &each : namesOf(family))
        if (each.offset == offset) return std::string(each.name);
    return fmt::format("{}", offset);
}

} // namespace kx3console
