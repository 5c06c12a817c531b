// How `mpu6` ends: its exit codes, and the one exception of the console.
#pragma once

#include <array>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace kx3console {

/// Exit status of the process, which scripts rely on.
enum class Exit : int {
    done = 0,
    failed = 1,
    usage = 2,
    differs = 3,
    noAnswer = 4,
    badFile = 5,
    refused = 6,
    noDisplay = 7,
    stopped = 130,
};

struct ExitRow {
    Exit code;
    std::string_view name; ///< as in the machine output
    std::string_view meaning;
};

inline constexpr std::array exitTable{
    ExitRow{Exit::done, "done", "the operation passed"},
    ExitRow{Exit::failed, "failed", "the operation failed"},
    ExitRow{Exit::usage, "usage", "the command line is wrong, or names an unknown device"},
    ExitRow{Exit::differs, "differs", "contents differ from the load file, or the device is not blank"},
    ExitRow{Exit::noAnswer, "no-answer", "programmer or device does not answer, is in use, or is another one"},
    ExitRow{Exit::badFile, "bad-file", "a load file, profile, algorithm image or chip file is no good"},
    ExitRow{Exit::refused, "refused", "refused because data could be lost or left out"},
    ExitRow{Exit::noDisplay, "no-display", "a window was asked for, and there is no display or no library to draw it"},
    ExitRow{Exit::stopped, "stopped", "stopped by Ctrl-C or a termination signal"},
};

[[nodiscard]] constexpr std::string_view exitName(Exit code) {
    for (const ExitRow &row : exitTable)
        if (row.code == code) return row.name;
    return "failed";
}

/// What went wrong, where, and what to do about it. Thrown when a command cannot go on, and kept in
/// reports of how it ended.
class Failure : public std::exception {
  public:
    /// `message` says what and where in one sentence without a full stop; `advice` what to do, may
    /// be empty.
    Failure(Exit code, std::string message, std::string advice = {})
        : code_(code), message_(std::move(message)), advice_(std::move(advice)) {}

    [[nodiscard]] Exit code() const noexcept { return code_; }
    [[nodiscard]] const std::string &message() const noexcept { return message_; }
    [[nodiscard]] const std::string &advice() const noexcept { return advice_; }
    [[nodiscard]] const char *what() const noexcept override { return message_.c_str(); }

  private:
    Exit code_;
    std::string message_;
    std::string advice_;
};

} // namespace kx3console
