#include "outside.h"

#include "base/error.h"

#include <stdexcept>
#include <tuple>

namespace kx3::torture {

namespace {

/// A call that the plug-in makes, with the values that are traced. Raises what its fault raises.
class Call {
  public:
    template <class... Values> explicit Call(Point point, Values... values) : fault_(injector().strike(point)) {
        injector().trace(values...);
        if (is(Effect::raise)) kx3::raise(static_cast<ErrorNumber>(fault_->value), u"ordered");
        if (is(Effect::foreign)) throw std::runtime_error("ordered");
    }
    [[nodiscard]] bool is(Effect effect) const { return fault_ != nullptr && fault_->effect == effect; }
    /// Of a fault that has one.
    [[nodiscard]] Long value() const { return fault_->value; }

  private:
    const Injector::Outside outside_{injector()};
    const Fault *fault_;
};

/// A call with a result. `gone` is what it gives without a programmer.
template <class Result, class Real> Result answer(const Call &call, Result gone, Real real) {
    if (call.is(Effect::disconnected)) return gone;
    if (call.is(Effect::instead)) return static_cast<Result>(call.value());
    const Result result = real();
    injector().trace(result);
    return call.is(Effect::afterwards) ? static_cast<Result>(call.value()) : result;
}

} // namespace

// The programmer's functions

Integer FaultyIo::usbcomwrite(Byte *packet, Long count) {
    injector().traceBytes({packet, static_cast<std::size_t>(count)});
    return answer<Integer>(Call(Point::comWrite), 1, [&] { return real_.usbcomwrite(packet, count); });
}

Integer FaultyIo::usbbulkwrite(Byte *data, Long count) {
    injector().traceBytes({data, static_cast<std::size_t>(count)});
    const Call call(Point::bulkWrite);
    return answer<Integer>(call, 1,
                           [&] { return real_.usbbulkwrite(data, call.is(Effect::half) ? count / 2 : count); });
}

void FaultyIo::usbbulkread(Byte *destination, Long count, Byte *state) {
    constexpr Byte failed = 4;
    constexpr int longTime = 60;
    const Call call(Point::bulkRead, count);
    if (call.is(Effect::disconnected) || injector().exhausted()) {
        *state = failed;
    } else if (call.is(Effect::instead)) {
        *state = static_cast<Byte>(call.value());
    } else if (call.is(Effect::never)) {
        pending_ = state;
        stateAtEnd_ = static_cast<Byte>(call.value());
        steps_ = longTime;
    } else {
        real_.usbbulkread(destination, count, state);
        if (call.is(Effect::corrupt)) destination[count / 3] ^= 0x10;
        injector().traceBytes({destination, static_cast<std::size_t>(count)});
    }
}

std::u16string FaultyIo::datstr(Long value, Long digits) {
    const Call call(Point::digits, value, digits);
    if (call.is(Effect::instead)) return std::u16string(static_cast<std::size_t>(call.value()), u'7');
    if (call.is(Effect::disconnected)) raise(ErrorNumber::loadLibrary);
    return real_.datstr(value, digits);
}

void FaultyIo::advance() noexcept {
    if (pending_ == nullptr || --steps_ > 0) return;
    *pending_ = stateAtEnd_;
    pending_ = nullptr;
}

// The session host

namespace {

constexpr Point pointOf(std::string_view operation) {
    if (operation == "PollStatus") return Point::poll;
    if (operation == "StartCheck") return Point::startCheck;
    if (operation.starts_with("Prepare")) return Point::prepare;
    return operation.starts_with("Compare") ? Point::compare : Point::order;
}

void fillWithGarbage(std::span<Byte> report) {
    std::uint64_t seed = injector().digest();
    for (Byte &byte : report)
        byte = static_cast<Byte>((seed = seed * 6364136223846793005U + 1) >> 56U);
    constexpr Byte last = 100;
    if (report[0] == last) ++report[0];
}

template <class Real> bool poll(std::span<Byte> report, Real real) {
    const Call call(Point::poll);
    if (call.is(Effect::disconnected) || injector().exhausted()) return false;
    if (call.is(Effect::instead)) return call.value() != 0;
    if (!real()) return false;
    if (call.is(Effect::event)) report[1] = static_cast<Byte>(call.value());
    if (call.is(Effect::garbage)) fillWithGarbage(report);
    injector().traceBytes(report);
    return true;
}

template <class Result, Point point, class Real, class... Values>
Result operate([[maybe_unused]] std::span<Byte> report, Real real, [[maybe_unused]] Values... values) {
    if constexpr (point == Point::order) {
        const Call call(point, std::get<0>(std::tuple{values..., 0}));
        if (call.is(Effect::disconnected)) raise(ErrorNumber::deviceIo);
        real();
    } else if constexpr (point == Point::poll) {
        return poll(report, real);
    } else {
        if (point == Point::compare) injector().trace(values...);
        return answer<Result>(Call(point), point == Point::prepare ? 2 : 1, real);
    }
}

} // namespace

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result FaultyHost::name parameters {                                                                               \
        const auto call = [this](auto... values) {                                                                     \
            return operate<result, pointOf("" #name)>(                                                                 \
                report, [&] { return real.name(values...); }, values...);                                              \
        };                                                                                                             \
        return call arguments;                                                                                         \
    }
#include "outside/session_host_operations.inc"

// User interface and clock

MessageBoxResult FaultyUi::messageBox(std::u16string_view prompt, Long style,
                                      std::optional<std::u16string_view> title) {
    ++boxes;
    const Call call(Point::messageBox, prompt.size(), style, title ? title->size() : 0);
    if (injector().exhausted()) return MessageBoxResult::abort;
    return call.is(Effect::answer) ? static_cast<MessageBoxResult>(call.value()) : usualAnswer;
}

void FaultyUi::yield() {
    const Call call(Point::yield);
    onYield();
    if (call.is(Effect::stop)) onStop(static_cast<Byte>(call.value()));
    if (call.is(Effect::reenter)) onReenter();
}

void FaultyUi::showModal(Form &form) {
    const Call call(Point::modal);
    if (call.is(Effect::reenter)) onReenter();
    if (!call.is(Effect::leaveOpen)) onModal(form);
}

float FaultyClock::secondsSinceMidnight() {
    const Call call(Point::clock);
    constexpr float noon = 43200;
    return call.is(Effect::instead) ? static_cast<float>(call.value()) : noon;
}

} // namespace kx3::torture
