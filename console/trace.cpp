#include "trace.h"

#include "failure.h"
#include "protocol_names.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kx3console {

using Json = nlohmann::ordered_json;

namespace {

/// CRC-32 of ISO-HDLC, so that data can be told apart without being listed.
std::uint32_t checksum(std::span<const std::uint8_t> data) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> rows{};
        for (std::uint32_t i = 0; i < rows.size(); ++i) {
            std::uint32_t row = i;
            for (int bit = 0; bit < 8; ++bit)
                row = (row & 1) != 0 ? 0xEDB88320U ^ (row >> 1) : row >> 1;
            rows[i] = row;
        }
        return rows;
    }();
    std::uint32_t sum = 0xFFFFFFFFU;
    for (const std::uint8_t byte : data)
        sum = table[(sum ^ byte) & 0xFF] ^ (sum >> 8);
    return ~sum;
}

std::string hexBytes(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += fmt::format("{}{:02X}", text.empty() ? "" : " ", byte);
    return text;
}

std::span<const std::uint8_t> dataOf(const kx3_io_call &call) {
    return {call.data, call.count > 0 ? static_cast<std::size_t>(call.count) : 0};
}

Json describePoll(bool arrived, std::span<const std::uint8_t> bytes) {
    Json line{{"call", "PollStatus"}, {"arrived", arrived}};
    if (!arrived) return line;
    const StatusReport report = StatusReport::of(bytes);
    line["progress"] = report.progress;
    line["event"] = report.eventName();
    if (!report.stageName().empty()) line["stage"] = report.stageName();
    line["bytes"] = hexBytes(bytes.first(13));
    return line;
}

} // namespace

/// A call that may repeat.
struct Trace::Pending {
    std::string kind;
    std::string line; ///< of a status report, as JSON
    std::int32_t first = 0;
    std::int32_t last = 0;
    std::uint64_t count = 0;
    std::uint64_t yields = 0;
    bool stops = false;

    [[nodiscard]] Json describe() const {
        Json result;
        if (!line.empty()) {
            result = Json::parse(line);
        } else if (count > 0) {
            result["call"] = kind;
            result["from"] = first;
            result["to"] = last;
            if (stops) result["stops"] = true;
        }
        if (count > 1) result["count"] = count;
        if (yields > 0) result["yields"] = yields;
        return result;
    }
};

Trace::Trace(const std::filesystem::path &path)
    : name_(path.string()), file_(std::fopen(path.c_str(), "we")), pending_(std::make_unique<Pending>()) {
    if (!file_)
        throw Failure(Exit::failed, fmt::format("trace file {} cannot be written: {}", name_, std::strerror(errno)),
                      "Choose another place for --trace.");
}

Trace::~Trace() = default;

void Trace::write(const std::string &line) {
    const std::string whole = line + "\n";
    complete_ = std::fwrite(whole.data(), 1, whole.size(), file_.get()) == whole.size() && complete_;
}

void Trace::flush() {
    pending_->yields += std::exchange(yields_, 0);
    if (pending_->count > 0 || pending_->yields > 0) {
        const Json line = pending_->describe();
        write((pending_->count > 0 ? line : Json{{"call", "yield"}, {"count", pending_->yields}}).dump());
    }
    *pending_ = Pending{};
}

void Trace::operation(int operation, std::string_view device) {
    flush();
    write(Json{{"operation", operation}, {"device", device}, {"plugin", kx3_version()}}.dump());
}

void Trace::sessionCall(const char *name, const NamedValues &arguments, std::optional<std::int64_t> result) {
    flush();
    Json line{{"call", name}};
    for (const auto &[key, value] : arguments)
        line[key] = value;
    if (result) line["result"] = *result;
    write(line.dump());
}

void Trace::poll(bool arrived, std::span<const std::uint8_t> report) {
    std::string line = describePoll(arrived, report).dump();
    if (pending_->line != line) {
        const std::uint64_t before = std::exchange(yields_, 0);
        flush();
        pending_->line = std::move(line);
        yields_ = before;
    }
    pending_->yields += std::exchange(yields_, 0);
    ++pending_->count;
}

void Trace::compare(const char *name, std::int32_t address, bool stops) {
    const bool goesOn = pending_->count > 0 && pending_->kind == name && pending_->last + 1 == address && yields_ == 0;
    if (!goesOn) {
        flush();
        pending_->kind = name;
        pending_->first = address;
    }
    pending_->last = address;
    pending_->stops = stops;
    ++pending_->count;
}

void Trace::carriedOut(int operation, std::string_view name, int result) {
    flush();
    write(Json{{"call", "yield"}, {"announced", operation}, {"name", name}, {"result", result}}.dump());
}

void Trace::io(const kx3_io_call &call) {
    flush();
    Json line;
    switch (call.function) {
    case KX3_USBCOMWRITE:
        line = {{"call", "usbcomwrite"}, {"packet", packetName(dataOf(call))}, {"bytes", hexBytes(dataOf(call))}};
        break;
    case KX3_USBBULKWRITE:
        line = {
            {"call", "usbbulkwrite"}, {"count", call.count}, {"crc32", fmt::format("{:08X}", checksum(dataOf(call)))}};
        break;
    case KX3_USBBULKREAD: line = {{"call", "usbbulkread"}, {"count", call.count}}; break;
    default: line = {{"call", "datstr"}, {"value", call.count}}; break;
    }
    line["result"] = call.result;
    write(line.dump());
}

void Trace::messageBox(std::string_view title, std::string_view prompt, std::int32_t style, std::int32_t button) {
    flush();
    write(Json{{"call", "message_box"}, {"title", title}, {"prompt", prompt}, {"style", style}, {"button", button}}
              .dump());
}

bool Trace::ended(std::string_view result) {
    flush();
    write(Json{{"ended", result}}.dump());
    return std::fflush(file_.get()) == 0 && complete_;
}

} // namespace kx3console
