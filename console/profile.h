// Device profiles: what a profile file says about a device.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <kx3mpu6.h>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx3console {

enum class ProfileKey : std::size_t {
#define KX3_PROFILE_KEY(key, ...) key,
#include "profile_keys.inc"
};

/// Which profiles must have a key.
enum class Required : std::uint8_t { never, withArmDriver, always };

enum class ValueKind : std::uint8_t { integer, boolean, text, bytes };

inline constexpr std::int64_t longestText = 200;

/// A row of profile_keys.inc, which says what the members mean.
struct ProfileRow {
    ProfileKey key;
    std::string_view name;
    ValueKind kind;
    std::int64_t low;
    std::int64_t high;
    std::string_view block;
    std::int32_t element;
    std::size_t most;
    Required required;
    std::int64_t standard;
    std::string_view meaning;
};

inline constexpr std::array profileTable{
#define KX3_PROFILE_KEY(key, kind, low, high, block, element, most, required, standard, meaning)                       \
    ProfileRow{ProfileKey::key, #key, ValueKind::kind,    low,      high,   block,                                     \
               element,         most, Required::required, standard, meaning},
#include "profile_keys.inc"
};

/// Integers and booleans (0 or -1), texts, lists of bytes.
using ProfileValue = std::variant<std::int64_t, std::string, std::vector<std::uint8_t>>;

struct Profile {
    std::string name;
    std::string place; ///< file and line of the profile's heading
    std::array<ProfileValue, profileTable.size()> values;

    [[nodiscard]] ProfileValue &value(ProfileKey key) { return values[static_cast<std::size_t>(key)]; }
    [[nodiscard]] const ProfileValue &value(ProfileKey key) const { return values[static_cast<std::size_t>(key)]; }

    [[nodiscard]] std::int64_t integer(ProfileKey key) const { return std::get<std::int64_t>(value(key)); }
    [[nodiscard]] const std::string &text(ProfileKey key) const { return std::get<std::string>(value(key)); }
    [[nodiscard]] std::span<const std::uint8_t> bytes(ProfileKey key) const {
        return std::get<std::vector<std::uint8_t>>(value(key));
    }
    /// Bytes of the device's main memory.
    [[nodiscard]] std::int64_t dataBytes() const {
        return integer(ProfileKey::size) * integer(ProfileKey::bytes_per_address);
    }
    /// Bytes of all its memories: the value of `buflength`(0).
    [[nodiscard]] std::int64_t bufferBytes() const { return dataBytes() + integer(ProfileKey::eeprom_size); }
    /// Load file address of the first byte.
    [[nodiscard]] std::uint64_t loadBase() const { return static_cast<std::uint64_t>(integer(ProfileKey::load_base)); }
    /// What the configuration editor depends on.
    [[nodiscard]] kx3_device traits() const;
    /// It comes from no profile: only its traits are known.
    [[nodiscard]] bool isPlain() const { return place.empty(); }
    /// No driver of the plug-in runs its operations: it announces them, and the host carries them out.
    [[nodiscard]] bool isHostDriven() const;
};

/// All devices that are known, in the order of their files; a later profile replaces an earlier one
/// of the same name.
class ProfileStore {
  public:
    /// Read profiles from `text`; `file` is their name in messages. Fails with Exit::badFile, naming
    /// file, line and key.
    void add(std::string_view text, const std::string &file);

    [[nodiscard]] const std::vector<Profile> &all() const { return profiles_; }
    /// Fails with Exit::usage and lists the nearest names when there is no such device.
    [[nodiscard]] const Profile &find(std::string_view name) const;

  private:
    std::vector<Profile> profiles_;
};

/// The built-in profiles, and those of `files` behind them.
[[nodiscard]] ProfileStore loadProfiles(const std::vector<std::filesystem::path> &files);

/// A device without a profile.
[[nodiscard]] Profile plainDevice(const kx3_device &traits);

/// The text of the profiles that are built in.
[[nodiscard]] std::string_view sampleProfiles();

} // namespace kx3console
