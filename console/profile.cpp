#include "profile.h"

#include "failure.h"
#include "files.h"
#include "geometry.h"
#include "text.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <toml++/toml.h>

namespace kx3console {

namespace {

constexpr std::string_view devicesTable = "devices";
/// A profile file is written by hand.
constexpr std::size_t largestProfileFile = 4 << 20;

/// Where messages point to.
struct Source {
    const std::string &file;

    [[nodiscard]] std::string at(const toml::source_region &region) const {
        return fmt::format("{}:{}", file, region.begin.line);
    }
    [[noreturn]] void fail(const toml::source_region &region, const std::string &message,
                           const std::string &advice) const {
        throw Failure(Exit::badFile, at(region) + ": " + message, advice);
    }
};

constexpr std::array kindNames{"an integer", "true or false", "a text in quotes", "a list of integers in brackets"};

std::string number(std::int64_t value) {
    return value < 10 ? fmt::format("{}", value) : fmt::format("{0} (0x{0:X})", value);
}

/// Reads one key's value and checks it against its row.
class ValueReader {
  public:
    ValueReader(const Source &source, const ProfileRow &row, const toml::node &node)
        : source_(source), row_(row), node_(node) {}

    [[nodiscard]] ProfileValue read() const {
        switch (row_.kind) {
        case ValueKind::integer: return integer(node_);
        case ValueKind::boolean: return require(node_.value_exact<bool>()) ? std::int64_t{-1} : std::int64_t{0};
        case ValueKind::text: return text();
        case ValueKind::bytes: break;
        }
        return bytes();
    }

  private:
    [[noreturn]] void fail(const toml::node &node, const std::string &message) const {
        source_.fail(node.source(), fmt::format("{} {}", row_.name, message),
                     fmt::format("{}: {}.", row_.name, row_.meaning));
    }

    template <class Value> [[nodiscard]] Value require(std::optional<Value> value) const {
        if (value) return *std::move(value);
        fail(node_, fmt::format("must be {}", kindNames.at(static_cast<std::size_t>(row_.kind))));
    }

    [[nodiscard]] std::int64_t integer(const toml::node &node) const {
        const std::int64_t value = require(node.value_exact<std::int64_t>());
        if (value < row_.low || value > row_.high)
            fail(node,
                 fmt::format("= {} is out of range; it may be {} to {}", value, number(row_.low), number(row_.high)));
        return value;
    }

    [[nodiscard]] std::string text() const {
        std::string value = require(node_.value_exact<std::string>());
        const auto length = static_cast<std::int64_t>(value.size());
        if (length < row_.low || length > row_.high)
            fail(node_, fmt::format("has {} characters; it may have {} to {}", length, row_.low, row_.high));
        return value;
    }

    [[nodiscard]] std::vector<std::uint8_t> bytes() const {
        const toml::array *list = node_.as_array();
        if (list == nullptr) static_cast<void>(require(std::optional<int>()));
        if (list->size() > row_.most)
            fail(node_, fmt::format("has {} entries; it may have {}", list->size(), row_.most));
        std::vector<std::uint8_t> values;
        for (const toml::node &entry : *list)
            values.push_back(static_cast<std::uint8_t>(integer(entry)));
        return values;
    }

