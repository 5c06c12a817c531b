// What the user asked for.
#pragma once

#include "commands.h"
#include "config/request.h"
#include "configuration.h"
#include "file_format.h"
#include "prepared_answers.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

enum class ProgressMode { automatic, always, never };

struct Options {
    const Command *command = nullptr;
    /// A configuration command, instead of everything else.
    std::optional<config::Request> config;

    std::string device;
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

    std::int32_t language = 0;
    std::optional<std::int16_t> instance;
    ProgressMode progress = ProgressMode::automatic;
    bool json = false;
    std::filesystem::path trace;
    bool neverAsk = false;
    bool window = false; ///< notes and questions in windows
    AnswerSettings answers;
    bool quiet = false;
    bool verbose = false;
};

/// How reading the command line ended when there is nothing to run.
struct HelpShown {
    std::string text;
};

/// Read the command line. Fails with Exit::usage; help and version requests throw HelpShown.
[[nodiscard]] Options parseOptions(int argc, const char *const *argv);

/// Values of --format, --language and --base. They fail with Exit::usage.
[[nodiscard]] FileFormat requireFormat(const std::string &name);
[[nodiscard]] std::int32_t requireLanguage(const std::string &name);
[[nodiscard]] std::uint64_t requireAddress(const std::string &text);

/// Whether errors of the command line itself are to be machine output.
[[nodiscard]] bool wantsJson(int argc, const char *const *argv);

} // namespace kx3console
