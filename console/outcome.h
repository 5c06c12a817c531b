// How an operation ended: what was seen while it ran, and what that means.
#pragma once

#include "commands.h"
#include "failure.h"
#include "profile.h"
#include "protocol_names.h"

#include <cstdint>
#include <optional>
#include <simulator/session_host.h>
#include <string>

namespace kx3console {

// Result codes, prgresult(0).
inline constexpr std::uint8_t resultPassed = 0;
inline constexpr std::uint8_t resultFailed = 1;
inline constexpr std::uint8_t resultStopped = 2;
inline constexpr std::uint8_t resultUnknownOperation = 3;

/// What the host saw of an operation.
struct Evidence {
    std::string callFailure;    ///< of the plug-in's run call
    std::string sessionFailure; ///< error that the driver's session ended with
    std::string trouble;        ///< what session host and programmer objected to
    bool startRefused = false;
    bool deviceRefused = false;
    bool chipFileUsed = false; ///< and nothing else that makes a preparation fail
    bool hostDriven = false;   ///< the host carried the operation out itself, without an algorithm image
    bool algorithmLoaded = false;
    bool reportMissing = false;
    bool transferFailed = false;
    bool identityQuestion = false; ///< answered with Abort
    bool stopRequested = false;
    bool signalledPass = false;
    std::uint8_t resultCode = 0;
    std::optional<StatusReport> lastReport;
    std::optional<Operation> step; ///< that the host carried out last
    std::string stepName;
    kx3sim::Mismatches differences; ///< that a verify found
};

/// What an operation on a device came to: nothing when it passed. `algorithmProblem` says what is wrong
/// with the algorithm image, should it have been rejected.
[[nodiscard]] std::optional<Failure> judge(const Evidence &seen, Operation operation, const Profile &profile,
                                           const std::string &algorithmProblem);

} // namespace kx3console
