// Configuration bytes (fuses, lock bits) that the command line gives for a run.
#pragma once

#include "profile.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kx3console {

/// What the user wrote: bytes from the first one on, and bytes by name ("low=0xFF") or by offset ("2=0xFD").
struct ConfigurationTexts {
    std::vector<std::string> bytes;
    std::vector<std::string> fuses;

    [[nodiscard]] bool empty() const { return bytes.empty() && fuses.empty(); }
};

/// Bytes that the configuration area of the device has; it lies behind the device data.
[[nodiscard]] std::size_t configurationBytesOf(const Profile &profile);

/// The bytes that `texts` set, by their offsets in the configuration area. Fails with Exit::usage for
/// what is no byte, for an unknown name and for a byte that is given twice or lies outside the area.
[[nodiscard]] std::map<std::size_t, std::uint8_t> configurationChanges(const ConfigurationTexts &texts,
                                                                       const Profile &profile);

/// Name of the byte at `offset` in the device's configuration area: "low", ..., or "3".
[[nodiscard]] std::string configurationName(const Profile &profile, std::size_t offset);

} // namespace kx3console
