#include "question.h"

#include "stop_request.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fmt/format.h>
#include <kx3mpu6.h>
#include <poll.h>
#include <span>
#include <string>
#include <unistd.h>

namespace kx3console {

namespace {

struct Answer {
    std::string_view name;
    std::int32_t button;
};

constexpr std::array acknowledge{Answer{"OK", KX3_BUTTON_OK}};
constexpr std::array okOrCancel{Answer{"OK", KX3_BUTTON_OK}, Answer{"Cancel", KX3_BUTTON_CANCEL}};
constexpr std::array abortRetryIgnore{Answer{"Abort", KX3_BUTTON_ABORT}, Answer{"Retry", KX3_BUTTON_RETRY},
                                      Answer{"Ignore", KX3_BUTTON_IGNORE}};

/// Waits for input; false when a stop is asked for, also when its signal came just before the wait.
bool inputArrives() {
    constexpr int milliseconds = 50;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (!StopRequest::pending())
        if (::poll(&input, 1, milliseconds) > 0) return true;
    return false;
}

/// One line from standard input without stdio's buffer; empty at its end or when a stop is asked for.
std::string readAnswer() {
    std::string line;
    char c = 0;
    while (inputArrives() && ::read(STDIN_FILENO, &c, 1) == 1 && c != '\n')
        line.push_back(c);
    return line;
}

bool meant(std::string_view typed, std::string_view name) {
    return !typed.empty() && typed.size() <= name.size() &&
           std::equal(typed.begin(), typed.end(), name.begin(), [](char left, char right) {
               return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
           });
}

} // namespace

struct Question::Style {
    std::int32_t style;
    std::span<const Answer> answers;
    std::int32_t safe;

    static const Style &of(std::int32_t style) {
        static constexpr std::array styles{
            Style{0, acknowledge, KX3_BUTTON_OK},
            Style{64, acknowledge, KX3_BUTTON_OK},
            Style{33, okOrCancel, KX3_BUTTON_CANCEL},
            Style{50, abortRetryIgnore, KX3_BUTTON_ABORT},
        };
        const auto *row =
            std::find_if(styles.begin(), styles.end(), [style](const Style &each) { return each.style == style; });
        return row == styles.end() ? styles.front() : *row;
    }
};

Question::Question(std::string_view title, std::string_view prompt, std::int32_t style)
    : title_(title), prompt_(prompt), style_(Style::of(style)) {}

bool Question::hasChoice() const { return style_.answers.size() > 1; }

std::int32_t Question::ask(Display &display, bool mayAsk, std::optional<std::int32_t> prepared) const {
    std::string lines(prompt_);
    std::replace(lines.begin(), lines.end(), '\r', '\n');
    display.error(title_.empty() ? lines : fmt::format("{}: {}", title_, lines));
    if (!hasChoice()) return style_.safe;

    std::string choices;
    for (const Answer &answer : style_.answers) {
        const bool safe = answer.button == style_.safe;
        choices += fmt::format("{}{}{}", choices.empty() ? "" : ", ", answer.name, safe ? " (default)" : "");
    }
    const auto chosen = [this](std::string_view typed) {
        return std::find_if(style_.answers.begin(), style_.answers.end(),
                            [typed](const Answer &answer) { return meant(typed, answer.name); });
    };
    if (mayAsk && !prepared) {
        display.error(choices + "?");
        if (const auto answer = chosen(readAnswer()); answer != style_.answers.end()) return answer->button;
    }
    const std::int32_t button = prepared.value_or(style_.safe);
    const auto given = std::find_if(style_.answers.begin(), style_.answers.end(),
                                    [button](const Answer &answer) { return answer.button == button; });
    if (given != style_.answers.end()) display.error(fmt::format("Answered: {}", given->name));
    return button;
}

} // namespace kx3console
