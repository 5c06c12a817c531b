// How a session ended, for a host that asks for more than a result code.
#pragma once

#include "base/types.h"
#include "context/keys.h"

#include <string>
#include <string_view>

namespace kx3 {

enum class SessionOutcome : Byte {
    neverRan, ///< no session, or no operation in it
    passed,
    failed,  ///< the device or a comparison says no
    stopped, ///< by the user
    refused, ///< the session host did not let it start
    error,   ///< something went wrong on the way
};

/// The line of a log, and the explanation, of an algorithm file that is missing or refused.
inline constexpr std::u16string_view algorithmFileError = u"Read algo file error!";

/// Explanations of a session that was not let start.
inline constexpr std::u16string_view refusedStart = u"SessionHost refused the start";
inline constexpr std::u16string_view refusedDevice = u"SessionHost refused the device";

/// The thread's latest session. While one runs, its steps leave here what they find.
struct SessionReport {
    SessionOutcome outcome = SessionOutcome::neverRan;
    /// What explains the outcome, in one or more lines; empty for a pass.
    std::u16string explanation;
    /// Description of the error that ended an ARM session on its error path; empty when none did.
    std::u16string failure;
    /// A verify found differences, whatever the result code says.
    bool differs = false;

    /// End the session. What its steps have found explains it better than `why`.
    void end(SessionOutcome how, std::u16string_view why) {
        outcome = how;
        if (explanation.empty()) explanation = why;
    }
    /// End the session by its result code; `differs` counts where that says "passed".
    void endWithResult(ResultCode result);
    /// End the session by an error that was raised.
    void endWithError(std::u16string description) {
        outcome = SessionOutcome::error;
        explanation = std::move(description);
    }
};

} // namespace kx3
