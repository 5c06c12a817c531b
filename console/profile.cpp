#include "profile.h"

#include "failure.h"
#include "geometry.h"
#include "nearest.h"
#include "read_file.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
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

std::string_view kindName(ValueKind kind) {
    switch (kind) {
    case ValueKind::integer: return "an integer";
    case ValueKind::boolean: return "true or false";
    case ValueKind::text: return "a text in quotes";
    case ValueKind::bytes: break;
    }
    return "a list of integers in brackets";
}

const ProfileField *findField(std::string_view key) {
    const auto *row = std::find_if(profileTable.begin(), profileTable.end(),
                                   [key](const ProfileField &field) { return field.key == key; });
    return row == profileTable.end() ? nullptr : &*row;
}

std::string number(std::int64_t value) {
    return value < 10 ? fmt::format("{}", value) : fmt::format("{0} (0x{0:X})", value);
}

/// Reads one key's value and checks it against its row.
class FieldReader {
  public:
    FieldReader(const Source &source, const ProfileField &field, const toml::node &node)
        : source_(source), field_(field), node_(node) {}

    [[nodiscard]] FieldValue read() const {
        switch (field_.kind) {
        case ValueKind::integer: return integer(node_);
        case ValueKind::boolean: return require(node_.value_exact<bool>()) ? std::int64_t{-1} : std::int64_t{0};
        case ValueKind::text: return text();
        case ValueKind::bytes: break;
        }
        return bytes();
    }

  private:
    template <class Value> [[nodiscard]] Value require(std::optional<Value> value) const {
        if (value) return *std::move(value);
        source_.fail(node_.source(), fmt::format("{} must be {}", field_.key, kindName(field_.kind)), meaning());
    }

    [[nodiscard]] std::int64_t integer(const toml::node &node) const {
        const std::int64_t value = require(node.value_exact<std::int64_t>());
        if (value < field_.low || value > field_.high)
            source_.fail(node.source(),
                         fmt::format("{} = {} is out of range; it may be {} to {}", field_.key, value,
                                     number(field_.low), number(field_.high)),
                         meaning());
        return value;
    }

    [[nodiscard]] std::string text() const {
        std::string value = require(node_.value_exact<std::string>());
        const auto length = static_cast<std::int64_t>(value.size());
        if (length < field_.low || length > field_.high)
            source_.fail(
                node_.source(),
                fmt::format("{} has {} characters; it may have {} to {}", field_.key, length, field_.low, field_.high),
                meaning());
        return value;
    }

    [[nodiscard]] std::vector<std::uint8_t> bytes() const {
        const toml::array *list = node_.as_array();
        if (list == nullptr) static_cast<void>(require(std::optional<int>()));
        if (list->size() > field_.most)
            source_.fail(node_.source(),
                         fmt::format("{} has {} entries; it may have {}", field_.key, list->size(), field_.most),
                         meaning());
        std::vector<std::uint8_t> values;
        for (const toml::node &entry : *list)
            values.push_back(static_cast<std::uint8_t>(integer(entry)));
        return values;
    }

    [[nodiscard]] std::string meaning() const { return fmt::format("{}: {}.", field_.key, field_.meaning); }

    const Source &source_;
    const ProfileField &field_;
    const toml::node &node_;
};

FieldValue standardValue(const ProfileField &field) {
    switch (field.kind) {
    case ValueKind::text: return std::string();
    case ValueKind::bytes: return std::vector<std::uint8_t>();
    case ValueKind::integer:
    case ValueKind::boolean: break;
    }
    return field.standard;
}

void refuseUnknownKeys(const Source &source, const toml::table &table) {
    for (const auto &[key, node] : table) {
        if (findField(key.str()) != nullptr) continue;
        std::vector<std::string> keys;
        keys.reserve(profileTable.size());
        for (const ProfileField &field : profileTable)
            keys.emplace_back(field.key);
        source.fail(key.source(), fmt::format("unknown entry \"{}\"", key.str()),
                    fmt::format("Near it are: {}.", fmt::join(nearestNames(key.str(), std::move(keys)), ", ")));
    }
}

