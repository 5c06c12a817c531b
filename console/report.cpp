#include "report.h"

#include "geometry.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace kx3console {

using Json = nlohmann::ordered_json;

namespace {

constexpr int indent = 2;

std::string dump(const Json &json) {
    // Texts may come from file names, which need not be UTF-8.
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json errorJson(std::string_view message, std::string_view advice) {
    Json error{{"message", message}};
    if (!advice.empty()) error["advice"] = advice;
    return error;
}

Json statusJson(Exit code) {
    return Json{{"ok", code == Exit::done}, {"exit_code", static_cast<int>(code)}, {"result", exitName(code)}};
}

Json differencesJson(const Differences &found) {
    Json json{{"bytes", found.bytes}};
    if (found.bytes == 0) return json;
    json["first_address"] = found.firstAddress;
    json["device"] = found.firstDevice;
    json["file"] = found.firstFile;
    json["bits_0_instead_of_1"] = found.zeroInsteadOfOne;
    json["bits_1_instead_of_0"] = found.oneInsteadOfZero;
    return json;
}

std::string_view driverOf(const Profile &profile) {
    const std::string_view name = driverName(profile.integer(Field::model_type), profile.integer(Field::selection));
    return name.empty() ? "session window" : name;
}

} // namespace

std::string resultText(const Command &command, const OperationReport &report) {
    const std::string verified = report.verified ? " and verified" : "";
    std::string text;
    switch (command.operation) {
    case Operation::program:
        text = fmt::format("Programmed{} {}: {} bytes of {} ({}).", verified, report.device, report.bytes, report.input,
                           report.format);
        break;
    case Operation::automatic:
        text = fmt::format("Auto sequence passed on {}: {} bytes of {} ({}).", report.device, report.bytes,
                           report.input, report.format);
        break;
    case Operation::verify:
        text = fmt::format("Verified {}: all {} bytes equal {} ({}).", report.device, report.bytes, report.input,
                           report.format);
        break;
    case Operation::read:
        text =
            fmt::format("Read {} bytes of {} into {} ({}).", report.bytes, report.device, report.output, report.format);
        break;
    case Operation::erase: text = fmt::format("Erased {}.", report.device); break;
    case Operation::blankCheck: text = fmt::format("{} is blank.", report.device); break;
    case Operation::programConfiguration:
    case Operation::checkConfiguration: break; // no commands of their own
    }
    if (!report.configuration.empty())
        text += fmt::format("\nConfiguration bytes: {:02X}", fmt::join(report.configuration, " "));
    if (!report.eeprom.empty()) text += fmt::format("\nEEPROM: {}", report.eeprom);
    if (!report.outside.empty()) text += fmt::format("\nLeft out, outside the device: {}", report.outside);
    return text + "\n";
}

std::string resultJson(const Command &command, const OperationReport &report) {
    Json json = statusJson(report.outcome.code);
    json["command"] = command.name;
    json["device"] = report.device;
    if (!report.input.empty()) json["input"] = report.input;
    if (!report.output.empty()) json["output"] = report.output;
    if (!report.format.empty()) json["format"] = report.format;
    if (report.bytes != 0) json["bytes"] = report.bytes;
    if (!report.outside.empty()) json["outside"] = report.outside;
    if (!report.configuration.empty()) json["configuration"] = report.configuration;
    if (!report.eeprom.empty()) json["eeprom"] = report.eeprom;
    if (report.differences) json["differences"] = differencesJson(*report.differences);
    json["log"] = report.log;
    if (report.outcome.code != Exit::done) json["error"] = errorJson(report.outcome.message, report.outcome.advice);
    return dump(json);
}

std::string devicesText(const std::vector<Profile> &profiles) {
    std::size_t width = 0;
    for (const Profile &profile : profiles)
        width = std::max(width, profile.name.size());
    std::string text;
    for (const Profile &profile : profiles)
        text += fmt::format("{:<{}}  {:<14}  {:>9} bytes  {}\n", profile.name, width, driverOf(profile),
                            profile.dataBytes(), profile.text(Field::description));
    return text;
}

std::string devicesJson(const std::vector<Profile> &profiles) {
    Json list = Json::array();
    for (const Profile &profile : profiles)
        list.push_back({{"name", profile.name},
                        {"driver", driverOf(profile)},
                        {"model_type", profile.integer(Field::model_type)},
                        {"size", profile.integer(Field::size)},
                        {"bytes_per_address", profile.integer(Field::bytes_per_address)},
                        {"bytes", profile.dataBytes()},
                        {"maker", profile.text(Field::maker)},
                        {"description", profile.text(Field::description)},
                        {"profile", profile.place}});
    Json json = statusJson(Exit::done);
    json["command"] = "devices";
    json["devices"] = std::move(list);
    return dump(json);
}

std::string failureJson(const Failure &failure) {
    Json json = statusJson(failure.code());
    json["error"] = errorJson(failure.message(), failure.advice());
    return dump(json);
}

std::string errorText(std::string_view message, std::string_view advice) {
    return advice.empty() ? fmt::format("mpu6: {}", message) : fmt::format("mpu6: {}\n      {}", message, advice);
}

} // namespace kx3console
