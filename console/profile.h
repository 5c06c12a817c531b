// Device profiles: what a profile file says about a device.
#pragma once

#include "profile_table.h"

#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx3console {

/// Integers and booleans (0 or -1), texts, lists of bytes.
using FieldValue = std::variant<std::int64_t, std::string, std::vector<std::uint8_t>>;

struct Profile {
    std::string name;
    std::string place; ///< file and line of the profile's heading
    std::array<FieldValue, profileTable.size()> values;

    [[nodiscard]] std::int64_t integer(Field field) const { return std::get<std::int64_t>(value(field)); }
    [[nodiscard]] const std::string &text(Field field) const { return std::get<std::string>(value(field)); }
    [[nodiscard]] std::span<const std::uint8_t> bytes(Field field) const {
        return std::get<std::vector<std::uint8_t>>(value(field));
    }
    /// Bytes of the device's main memory.
    [[nodiscard]] std::int64_t dataBytes() const { return integer(Field::size) * integer(Field::bytes_per_address); }
    /// Bytes of all its memories: the value of `buflength`(0).
    [[nodiscard]] std::int64_t bufferBytes() const { return dataBytes() + integer(Field::eeprom_size); }
    /// No driver of the plug-in runs its operations: it announces them, and the host carries them out.
    [[nodiscard]] bool isHostDriven() const;

  private:
    [[nodiscard]] const FieldValue &value(Field field) const { return values[static_cast<std::size_t>(field)]; }
};

/// All devices that are known, in the order of their files; a later profile replaces an earlier one
/// of the same name.
class ProfileStore {
  public:
    /// Read profiles from `text`; `file` is their name in messages. Fails with Exit::badFile, naming
    /// file, line and key.
    void add(std::string_view text, const std::string &file);
    /// The same from a file.
    void addFile(const std::filesystem::path &path);

    [[nodiscard]] const std::vector<Profile> &all() const { return profiles_; }
    /// Fails with Exit::usage and lists the nearest names when there is no such device.
    [[nodiscard]] const Profile &find(std::string_view name) const;

  private:
    std::vector<Profile> profiles_;
};

/// The profiles that are built in.
[[nodiscard]] std::string_view sampleProfiles();

} // namespace kx3console
