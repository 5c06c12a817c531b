#include "display.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kx3console {

namespace {

using namespace std::chrono_literals;

constexpr auto redrawInterval = 50ms;
/// In a pipe: steps of a line each when progress is asked for, and a sign of life when it is not.
constexpr int lineStep = 10;
constexpr auto lineInterval = 2s;
constexpr int barWidth = 30;
constexpr std::string_view eraseLine = "\r\x1B[K";

} // namespace

Display::Display(std::FILE *stream, const Settings &settings)
    : stream_(stream), settings_(settings), shownAt_(Clock::now()) {
    if (settings_.quiet && settings_.progress == ProgressMode::automatic) settings_.progress = ProgressMode::never;
}

void Display::detail(std::string_view line) {
    if (settings_.verbose) write(line);
}

void Display::message(std::string_view line) {
    if (!settings_.quiet) write(line);
}

void Display::error(std::string_view line) { write(line); }

void Display::write(std::string_view line) {
    const bool redraw = barShown_;
    std::string text(barEraser());
    text.append(line).append("\n");
    if (redraw) text += bar();
    put(text);
}

void Display::progress(std::string_view caption, int percent) {
    if (settings_.progress == ProgressMode::never) return;
    percent = std::clamp(percent, 0, 100);
    if (percent == percent_ && percent == shownPercent_) return;
    percent_ = percent;
    if (caption_ != caption) {
        caption_ = caption;
        shownPercent_ = settings_.terminal ? -1 : 0;
    }
    if (!settings_.terminal) return progressLine();
    if (barShown_ && percent < 100 && Clock::now() - shownAt_ < redrawInterval) return;
    put(bar());
}

/// There is nowhere to tell that standard error cannot be written.
void Display::put(std::string_view text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stream_));
    static_cast<void>(std::fflush(stream_));
}

void Display::progressLine() {
    if (percent_ + lineStep <= shownPercent_) shownPercent_ = percent_; // a new stage
    if (percent_ <= shownPercent_) return;
    const bool due = settings_.progress == ProgressMode::always ? percent_ / lineStep > shownPercent_ / lineStep
                                                                : Clock::now() - shownAt_ >= lineInterval;
    if (!due) return;
    shownPercent_ = percent_;
    shownAt_ = Clock::now();
    write(fmt::format("{} {} %", caption_, percent_));
}

std::string Display::bar() {
    shownPercent_ = percent_;
    shownAt_ = Clock::now();
    barShown_ = true;
    const int filled = percent_ * barWidth / 100;
    return fmt::format("{}{} [{:#<{}}{:.<{}}] {:>3} %", eraseLine, caption_, "", filled, "", barWidth - filled,
                       percent_);
}

std::string_view Display::barEraser() { return std::exchange(barShown_, false) ? eraseLine : std::string_view(); }

void Display::endProgress() {
    put(barEraser());
    caption_.clear();
    percent_ = -1;
    shownPercent_ = -1;
}

} // namespace kx3console
