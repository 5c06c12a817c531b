// What the user asked for.
#pragma once

#include "commands.h"
#include "configuration.h"
#include "display.h"
#include "file_format.h"
#include "question.h"

#include <cstdint>
#include <filesystem>
#include <kx3mpu6.h>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

struct Options {
    const Command *command = nullptr;

    std::string device;              ///< name of a profile
    std::optional<kx3_device> plain; ///< a device without a profile: what an editor depends on
    std::vector<std::filesystem::path> profiles;

    std::filesystem::path input;
    std::filesystem::path output;
    std::optional<FileFormat> format;
    std::optional<std::uint64_t> base; ///< load address of a raw file's first byte
    bool skipOutside = false;
    bool verify = false;
    std::filesystem::path eeprom; ///< read from or written to, like input and output
    ConfigurationTexts configuration;

    std::filesystem::path chip;
    std::filesystem::path algorithmDirectory;
    std::string faults;
    std::uint64_t seed = 0;

    std::vector<std::string> names; ///< of configuration fields; FIELD=VALUE for `config set`
    std::optional<int> note;

    std::int32_t language = 0;
    std::optional<std::int16_t> instance;
    bool json = false;
    std::filesystem::path trace;
    Display::Settings display;
    bool yes = false; ///< never ask
    bool acceptDanger = false;
    bool dryRun = false;
    bool window = false; ///< notes and questions in windows
    PreparedAnswers answers;
};

/// How reading the command line ended when there is nothing to run.
struct HelpShown {
    std::string text;
};

/// Read the command line. Fails with Exit::usage; help and version requests throw HelpShown.
[[nodiscard]] Options parseOptions(int argc, const char *const *argv);

/// Whether errors of the command line itself are to be machine output.
[[nodiscard]] bool wantsJson(int argc, const char *const *argv);

} // namespace kx3console
