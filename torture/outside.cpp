#include "outside.h"

#include "base/error.h"
#include "blocks/sharemap.h"

#include <algorithm>
#include <stdexcept>

namespace kx3::torture {

namespace {

constexpr Byte readFailed = 4;
constexpr int longPending = 60;

/// Raise what `fault` raises; any other fault is left to the caller.
void raiseIf(const Fault *fault) {
    if (fault == nullptr) return;
    if (fault->effect == Effect::raise) raise(static_cast<ErrorNumber>(fault->value), u"ordered");
    if (fault->effect == Effect::foreign) throw std::runtime_error("ordered");
}

bool has(const Fault *fault, Effect effect) { return fault != nullptr && fault->effect == effect; }

/// A call with a result. `gone` is the result without a programmer.
template <class Result, class Call> Result call(Point point, Result gone, Call real) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(point);
    raiseIf(fault);
    if (has(fault, Effect::disconnected)) return gone;
    if (has(fault, Effect::instead)) return static_cast<Result>(fault->value);
    const Result result = real();
    injector().trace(result);
    return has(fault, Effect::afterwards) ? static_cast<Result>(fault->value) : result;
}

/// A call without one. Without a programmer it raises.
template <class Call> void order(Long value, Call real) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::order);
    injector().trace(value);
    raiseIf(fault);
    if (has(fault, Effect::disconnected)) raise(ErrorNumber::deviceIo);
    real();
}

} // namespace

// The programmer's functions

Integer FaultyIo::usbcomwrite(Byte *packet, Long count) {
    injector().traceBytes({packet, static_cast<std::size_t>(count)});
    return call<Integer>(Point::comWrite, 1, [&] { return real_.usbcomwrite(packet, count); });
}

Integer FaultyIo::usbbulkwrite(Byte *data, Long count) {
    injector().traceBytes({data, static_cast<std::size_t>(count)});
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::bulkWrite);
    raiseIf(fault);
    if (has(fault, Effect::disconnected)) return 1;
    if (has(fault, Effect::instead)) return static_cast<Integer>(fault->value);
    const Integer status = real_.usbbulkwrite(data, has(fault, Effect::half) ? count / 2 : count);
    injector().trace(status);
    return has(fault, Effect::afterwards) ? static_cast<Integer>(fault->value) : status;
}

void FaultyIo::usbbulkread(Byte *destination, Long count, Byte *state) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::bulkRead);
    injector().trace(count);
    raiseIf(fault);
    if (has(fault, Effect::disconnected) || injector().exhausted()) {
        *state = readFailed;
    } else if (has(fault, Effect::instead)) {
        *state = static_cast<Byte>(fault->value);
    } else if (has(fault, Effect::never)) {
        pending_ = state;
        stateAtEnd_ = static_cast<Byte>(fault->value);
        steps_ = longPending;
    } else {
        real_.usbbulkread(destination, count, state);
        if (has(fault, Effect::corrupt)) destination[count / 3] ^= 0x10;
        injector().traceBytes({destination, static_cast<std::size_t>(count)});
    }
}

std::u16string FaultyIo::datstr(Long value, Long digits) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::digits);
    injector().trace(value, digits);
    raiseIf(fault);
    if (has(fault, Effect::instead)) return std::u16string(static_cast<std::size_t>(fault->value), u'7');
    if (has(fault, Effect::disconnected)) raise(ErrorNumber::loadLibrary);
    return real_.datstr(value, digits);
}

void FaultyIo::advance() noexcept {
    if (pending_ == nullptr || --steps_ > 0) return;
    *pending_ = stateAtEnd_;
    pending_ = nullptr;
}

// The session host

