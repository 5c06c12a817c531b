#include "consent.h"

#include "field_names.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>
#include <vector>

namespace kx3console::config {

namespace {

constexpr std::string_view dangerWord = "lock me out";
constexpr std::int32_t okOrCancel = 33; // style of a box

/// One line from the terminal, in lower case.
std::string answerTo(const std::string &question) {
    fmt::print(stderr, "{} ", question);
    std::string line;
    char c = 0;
    while (::read(STDIN_FILENO, &c, 1) == 1 && c != '\n')
        line.push_back(c);
    return normalName(line);
}

std::string dangersText(const std::vector<const FieldChange *> &dangers) {
    std::vector<std::string> names;
    names.reserve(dangers.size());
    for (const FieldChange *change : dangers)
        names.push_back(
            fmt::format("{} = {} ({})", change->field->fullName(), change->after, hazardName(change->field->hazard)));
    return fmt::format("this can lock you out of the device: {}", fmt::join(names, ", "));
}

std::string boxText(const Changes &changes, const std::string &target) {
    std::string text = fmt::format("Write this to {}?\r", target);
    for (const FieldChange &change : changes.fields)
        text += fmt::format("\r{}: {} -> {}", change.field->fullName(), change.before, change.after);
    return text;
}

} // namespace

bool mayAsk(const Request &request) {
    return !request.yes && ::isatty(STDIN_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0;
}

Outcome askConsent(const Request &request, const Changes &changes, const std::string &target, const Window *window) {
    const bool canAsk = mayAsk(request);
    const auto dangers = changes.dangers();
    if (!dangers.empty() && !request.acceptDanger) {
        const std::string text = dangersText(dangers);
        if (!canAsk) return {Exit::refused, text, "If you mean it, add --accept-danger. Nothing was written."};
        fmt::print(stderr, "Careful: {}\n", text);
        if (answerTo(fmt::format("Type \"{}\" to go on:", dangerWord)) != dangerWord)
            return {Exit::refused, "not confirmed", "Nothing was written."};
        return {};
    }
    if (request.yes) return {};
    if (!canAsk && window != nullptr) {
        const std::int32_t button = window->ask("mpu6", boxText(changes, target), okOrCancel);
        if (button == KX3_BUTTON_OK) return {};
        return {Exit::refused, "not confirmed", "Nothing was written."};
    }
    if (!canAsk)
        return {Exit::refused, fmt::format("nobody can be asked whether {} may be changed", target),
                "Add --yes to write without a question. Nothing was written."};
    const std::string answer = answerTo(fmt::format("Write this to {}? [y/N]", target));
    if (answer == "y" || answer == "yes") return {};
    return {Exit::refused, "not confirmed", "Nothing was written."};
}

} // namespace kx3console::config
