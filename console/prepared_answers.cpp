#include "prepared_answers.h"

#include <kx3mpu6.h>

namespace kx3console {

namespace {

/// Styles of the message boxes that ask something.
constexpr std::int32_t okCancelQuestion = 33;
constexpr std::int32_t abortRetryIgnore = 50;

} // namespace

std::optional<std::int32_t> PreparedAnswers::to(std::int32_t style) {
    if (style == okCancelQuestion && settings_.goOn) return KX3_BUTTON_OK;
    if (style == abortRetryIgnore && settings_.onWrongId) return toWrongId(*settings_.onWrongId);
    return std::nullopt;
}

std::int32_t PreparedAnswers::toWrongId(WrongId wanted) {
    if (wanted == WrongId::ignore) return KX3_BUTTON_IGNORE;
    if (wanted == WrongId::abort || left_ == 0) return KX3_BUTTON_ABORT;
    --left_;
    return KX3_BUTTON_RETRY;
}

} // namespace kx3console