/// What is wrong with the values together, each of which is right in itself.
std::optional<GeometryProblem> problemOfWhole(const Profile &profile) {
    if (profile.integer(Field::firmware_version) + profile.integer(Field::signature) > 255)
        return GeometryProblem{"firmware_version and signature add up to more than 255",
                               "Their sum is one byte of the signature packet."};
    for (const Field field : {Field::algorithm_clock, Field::algorithm_folder, Field::algorithm_file}) {
        const std::string &name = profile.text(field);
        if (name.find_first_of(R"(/\)") != std::string::npos || name.find("..") != std::string::npos)
            return GeometryProblem{fmt::format("algorithm name \"{}\" leads out of the algorithm folder", name),
                                   R"(Give a plain name without "/", "\" and "..".)"};
    }
    if (profile.integer(Field::eeprom_size) > 0 && !profile.isHostDriven())
        return GeometryProblem{"the drivers of ARM devices know no EEPROM",
                               "Leave eeprom_size out, or choose the model type of a device that the host drives."};
    return geometryProblem({profile.integer(Field::model_type), profile.integer(Field::selection),
                            profile.integer(Field::size), profile.integer(Field::bytes_per_address),
                            profile.integer(Field::block_size)});
}

void requireEntries(const Source &source, const toml::key &name, const toml::table &table, Required required) {
    for (const ProfileField &field : profileTable)
        if (field.required == required && table.get(field.key) == nullptr)
            source.fail(name.source(), fmt::format("device {} has no entry \"{}\"", name.str(), field.key),
                        fmt::format("Add {} = ...: {}.", field.key, field.meaning));
}

Profile readProfile(const Source &source, const toml::key &name, const toml::table &table) {
    refuseUnknownKeys(source, table);
    requireEntries(source, name, table, Required::always);
    Profile profile;
    profile.name = name.str();
    profile.place = source.at(name.source());
    for (const ProfileField &field : profileTable) {
        const toml::node *node = table.get(field.key);
        profile.values[static_cast<std::size_t>(field.field)] =
            node == nullptr ? standardValue(field) : FieldReader(source, field, *node).read();
    }
    if (!profile.isHostDriven()) requireEntries(source, name, table, Required::withArmDriver);
    if (const auto problem = problemOfWhole(profile))
        throw Failure(Exit::badFile, fmt::format("{}: device {}: {}", profile.place, profile.name, problem->message),
                      problem->advice);
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

bool Profile::isHostDriven() const { return driverName(integer(Field::model_type), integer(Field::selection)).empty(); }

void ProfileStore::add(std::string_view text, const std::string &file) {
    const Source source{file};
    const toml::table document = parse(text, file);
    for (const auto &[key, node] : document)
        if (key.str() != devicesTable || !node.is_table())
            source.fail(key.source(), fmt::format("\"{}\" does not belong here", key.str()),
                        "A profile begins with a heading [devices.NAME].");
    const toml::table *devices = document[devicesTable].as_table();
    if (devices == nullptr)
        throw Failure(Exit::badFile, file + ": there is no device in this profile file",
                      "A profile begins with a heading [devices.NAME].");
    std::vector<Profile> added;
    for (const auto &[name, node] : *devices) {
        const toml::table *table = node.as_table();
        if (table == nullptr)
            source.fail(name.source(), fmt::format("devices.{} is no profile", name.str()),
                        "A profile begins with a heading [devices.NAME].");
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

void ProfileStore::addFile(const std::filesystem::path &path) {
    add(readWholeFile(path, "profile file", largestProfileFile), path.string());
}

const Profile &ProfileStore::find(std::string_view name) const {
    for (const Profile &profile : profiles_)
        if (profile.name == name) return profile;
    std::vector<std::string> names;
    for (const Profile &profile : profiles_)
        names.push_back(profile.name);
    throw Failure(Exit::usage, fmt::format("there is no device \"{}\"", name),
                  fmt::format("Near it are: {}. `mpu6 devices` lists all.",
                              fmt::join(nearestNames(name, std::move(names)), ", ")));
}

} // namespace kx3console
