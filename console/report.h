// What commands tell about their outcome, for people and for programs.
#pragma once

#include "commands.h"
#include "failure.h"
#include "outcome.h"
#include "profile.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

/// The operations of one command on a device.
struct RunReport {
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
    std::optional<Failure> failure;
    std::optional<kx3sim::Mismatches> differences; ///< that a verify has looked for
};

/// Result texts for standard output; errors are not among them.
[[nodiscard]] std::string resultText(const Command &command, const RunReport &report);
[[nodiscard]] std::string resultJson(const Command &command, const RunReport &report);

[[nodiscard]] std::string devicesText(const std::vector<Profile> &profiles);
[[nodiscard]] std::string devicesJson(const std::vector<Profile> &profiles);

/// Lines for standard error.
[[nodiscard]] std::string errorText(const Failure &failure);
[[nodiscard]] std::string failureJson(const Failure &failure);

/// The members that every JSON object begins with; `failure` may be null.
[[nodiscard]] nlohmann::ordered_json statusJson(const Failure *failure);
[[nodiscard]] nlohmann::ordered_json errorJson(const Failure &failure);
[[nodiscard]] std::string dump(const nlohmann::ordered_json &json);

/// To standard output; that it cannot be written is seen at the end.
void print(const std::string &text);

} // namespace kx3console
