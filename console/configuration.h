// Configuration bytes (fuses, lock bits) that the command line gives for a run.
#pragma once

#include "profile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx3console {

/// A byte of the configuration area, which lies behind the device data.
struct ConfigurationByte {
    std::size_t offset;
    std::uint8_t value;
};

/// What the user wrote: bytes from the area's first one on, and bytes by name ("low=0xFF") or by
/// offset ("2=0xFD").
struct ConfigurationTexts {
    std::vector<std::string> bytes;
    std::vector<std::string> fuses;

    [[nodiscard]] bool empty() const { return bytes.empty() && fuses.empty(); }
};

/// Bytes that the configuration area of the device has.
[[nodiscard]] std::size_t configurationBytesOf(const Profile &profile);

/// The bytes that `texts` set, in this order. Fails with Exit::usage for what is no byte, for an
/// unknown name and for a byte that is given twice or lies outside the area.
[[nodiscard]] std::vector<ConfigurationByte> configurationChanges(const ConfigurationTexts &texts,
                                                                  const Profile &profile);

/// Name of the byte at `offset` in the device's configuration area: "low", ..., or "byte 3".
[[nodiscard]] std::string configurationName(std::int64_t family, std::size_t offset);

} // namespace kx3console
