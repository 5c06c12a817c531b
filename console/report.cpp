#include "report.h"

#include "geometry.h"
#include "text.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace kx3console {

using Json = nlohmann::ordered_json;

namespace {

Json differencesJson(const kx3sim::Mismatches &found) {
    if (found.bytes == 0) return {{"bytes", 0}};
    return {{"bytes", found.bytes},
            {"first_address", found.firstAddress},
            {"device", found.firstDevice},
            {"file", found.firstBuffer},
            {"bits_0_instead_of_1", found.zeroInsteadOfOne},
            {"bits_1_instead_of_0", found.oneInsteadOfZero}};
}

std::string driverName(const Profile &profile) {
    const auto driver = driverOf(profile);
    return driver ? driver->module : "session window";
}

} // namespace

void print(const std::string &text) { static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout)); }

std::string dump(const Json &json) {
    constexpr int indent = 2;
    // Texts may come from file names, which need not be UTF-8.
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json errorJson(const Failure &failure) {
    Json error{{"message", failure.message()}};
    if (!failure.advice().empty()) error["advice"] = failure.advice();
    return error;
}

Json statusJson(const Failure *failure) {
    const Exit code = failure == nullptr ? Exit::done : failure->code();
    return {{"ok", code == Exit::done}, {"exit_code", static_cast<int>(code)}, {"result", exitName(code)}};
}

std::string failureJson(const Failure &failure) {
    Json json = statusJson(&failure);
    json["error"] = errorJson(failure);
    return dump(json);
}

std::string errorText(const Failure &failure) {
    const char *const separator = failure.advice().empty() ? "" : "\n      ";
    return fmt::format("mpu6: {}{}{}", failure.message(), separator, failure.advice());
}

std::string resultText(const Command &command, const RunReport &report) {
    std::string text =
        fmt::format(fmt::runtime(command.passed), fmt::arg("device", report.device), fmt::arg("bytes", report.bytes),
                    fmt::arg("input", report.input), fmt::arg("output", report.output),
                    fmt::arg("format", report.format), fmt::arg("verified", report.verified ? " and verified" : ""));
    if (!report.configuration.empty())
        text += fmt::format("\nConfiguration bytes: {:02X}", fmt::join(report.configuration, " "));
    if (!report.eeprom.empty()) text += fmt::format("\nEEPROM: {}", report.eeprom);
    if (!report.outside.empty()) text += fmt::format("\nLeft out, outside the device: {}", report.outside);
    return text + "\n";
}

std::string resultJson(const Command &command, const RunReport &report) {
    Json json = statusJson(report.failure ? &*report.failure : nullptr);
    const auto add = [&json](const char *key, const auto &value) {
        if (!value.empty()) json[key] = value;
    };
    json["command"] = command.name;
    json["device"] = report.device;
    add("input", report.input);
    add("output", report.output);
    add("format", report.format);
    if (report.bytes != 0) json["bytes"] = report.bytes;
    add("outside", report.outside);
    add("configuration", report.configuration);
    add("eeprom", report.eeprom);
    if (report.differences) json["differences"] = differencesJson(*report.differences);
    json["log"] = report.log;
    if (report.failure) json["error"] = errorJson(*report.failure);
    return dump(json);
}

std::string devicesText(const std::vector<Profile> &profiles) {
    std::size_t width = 0;
    for (const Profile &profile : profiles)
        width = std::max(width, profile.name.size());
    std::string text;
    for (const Profile &profile : profiles)
        text += fmt::format("{:<{}}  {:<14}  {:>9} bytes  {}\n", profile.name, width, driverName(profile),
                            profile.dataBytes(), profile.text(ProfileKey::description));
    return text;
}

std::string devicesJson(const std::vector<Profile> &profiles) {
    Json list = Json::array();
    for (const Profile &profile : profiles)
        list.push_back({{"name", profile.name},
                        {"driver", driverName(profile)},
                        {"model_type", profile.integer(ProfileKey::model_type)},
                        {"size", profile.integer(ProfileKey::size)},
                        {"bytes_per_address", profile.integer(ProfileKey::bytes_per_address)},
                        {"bytes", profile.dataBytes()},
                        {"maker", profile.text(ProfileKey::maker)},
                        {"description", profile.text(ProfileKey::description)},
                        {"profile", profile.place}});
    Json json = statusJson(nullptr);
    json["command"] = "devices";
    json["devices"] = std::move(list);
    return dump(json);
}

} // namespace kx3console
