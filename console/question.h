// Message boxes of the plug-in, answered on a terminal.
#pragma once

#include "display.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kx3console {

/// Answers that a message box offers, and the one that harms nothing.
class Question {
  public:
    /// `style` as in kx3_ui: 0 or 64 OK, 33 OK and Cancel, 50 Abort, Retry and Ignore.
    Question(std::string_view title, std::string_view prompt, std::int32_t style);

    /// Whether there is something to decide.
    [[nodiscard]] bool hasChoice() const;
    /// Show the box and give a button, KX3_BUTTON_...: the prepared answer; without one, with `mayAsk`,
    /// the answer from standard input; otherwise, and when there is none, the safe one.
    [[nodiscard]] std::int32_t ask(Display &display, bool mayAsk, std::optional<std::int32_t> prepared = {}) const;

  private:
    struct Style;

    std::string_view title_;
    std::string_view prompt_;
    const Style &style_;
};

} // namespace kx3console