void FaultyHost::EndOperation() {
    order(0, [&] { real_->EndOperation(); });
}
void FaultyHost::SetVcc(Long millivolts) {
    order(millivolts, [&] { real_->SetVcc(millivolts); });
}
void FaultyHost::SetGndPin(Byte pin, Byte state) {
    order(pin, [&] { real_->SetGndPin(pin, state); });
}
void FaultyHost::PowerStep(Long step) {
    order(step, [&] { real_->PowerStep(step); });
}
void FaultyHost::SignalPass(Long value) {
    order(value, [&] { real_->SignalPass(value); });
}
void FaultyHost::SignalFail(Long value) {
    order(value, [&] { real_->SignalFail(value); });
}
void FaultyHost::Delay(Long milliseconds) {
    order(milliseconds, [&] { real_->Delay(milliseconds); });
}
void FaultyHost::ReportStartFailure() {
    order(0, [&] { real_->ReportStartFailure(); });
}
void FaultyHost::AlgorithmLoaded(Long length) {
    order(length, [&] { real_->AlgorithmLoaded(length); });
}

Long FaultyHost::StartCheck() {
    return call<Long>(Point::startCheck, 1, [&] { return real_->StartCheck(); });
}

Long FaultyHost::PrepareChip(Byte figmode) {
    return call<Long>(Point::prepare, 2, [&] { return real_->PrepareChip(figmode); });
}
Long FaultyHost::PrepareDevice32f(Byte figmode, Byte zero) {
    return call<Long>(Point::prepare, 2, [&] { return real_->PrepareDevice32f(figmode, zero); });
}
Long FaultyHost::PrepareDevice(Byte figmode, Byte zero) {
    return call<Long>(Point::prepare, 2, [&] { return real_->PrepareDevice(figmode, zero); });
}

Long FaultyHost::CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) {
    injector().trace(low, high, address, mode, mask);
    return call<Long>(Point::compare, 1, [&] { return real_->CompareWord(low, high, address, mode, mask); });
}
Long FaultyHost::CompareByte(Byte data, Long address, Long mode) {
    injector().trace(data, address, mode);
    return call<Long>(Point::compare, 1, [&] { return real_->CompareByte(data, address, mode); });
}

bool FaultyHost::PollStatus(Long request) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::poll);
    raiseIf(fault);
    if (has(fault, Effect::disconnected) || injector().exhausted()) return false;
    if (has(fault, Effect::instead)) return fault->value != 0;
    if (!real_->PollStatus(request)) return false;
    const std::span<Byte> report = scene_.hostBlocks().ibuf1.range(0, KX6SIM_REPORT_BYTES);
    if (has(fault, Effect::event)) report[1] = static_cast<Byte>(fault->value);
    if (has(fault, Effect::garbage)) {
        std::uint64_t seed = injector().digest();
        for (Byte &byte : report)
            byte = static_cast<Byte>((seed = seed * 6364136223846793005U + 1) >> 56U);
        constexpr Byte last = 100;
        if (report[0] == last) ++report[0];
    }
    injector().traceBytes(report);
    return true;
}

// User interface and clock

MessageBoxResult FaultyUi::messageBox(std::u16string_view prompt, Long style,
                                      std::optional<std::u16string_view> title) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::messageBox);
    injector().trace(prompt.size(), style, title ? title->size() : 0);
    ++boxes;
    raiseIf(fault);
    if (injector().exhausted()) return MessageBoxResult::abort;
    return has(fault, Effect::answer) ? static_cast<MessageBoxResult>(fault->value) : usualAnswer;
}

void FaultyUi::yield() {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::yield);
    raiseIf(fault);
    scene_.duringYield();
    if (has(fault, Effect::stop)) scene_.hostBlocks().prgresult(0) = static_cast<Byte>(fault->value);
    if (has(fault, Effect::reenter)) scene_.reenter();
}

void FaultyUi::showModal(Form &form) {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::modal);
    raiseIf(fault);
    if (has(fault, Effect::reenter)) scene_.reenter();
    if (!has(fault, Effect::leaveOpen)) scene_.actOn(form);
}

float FaultyClock::secondsSinceMidnight() {
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::clock);
    constexpr float noon = 43200;
    return has(fault, Effect::instead) ? static_cast<float>(fault->value) : noon;
}

} // namespace kx3::torture
