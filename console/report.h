// What a command tells about its outcome, for people and for programs.
#pragma once

#include "failure.h"
#include "options.h"
#include "outcome.h"
#include "profile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

/// One operation on a device.
struct OperationReport {
    std::string device;
    std::vector<std::string> log;
    std::string input;
    std::string output;
    std::string format;                      ///< of input or output
    std::uint64_t bytes = 0;                 ///< of the load file in the device, or of the device
    std::string outside;                     ///< load file addresses left out
    std::vector<std::uint8_t> configuration; ///< bytes that a read brought, or that went into the device
    std::string eeprom;                      ///< file of the EEPROM
    bool verified = false;
    Outcome outcome;
    std::optional<Differences> differences;
};

/// Result texts for standard output; errors are not among them.
[[nodiscard]] std::string resultText(const Command &command, const OperationReport &report);
[[nodiscard]] std::string resultJson(const Command &command, const OperationReport &report);

[[nodiscard]] std::string devicesText(const std::vector<Profile> &profiles);
[[nodiscard]] std::string devicesJson(const std::vector<Profile> &profiles);

/// A failure without an operation.
[[nodiscard]] std::string failureJson(const Failure &failure);
/// Lines for standard error.
[[nodiscard]] std::string errorText(std::string_view message, std::string_view advice);

} // namespace kx3console