    const Source &source_;
    const ProfileRow &row_;
    const toml::node &node_;
};

ProfileValue standardValue(const ProfileRow &row) {
    if (row.kind == ValueKind::text) return std::string();
    if (row.kind == ValueKind::bytes) return std::vector<std::uint8_t>();
    return row.standard;
}

void refuseUnknownKeys(const Source &source, const toml::table &table) {
    std::vector<std::string> keys(profileTable.size());
    std::transform(profileTable.begin(), profileTable.end(), keys.begin(),
                   [](const ProfileRow &row) { return row.name; });
    for (const auto &[key, node] : table)
        if (std::find(keys.begin(), keys.end(), key.str()) == keys.end())
            source.fail(key.source(), fmt::format("unknown entry \"{}\"", key.str()), nearIt(key.str(), keys));
}

/// What is wrong with the values together, each of which is right in itself.
std::optional<Failure> problemOfWhole(const Profile &profile) {
    if (profile.integer(ProfileKey::firmware_version) + profile.integer(ProfileKey::signature) > UINT8_MAX)
        return Failure(Exit::badFile, "firmware_version and signature add up to more than 255",
                       "Their sum is one byte of the signature packet.");
    for (const ProfileKey key : {ProfileKey::algorithm_clock, ProfileKey::algorithm_folder, ProfileKey::algorithm_file})
        if (const std::string &name = profile.text(key);
            name.find_first_of(R"(/\)") != std::string::npos || name.find("..") != std::string::npos)
            return Failure(Exit::badFile, fmt::format("algorithm name \"{}\" leads out of the algorithm folder", name),
                           R"(Give a plain name without "/", "\" and "..".)");
    if (profile.integer(ProfileKey::eeprom_size) > 0 && !profile.isHostDriven())
        return Failure(Exit::badFile, "the drivers of ARM devices know no EEPROM",
                       "Leave eeprom_size out, or choose the model type of a device that the host drives.");
    return geometryProblem(profile);
}

void requireEntries(const Source &source, const toml::key &name, const toml::table &table, Required required) {
    for (const ProfileRow &row : profileTable)
        if (row.required == required && table.get(row.name) == nullptr)
            source.fail(name.source(), fmt::format("device {} has no entry \"{}\"", name.str(), row.name),
                        fmt::format("Add {} = ...: {}.", row.name, row.meaning));
}

Profile readProfile(const Source &source, const toml::key &name, const toml::table &table) {
    refuseUnknownKeys(source, table);
    requireEntries(source, name, table, Required::always);
    Profile profile;
    profile.name = name.str();
    profile.place = source.at(name.source());
    for (const ProfileRow &row : profileTable) {
        const toml::node *node = table.get(row.name);
        profile.value(row.key) = node == nullptr ? standardValue(row) : ValueReader(source, row, *node).read();
    }
    if (!profile.isHostDriven()) requireEntries(source, name, table, Required::withArmDriver);
    if (const auto problem = problemOfWhole(profile))
        throw Failure(problem->code(),
                      fmt::format("{}: device {}: {}", profile.place, profile.name, problem->message()),
                      problem->advice());
    return profile;
}

toml::table parse(std::string_view text, const std::string &file) {
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error &error) {
        throw Failure(Exit::badFile, fmt::format("{}:{}: {}", file, error.source().begin.line, error.description()),
                      "The profile file is no well-formed TOML there.");
    }
}

} // namespace

bool Profile::isHostDriven() const { return !driverOf(*this); }

kx3_device Profile::traits() const {
    return {sizeof(kx3_device), static_cast<std::int32_t>(integer(ProfileKey::size)),
            static_cast<std::int16_t>(integer(ProfileKey::pins)),
            static_cast<std::uint8_t>(integer(ProfileKey::family)),
            static_cast<std::uint8_t>(integer(ProfileKey::editor_option))};
}

Profile plainDevice(const kx3_device &traits) {
    Profile profile;
    profile.name = fmt::format("mode {}, size 0x{:X}", traits.prgmode, traits.tlength);
    for (const ProfileRow &row : profileTable)
        profile.value(row.key) = standardValue(row);
    profile.value(ProfileKey::size) = traits.tlength;
    profile.value(ProfileKey::pins) = traits.chippin;
    profile.value(ProfileKey::family) = traits.prgmode;
    profile.value(ProfileKey::editor_option) = traits.figvol;
    return profile;
}

void ProfileStore::add(std::string_view text, const std::string &file) {
    constexpr const char *heading = "A profile begins with a heading [devices.NAME].";
    const Source source{file};
    const toml::table document = parse(text, file);
    for (const auto &[key, node] : document)
        if (key.str() != devicesTable || !node.is_table())
            source.fail(key.source(), fmt::format("\"{}\" does not belong here", key.str()), heading);
    const toml::table *devices = document[devicesTable].as_table();
    if (devices == nullptr) throw Failure(Exit::badFile, file + ": there is no device in this profile file", heading);
    std::vector<Profile> added;
    for (const auto &[name, node] : *devices) {
        const toml::table *table = node.as_table();
        if (table == nullptr) source.fail(name.source(), fmt::format("devices.{} is no profile", name.str()), heading);
        added.push_back(readProfile(source, name, *table));
    }
    // Tables are kept by name; people expect the order of the file.
    std::sort(added.begin(), added.end(), [devices](const Profile &left, const Profile &right) {
        return devices->get(left.name)->source().begin.line < devices->get(right.name)->source().begin.line;
    });
    for (Profile &profile : added) {
        const auto known = std::find_if(profiles_.begin(), profiles_.end(),
                                        [&profile](const Profile &each) { return each.name == profile.name; });
        if (known == profiles_.end())
            profiles_.push_back(std::move(profile));
        else
            *known = std::move(profile);
    }
}

const Profile &ProfileStore::find(std::string_view name) const {
    std::vector<std::string> names;
    for (const Profile &profile : profiles_) {
        if (profile.name == name) return profile;
        names.push_back(profile.name);
    }
    throw Failure(Exit::usage, fmt::format("there is no device \"{}\"", name),
                  nearIt(name, std::move(names)) + " `mpu6 devices` lists all.");
}

ProfileStore loadProfiles(const std::vector<std::filesystem::path> &files) {
    ProfileStore store;
    store.add(sampleProfiles(), "built-in profiles");
    for (const auto &path : files)
        store.add(readWholeFile(path, "profile file", largestProfileFile), path.string());
    return store;
}

} // namespace kx3console
