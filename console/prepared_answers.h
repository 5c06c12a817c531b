// Answers to the plug-in's questions that the command line gives beforehand.
#pragma once

#include <cstdint>
#include <optional>

namespace kx3console {

/// What to do about a chip whose identifier is not that of the device.
enum class WrongId : std::uint8_t { abort, retry, ignore };

struct AnswerSettings {
    bool goOn = false;                     ///< "Go on?" is answered with OK
    std::optional<WrongId> onWrongId = {}; ///< asked when missing
    std::uint32_t retries = 3;             ///< before a chip that stays wrong is given up
};

/// The prepared answers of one run.
class PreparedAnswers {
  public:
    explicit PreparedAnswers(const AnswerSettings &settings) : settings_(settings), left_(settings.retries) {}

    /// A run begins.
    void restart() { left_ = settings_.retries; }
    /// The button, KX3_BUTTON_..., that answers a message box of this style; nothing when a person or
    /// the safe answer must decide.
    [[nodiscard]] std::optional<std::int32_t> to(std::int32_t style);

  private:
    [[nodiscard]] std::int32_t toWrongId(WrongId wanted);

    AnswerSettings settings_;
    std::uint32_t left_;
};

} // namespace kx3console
