#include "simulator/faults.h"

#include "simulator/chip.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string>

namespace kx3sim {

namespace {

enum class Value : std::uint8_t { none, optional, required };

/// A kind of fault as the text writes it: "point@call:kind=value".
struct Form {
    std::string_view point;
    std::string_view kind;
    FaultPoint faultPoint;
    FaultKind faultKind;
    Value value;
};

constexpr Form forms[] = {
    {"comwrite", "fail", FaultPoint::comWrite, FaultKind::fail, Value::none},
    {"bulkwrite", "fail", FaultPoint::bulkWrite, FaultKind::fail, Value::none},
    {"bulkread", "fail", FaultPoint::bulkRead, FaultKind::fail, Value::optional},
    {"bulkread", "pending", FaultPoint::bulkRead, FaultKind::pending, Value::required},
    {"bulkread", "corrupt", FaultPoint::bulkRead, FaultKind::corrupt, Value::none},
    {"report", "missing", FaultPoint::report, FaultKind::missing, Value::none},
    {"report", "compare", FaultPoint::report, FaultKind::compare, Value::required},
    {"report", "identity", FaultPoint::report, FaultKind::identity, Value::none},
    {"report", "stop", FaultPoint::report, FaultKind::stop, Value::none},
    {"version", "wrong", FaultPoint::version, FaultKind::wrong, Value::none},
    {"chipid", "wrong", FaultPoint::chipId, FaultKind::wrong, Value::none},
    {"start", "refuse", FaultPoint::start, FaultKind::refuse, Value::none},
    {"prepare", "refuse", FaultPoint::prepare, FaultKind::refuse, Value::none},
};

/// Steps that a failing read stays pending when the text does not say.
constexpr std::uint64_t defaultPendingSteps = 1;
constexpr std::uint64_t bitsPerByte = 8;

[[noreturn]] void reject(std::string_view item, std::string_view why) {
    throw Failure(KX6SIM_BAD_ARGUMENT, std::string("bad fault \"").append(item).append("\": ").append(why));
}

/// A decimal number, or a hexadecimal one behind "0x".
std::optional<std::uint64_t> number(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    std::uint64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

constexpr std::uint64_t largestNumber = std::numeric_limits<std::uint32_t>::max();

std::uint64_t positive(std::string_view item, std::string_view text, std::string_view name) {
    const std::optional<std::uint64_t> value = number(text);
    if (!value || *value == 0 || *value > largestNumber)
        reject(item, std::string(name).append(" must be a number above 0"));
    return *value;
}

/// Cut `text` at the first `separator`: the part before it, leaving the part behind; nothing, and
/// `text` as it was, when there is none.
std::optional<std::string_view> cutAt(std::string_view &text, char separator) {
    const std::size_t place = text.find(separator);
    if (place == std::string_view::npos) return std::nullopt;
    const std::string_view front = text.substr(0, place);
    text.remove_prefix(place + 1);
    return front;
}

const Form &formOf(std::string_view item, std::string_view point, std::string_view kind) {
    bool knownPoint = false;
    for (const Form &form : forms) {
        if (form.point != point) continue;
        knownPoint = true;
        if (form.kind == kind) return form;
    }
    reject(item, knownPoint ? "unknown kind of fault" : "unknown place");
}

std::uint64_t valueOf(std::string_view item, const Form &form, std::optional<std::string_view> text) {
    if (!text && form.value == Value::required) reject(item, "needs a value behind \"=\"");
    if (text && form.value == Value::none) reject(item, "takes no value");
    if (!text) return defaultPendingSteps;
    if (form.faultKind != FaultKind::compare) return positive(item, *text, "the value");
    const std::optional<std::uint64_t> address = number(*text);
    if (!address || *address > largestNumber) reject(item, "bad address");
    return *address;
}

} // namespace

FaultPlan::FaultPlan(std::string_view text, std::uint64_t seed) : state_(seed) {
    if (text.empty()) return;
    while (const std::optional<std::string_view> item = cutAt(text, ','))
        parseItem(*item);
    parseItem(text);
}

void FaultPlan::parseItem(std::string_view item) {
    std::string_view rest = item;
    if (const std::optional<std::string_view> point = cutAt(rest, '@')) {
        if (*point == "bitflip")
            parseBitFlip(item, rest);
        else
            parseCallFault(item, *point, rest);
        return;
    }
    if (cutAt(rest, '=') != "slow") reject(item, "not of the form place@call:kind, bitflip@offset.bit or slow=reports");
    reportsPerPercent_ = positive(item, rest, "the number of reports");
}

void FaultPlan::parseBitFlip(std::string_view item, std::string_view place) {
    const std::optional<std::string_view> offsetText = cutAt(place, '.');
    if (!offsetText) reject(item, "not of the form bitflip@offset.bit");
    const std::optional<std::uint64_t> offset = number(*offsetText);
    const std::optional<std::uint64_t> bit = number(place);
    if (!offset) reject(item, "bad offset");
    if (!bit || *bit >= bitsPerByte) reject(item, "the bit must be 0 to 7");
    bitFlips_.push_back({*offset, static_cast<unsigned>(*bit)});
}

void FaultPlan::parseCallFault(std::string_view item, std::string_view point, std::string_view rest) {
    std::optional<std::string_view> call = cutAt(rest, ':');
    if (!call) reject(item, "no kind of fault behind \":\"");
    const bool fromThenOn = call->ends_with('+');
    if (fromThenOn) call->remove_suffix(1);

    std::string_view tail = rest;
    const std::optional<std::string_view> named = cutAt(tail, '=');
    const Form &form = formOf(item, point, named.value_or(rest));
    const std::uint64_t value = valueOf(item, form, named ? std::optional(tail) : std::nullopt);
    faults_.push_back({form.faultPoint, form.faultKind,
                       static_cast<std::uint32_t>(positive(item, *call, "the call's number")), fromThenOn, value});
}

const Fault *FaultPlan::strike(FaultPoint point) noexcept {
    const std::uint32_t call = ++calls_[static_cast<std::size_t>(point)];
    for (const Fault &fault : faults_)
        if (fault.point == point && (fault.call == call || (fault.fromThenOn && call > fault.call))) return &fault;
    return nullptr;
}

std::uint64_t FaultPlan::random() noexcept {
    // splitmix64: every seed gives a sequence of its own, 0 too.
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31U);
}

} // namespace kx3sim
