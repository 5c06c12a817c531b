#include "consent.h"

#include "question.h"
#include "text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <vector>

namespace kx3console {

namespace {

constexpr std::string_view dangerWord = "lock me out";

/// One line from the terminal, in lower case.
std::string answerTo(const std::string &question) {
    fmt::print(stderr, "{} ", question);
    return normalName(readLine());
}

/// The changes that can lock the user out; empty when none can.
std::string dangersOf(const Changes &changes) {
    std::vector<std::string> names;
    for (const FieldChange &change : changes.fields)
        if (change.locksOut)
            names.push_back(
                fmt::format("{} = {} ({})", change.field->fullName(), change.after, change.field->hazardName()));
    if (names.empty()) return {};
    return fmt::format("this can lock you out of the device: {}", fmt::join(names, ", "));
}

std::string boxText(const ConfigReport &report) {
    std::string text = fmt::format("Write this to {}?\r", report.target);
    for (const FieldChange &change : report.changes->fields)
        text += fmt::format("\r{}: {} -> {}", change.field->fullName(), change.before, change.after);
    return text;
}

} // namespace

std::optional<Failure> refusal(const Options &options, const ConfigReport &report, const Window *window) {
    const Failure notConfirmed(Exit::refused, "not confirmed", "Nothing was written.");
    const bool canAsk = !options.yes && onTerminal();
    const std::string dangers = options.acceptDanger ? "" : dangersOf(*report.changes);
    bool confirmed = options.yes;
    if (!dangers.empty()) {
        if (!canAsk)
            return Failure(Exit::refused, dangers, "If you mean it, add --accept-danger. Nothing was written.");
        fmt::print(stderr, "Careful: {}\n", dangers);
        confirmed = answerTo(fmt::format("Type \"{}\" to go on:", dangerWord)) == dangerWord;
    } else if (canAsk) {
        confirmed = hasWord("y yes", answerTo(fmt::format("Write this to {}? [y/N]", report.target)));
    } else if (!confirmed && window == nullptr) {
        return Failure(Exit::refused, fmt::format("nobody can be asked whether {} may be changed", report.target),
                       "Add --yes to write without a question. Nothing was written.");
    } else if (!confirmed) {
        confirmed = window->ask("mpu6", boxText(report), okCancelQuestion) == KX3_BUTTON_OK;
    }
    return confirmed ? std::nullopt : std::optional(notConfirmed);
}

} // namespace kx3console
