#include "trace.h"

#include "failure.h"
#include "protocol_names.h"

#include <array>
#include <boost/crc.hpp>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <utility>

namespace kx3console {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::array programmerFunctions{
#define KX3_PROGRAMMER_FUNCTION(name, ...) #name,
#include "outside/programmer_functions.inc"
};

/// CRC-32 of ISO-HDLC, so that data can be told apart without being listed.
std::uint32_t checksum(std::span<const std::uint8_t> data) {
    boost::crc_32_type sum;
    sum.process_bytes(data.data(), data.size());
    return sum.checksum();
}

std::string hexBytes(std::span<const std::uint8_t> bytes) { return fmt::format("{:02X}", fmt::join(bytes, " ")); }

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

/// Calls that are written as one line: equal status reports, or comparisons of addresses in a row.
struct Trace::Pending {
    Json report = Json::object();
    const char *comparison = nullptr;
    std::int32_t first = 0;
    std::int32_t last = 0;
    bool stops = false;
    std::uint64_t count = 0;
    std::uint64_t yields = 0;

    [[nodiscard]] Json describe() const {
        if (count == 0) return {{"call", "yield"}, {"count", yields}};
        Json line = report;
        if (comparison != nullptr) {
            line = {{"call", comparison}, {"from", first}, {"to", last}};
            if (stops) line["stops"] = true;
        }
        if (count > 1) line["count"] = count;
        if (yields > 0) line["yields"] = yields;
        return line;
    }
};

Trace::Trace(const std::filesystem::path &path)
    : file_(std::fopen(path.c_str(), "we")), pending_(std::make_unique<Pending>()) {
    if (!file_)
        throw Failure(Exit::failed,
                      fmt::format("trace file {} cannot be written: {}", path.string(), std::strerror(errno)),
                      "Choose another place for --trace.");
}

Trace::~Trace() = default;

template <class Line> void Trace::write(const Line &line) {
    const std::string text = line.dump() + "\n";
    complete_ = std::fwrite(text.data(), 1, text.size(), file_.get()) == text.size() && complete_;
}

void Trace::flush() {
    pending_->yields += std::exchange(yields_, 0);
    if (pending_->count > 0 || pending_->yields > 0) write(pending_->describe());
    *pending_ = Pending{};
}

void Trace::begun(int operation, std::string_view device) {
    flush();
    write(Json{{"operation", operation}, {"device", device}, {"plugin", kx3_version()}});
}

void Trace::hostCall(const char *name, std::string_view names, std::initializer_list<std::int64_t> arguments,
                     std::optional<std::int64_t> result) {
    flush();
    Json line{{"call", name}};
    for (const std::int64_t argument : arguments) {
        names.remove_prefix(names.find_first_not_of("(, "));
        const std::size_t length = names.find_first_of(",)");
        line[std::string(names.substr(0, length))] = argument;
        names.remove_prefix(length);
    }
    if (result) line["result"] = *result;
    write(line);
}

void Trace::poll(bool arrived, std::span<const std::uint8_t> report) {
    Json line = describePoll(arrived, report);
    if (pending_->report != line) {
        const std::uint64_t before = std::exchange(yields_, 0);
        flush();
        pending_->report = std::move(line);
        yields_ = before;
    }
    pending_->yields += std::exchange(yields_, 0);
    ++pending_->count;
}

void Trace::compare(const char *name, std::int32_t address, bool stops) {
    if (pending_->comparison != name || pending_->last + 1 != address || yields_ != 0) {
        flush();
        pending_->comparison = name;
        pending_->first = address;
    }
    pending_->last = address;
    pending_->stops = stops;
    ++pending_->count;
}

void Trace::carriedOut(int operation, std::string_view name, int result) {
    flush();
    write(Json{{"call", "yield"}, {"announced", operation}, {"name", name}, {"result", result}});
}

void Trace::io(const kx3_io_call &call) {
    flush();
    const std::span data(call.data, call.count > 0 ? static_cast<std::size_t>(call.count) : 0);
    const auto row = static_cast<std::size_t>(call.function - KX3_USBCOMWRITE);
    Json line{{"call", row < programmerFunctions.size() ? programmerFunctions[row] : "unknown"}};
    if (call.function == KX3_USBCOMWRITE) {
        line["packet"] = packetName(data);
        line["bytes"] = hexBytes(data);
    } else {
        line[call.function == KX3_DATSTR ? "value" : "count"] = call.count;
        if (call.function == KX3_USBBULKWRITE) line["crc32"] = fmt::format("{:08X}", checksum(data));
    }
    line["result"] = call.result;
    write(line);
}

void Trace::messageBox(std::string_view title, std::string_view prompt, std::int32_t style, std::int32_t button) {
    flush();
    write(Json{{"call", "message_box"}, {"title", title}, {"prompt", prompt}, {"style", style}, {"button", button}});
}

bool Trace::ended(std::string_view result) {
    flush();
    write(Json{{"ended", result}});
    return std::fflush(file_.get()) == 0 && complete_;
}

} // namespace kx3console
