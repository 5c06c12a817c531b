// The plug-in's questions, answered by the command line, in a window, or on a terminal.
#pragma once

#include "display.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kx3console {

class Window;

/// Styles of the message boxes that ask something, as in kx3_ui.
inline constexpr std::int32_t okCancelQuestion = 33;
inline constexpr std::int32_t abortRetryIgnore = 50;

/// Answers that the command line gives beforehand.
struct PreparedAnswers {
    bool goOn = false;                          ///< "Go on?" is answered with OK
    std::optional<std::int32_t> onWrongId = {}; ///< KX3_BUTTON_... for a chip that is another one; asked when missing
    std::uint32_t retries = 3;                  ///< before a chip that stays wrong is given up
};

/// Where the message boxes of one run of the plug-in go.
class Questions {
  public:
    /// `mayAsk`: a person sits at the terminal. `window` may be null.
    Questions(const PreparedAnswers &answers, bool mayAsk, const Window *window, Display &display)
        : answers_(answers), mayAsk_(mayAsk), window_(window), display_(display), left_(answers.retries) {}

    /// Show a box and give a button, KX3_BUTTON_...: the prepared answer; without one the answer from
    /// the window or the terminal; otherwise, and when there is none, the one that harms nothing.
    [[nodiscard]] std::int32_t answer(const std::string &title, const std::string &prompt, std::int32_t style);
    /// A run begins.
    void restart() { left_ = answers_.retries; }

  private:
    [[nodiscard]] std::optional<std::int32_t> prepared(std::int32_t style);

    PreparedAnswers answers_;
    bool mayAsk_;
    const Window *window_;
    Display &display_;
    std::uint32_t left_; ///< retries
};

/// Whether a person sits at a terminal.
[[nodiscard]] bool onTerminal();
/// One line from standard input without stdio's buffer; empty at its end or when a stop is asked for.
[[nodiscard]] std::string readLine();

} // namespace kx3console
