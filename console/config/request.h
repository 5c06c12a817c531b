// What the user asked of the configuration commands.
#pragma once

#include "../file_format.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kx3console::config {

enum class Verb { list, show, get, set, defaults, edit, notes };

/// Whether the command writes.
constexpr bool isChange(Verb verb) { return verb == Verb::set || verb == Verb::defaults || verb == Verb::edit; }

/// A device without a profile: what an editor depends on.
struct PlainDevice {
    std::uint8_t mode = 0;
    std::int32_t size = 0; ///< in addresses
    std::int16_t pins = 0;
    std::uint8_t figvol = 0;
};

struct Request {
    Verb verb = Verb::list;
    std::string command; ///< "config show"

    std::string device; ///< name of a profile; empty for `plain`
    std::optional<PlainDevice> plain;
    std::vector<std::filesystem::path> profiles;

    std::filesystem::path input;
    std::filesystem::path output;
    std::optional<FileFormat> format;
    std::optional<std::uint64_t> base;
    std::filesystem::path chip;
    std::filesystem::path algorithmDirectory;

    std::vector<std::string> names; ///< of fields; FIELD=VALUE for set
    std::optional<std::uint8_t> note;

    std::int32_t language = 0;
    bool json = false;
    bool quiet = false;
    bool yes = false;
    bool acceptDanger = false;
    bool dryRun = false;
    bool window = false; ///< notes and questions in windows

    [[nodiscard]] bool changes() const { return isChange(verb); }
    [[nodiscard]] bool usesChip() const { return !chip.empty(); }
};

} // namespace kx3console::config
