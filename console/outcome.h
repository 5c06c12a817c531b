// How an operation ended: what was seen while it ran, and what that means.
#pragma once

#include "commands.h"
#include "exit_codes.h"
#include "protocol_names.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kx3console {

/// Bytes that a verify found to differ.
struct Differences {
    std::uint64_t bytes = 0;
    std::int64_t firstAddress = 0; ///< in the device buffer
    std::uint8_t firstDevice = 0;
    std::uint8_t firstFile = 0;
    std::uint64_t zeroInsteadOfOne = 0; ///< bits
    std::uint64_t oneInsteadOfZero = 0;
};

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
    Differences differences;
};

struct Outcome {
    Exit code = Exit::done;
    std::string message; ///< empty when done
    std::string advice;
};

/// Values that messages need.
struct OutcomeContext {
    Operation operation;
    std::int64_t bytesPerAddress;
    std::uint64_t loadBase;
    std::int64_t dataBytes;          ///< configuration bytes lie behind them in the device buffer,
    std::int64_t configurationBytes; ///< the EEPROM behind these
    std::int64_t family;
    std::string algorithmProblem; ///< what is wrong with the image, should it have been rejected
};

[[nodiscard]] Outcome judge(const Evidence &seen, const OutcomeContext &context);

} // namespace kx3console
