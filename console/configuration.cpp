#include "configuration.h"

#include "failure.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <optional>
#include <span>
#include <string_view>

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

constexpr std::array fuseFamilies{3, 4, 6, 10, 13, 14, 15, 18, 30, 31, 32, 55, 56, 58, 59, 60, 61, 62};
constexpr std::int64_t oneFuseFamily = 12;
constexpr std::int64_t numberedFamily = 50;

/// Names of the configuration bytes; without any they go by their offsets.
std::span<const NamedByte> namesOf(const Profile &profile) {
    const std::int64_t family = profile.integer(ProfileKey::family);
    if (family == oneFuseFamily) return oneFuseByte;
    if (family == numberedFamily) return numberedFuses;
    const bool fuses = std::find(fuseFamilies.begin(), fuseFamilies.end(), family) != fuseFamilies.end();
    return fuses ? fuseBytes : std::span<const NamedByte>();
}

std::string fuseAdvice(const Profile &profile) {
    std::vector<std::string_view> names;
    for (const NamedByte &each : namesOf(profile))
        names.push_back(each.name);
    const std::string offsets = fmt::format("an offset from 0 to {}", configurationBytesOf(profile) - 1);
    if (names.empty()) return fmt::format("Give --fuse OFFSET=VALUE with {}.", offsets);
    return fmt::format("Give --fuse NAME=VALUE with {} or {}.", fmt::join(names, ", "), offsets);
}

std::size_t fuseOffset(const Profile &profile, std::string_view name) {
    for (const NamedByte &each : namesOf(profile))
        if (each.name == name) return each.offset;
    if (const auto offset = numberIn(name)) return *offset;
    throw Failure(Exit::usage, fmt::format("--fuse: {} has no configuration byte \"{}\"", profile.name, name),
                  fuseAdvice(profile));
}

/// `value` is what `text` was read as.
std::uint8_t requireByte(std::string_view option, std::string_view text, std::optional<std::uint32_t> value) {
    if (value && *value <= UINT8_MAX) return static_cast<std::uint8_t>(*value);
    throw Failure(Exit::usage, fmt::format("{}: \"{}\" is no byte", option, text),
                  "A byte is 0 to FF in --config-bytes, and 0 to 255 or 0x00 to 0xFF in --fuse.");
}

} // namespace

std::size_t configurationBytesOf(const Profile &profile) { return profile.isHostDriven() ? hostDrivenBytes : armBytes; }

std::map<std::size_t, std::uint8_t> configurationChanges(const ConfigurationTexts &texts, const Profile &profile) {
    std::map<std::size_t, std::uint8_t> bytes;
    const auto add = [&](std::string_view option, std::size_t offset, std::uint8_t value) {
        const std::size_t most = configurationBytesOf(profile);
        if (offset >= most)
            throw Failure(
                Exit::usage,
                fmt::format("{}: {} has no configuration byte {}; it has {}", option, profile.name, offset, most),
                fuseAdvice(profile));
        if (!bytes.emplace(offset, value).second)
            throw Failure(Exit::usage, fmt::format("{}: configuration byte {} is given more than once", option, offset),
                          "Which value is meant?");
    };
    for (std::size_t offset = 0; offset < texts.bytes.size(); ++offset) {
        const std::string_view text = texts.bytes[offset];
        const auto value = numberIn(text.substr(hasHexPrefix(text) ? 2 : 0), 16);
        add("--config-bytes", offset, requireByte("--config-bytes", text, value));
    }
    for (const std::string_view fuse : texts.fuses) {
        const std::size_t sign = fuse.find('=');
        if (sign == std::string_view::npos)
            throw Failure(Exit::usage, fmt::format("--fuse: \"{}\" has no value", fuse), fuseAdvice(profile));
        const std::string_view text = fuse.substr(sign + 1);
        const std::uint8_t value = requireByte("--fuse", text, numberIn(text));
        add("--fuse", fuseOffset(profile, fuse.substr(0, sign)), value);
    }
    return bytes;
}

std::string configurationName(const Profile &profile, std::size_t offset) {
    for (const NamedByte &each : namesOf(profile))
        if (each.offset == offset) return std::string(each.name);
    return fmt::format("{}", offset);
}

} // namespace kx3console
