#include "question.h"

#include "stop_request.h"
#include "text.h"
#include "window.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <kx3mpu6.h>
#include <poll.h>
#include <span>
#include <unistd.h>

namespace kx3console {

namespace {

struct Answer {
    std::string_view name;
    std::int32_t button;
};

constexpr std::array okOrCancel{Answer{"OK", KX3_BUTTON_OK}, Answer{"Cancel", KX3_BUTTON_CANCEL}};
constexpr std::array identityAnswers{Answer{"Abort", KX3_BUTTON_ABORT}, Answer{"Retry", KX3_BUTTON_RETRY},
                                     Answer{"Ignore", KX3_BUTTON_IGNORE}};

/// What there is to choose from, and the answer that harms nothing. A box of another style only tells something.
struct Box {
    std::span<const Answer> answers;
    std::int32_t safe;
};

Box boxOf(std::int32_t style) {
    if (style == okCancelQuestion) return {okOrCancel, KX3_BUTTON_CANCEL};
    if (style == abortRetryIgnore) return {identityAnswers, KX3_BUTTON_ABORT};
    return {{}, KX3_BUTTON_OK};
}

/// Waits for input; false when a stop is asked for, also when its signal came just before the wait.
bool inputArrives() {
    constexpr int milliseconds = 50;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (!StopRequest::pending())
        if (::poll(&input, 1, milliseconds) > 0) return true;
    return false;
}

/// The answer whose name begins like that.
std::optional<std::int32_t> chosen(std::span<const Answer> answers, const std::string &typed) {
    for (const Answer &answer : answers)
        if (!typed.empty() && lowered(answer.name).starts_with(lowered(typed))) return answer.button;
    return std::nullopt;
}

} // namespace

bool onTerminal() { return ::isatty(STDIN_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0; }

std::string readLine() {
    std::string line;
    char c = 0;
    while (inputArrives() && ::read(STDIN_FILENO, &c, 1) == 1 && c != '\n')
        line.push_back(c);
    return line;
}

std::int32_t Questions::answer(const std::string &title, const std::string &prompt, std::int32_t style) {
    const std::optional<std::int32_t> given = prepared(style);
    if (window_ != nullptr && !given) return window_->ask(title, prompt, style);

    std::string lines = prompt;
    std::replace(lines.begin(), lines.end(), '\r', '\n');
    display_.error(title.empty() ? lines : fmt::format("{}: {}", title, lines));
    const auto [answers, safe] = boxOf(style);
    if (mayAsk_ && !given && !answers.empty()) {
        std::string choices;
        for (const Answer &answer : answers)
            choices += fmt::format("{}{}{}", choices.empty() ? "" : ", ", answer.name,
                                   answer.button == safe ? " (default)" : "");
        display_.error(choices + "?");
        if (const auto button = chosen(answers, readLine())) return *button;
    }
    const std::int32_t button = given.value_or(safe);
    for (const Answer &answer : answers)
        if (answer.button == button) display_.error(fmt::format("Answered: {}", answer.name));
    return button;
}

std::optional<std::int32_t> Questions::prepared(std::int32_t style) {
    if (style == okCancelQuestion && answers_.goOn) return KX3_BUTTON_OK;
    if (style != abortRetryIgnore) return std::nullopt;
    if (answers_.onWrongId == KX3_BUTTON_RETRY) {
        if (left_ == 0) return KX3_BUTTON_ABORT;
        --left_;
    }
    return answers_.onWrongId;
}

} // namespace kx3console
