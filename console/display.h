// Standard error as people see it: messages, the log, and the progress of an operation.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

namespace kx3console {

enum class ProgressMode { automatic, always, never };

/// On a terminal progress is one line that is drawn anew, with messages above it. In a pipe it is
/// whole lines.
class Display {
  public:
    struct Settings {
        ProgressMode progress = ProgressMode::automatic;
        bool quiet = false; ///< errors only
        bool verbose = false;
        bool terminal = false; ///< the stream is one
    };

    Display(std::FILE *stream, const Settings &settings);

    /// A line that says what is done in detail.
    void detail(std::string_view line);
    /// A line of the log or a warning.
    void message(std::string_view line);
    /// A line that is shown in any case.
    void error(std::string_view line);

    /// Progress of the operation `caption`, 0 to 100. To be called as often as one likes.
    void progress(std::string_view caption, int percent);
    /// Take the progress line away.
    void endProgress();

  private:
    using Clock = std::chrono::steady_clock;

    void write(std::string_view line);
    void put(std::string_view text);
    /// The progress line as it is to be drawn; it counts as shown from now on.
    [[nodiscard]] std::string bar();
    /// What takes the progress line away, if there is one.
    [[nodiscard]] std::string_view barEraser();
    void progressLine();

    std::FILE *stream_;
    Settings settings_;
    std::string caption_;
    int percent_ = -1;
    int shownPercent_ = -1;
    bool barShown_ = false;
    Clock::time_point shownAt_;
};

} // namespace kx3console
