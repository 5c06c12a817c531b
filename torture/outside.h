// The plug-in's outside components, each call of which can fail.
#pragma once

#include "base/error.h"
#include "doorstep/programmer_libraries.h"
#include "faults.h"
#include "outside/clock.h"
#include "outside/ui.h"
#include "simulator/session_host.h"

#include <functional>
#include <stdexcept>
#include <tuple>

namespace kx3::torture {

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

    /// The result of a call that has one. `gone` is what it gives without a programmer.
    template <class Result, class Real> Result answer(Result gone, Real real) const {
        if (is(Effect::disconnected)) return gone;
        if (is(Effect::instead)) return static_cast<Result>(value());
        const Result result = real();
        injector().trace(result);
        return is(Effect::afterwards) ? static_cast<Result>(value()) : result;
    }

  private:
    const Injector::Outside outside_{injector()};
    const Fault *fault_;
};

class FaultyIo final : public ProgrammerIo {
  public:
    Integer usbcomwrite(Byte *packet, Long count) override {
        injector().traceBytes({packet, static_cast<std::size_t>(count)});
        return Call(Point::comWrite).answer<Integer>(1, [&] { return real_.usbcomwrite(packet, count); });
    }
    Integer usbbulkwrite(Byte *data, Long count) override {
        injector().traceBytes({data, static_cast<std::size_t>(count)});
        const Call call(Point::bulkWrite);
        const Long arriving = call.is(Effect::half) ? count / 2 : count;
        return call.answer<Integer>(1, [&] { return real_.usbbulkwrite(data, arriving); });
    }
    void usbbulkread(Byte *destination, Long count, Byte *state) override {
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
    std::u16string datstr(Long value, Long digits) override {
        const Call call(Point::digits, value, digits);
        if (call.is(Effect::instead)) return std::u16string(static_cast<std::size_t>(call.value()), u'7');
        if (call.is(Effect::disconnected)) raise(ErrorNumber::loadLibrary);
        return real_.datstr(value, digits);
    }

    /// One step of time: a read that does not end comes nearer to its failure.
    void advance() noexcept {
        if (pending_ == nullptr || --steps_ > 0) return;
        *pending_ = stateAtEnd_;
        pending_ = nullptr;
    }
    /// A read that was left pending does not write into memory that is gone.
    void forgetPending() noexcept { pending_ = nullptr; }

  private:
    ProgrammerLibraries real_;
    Byte *pending_ = nullptr;
    Byte stateAtEnd_ = 0;
    int steps_ = 0;
};

/// The kind of a session host operation, by its name.
constexpr Point pointOf(std::string_view operation) {
    if (operation == "PollStatus") return Point::poll;
    if (operation == "StartCheck") return Point::startCheck;
    if (operation.starts_with("Prepare")) return Point::prepare;
    return operation.starts_with("Compare") ? Point::compare : Point::order;
}

class FaultyHost final : public SessionHost {
  public:
    explicit FaultyHost(kx3sim::Options options) : real(std::move(options)) {}

    kx3sim::SessionHost real;
    std::span<Byte> report; ///< block `ibuf1`

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result name parameters override {                                                                                  \
        const auto call = [this](auto... values) {                                                                     \
            return operate<result, pointOf("" #name)>([&] { return real.name(values...); }, values...);                \
        };                                                                                                             \
        return call arguments;                                                                                         \
    }
#include "outside/session_host_operations.inc"

  private:
    template <class Result, Point point, class Real, class... Values>
    Result operate(Real operation, [[maybe_unused]] Values... values) {
        if constexpr (point == Point::order) {
            // Of a pin and its state, the pin.
            const Call call(point, std::get<0>(std::tuple{values..., 0}));
            if (call.is(Effect::disconnected)) raise(ErrorNumber::deviceIo);
            operation();
        } else if constexpr (point == Point::poll) {
            return poll(operation);
        } else {
            if (point == Point::compare) injector().trace(values...);
            return Call(point).template answer<Result>(point == Point::prepare ? 2 : 1, operation);
        }
    }
    template <class Real> bool poll(Real operation) {
        const Call call(Point::poll);
        if (call.is(Effect::disconnected) || injector().exhausted()) return false;
        if (call.is(Effect::instead)) return call.value() != 0;
        if (!operation()) return false;
        if (call.is(Effect::event)) report[1] = static_cast<Byte>(call.value());
        if (call.is(Effect::garbage)) fillWithGarbage();
        injector().traceBytes(report);
        return true;
    }
    void fillWithGarbage() {
        std::uint64_t seed = injector().digest();
        for (Byte &byte : report)
            byte = static_cast<Byte>((seed = seed * 6364136223846793005U + 1) >> 56U);
        constexpr Byte last = 100;
        if (report[0] == last) ++report[0];
    }
};

class FaultyUi final : public Ui {
  public:
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override {
        ++boxes;
        const Call call(Point::messageBox, prompt.size(), style, title ? title->size() : 0);
        if (injector().exhausted()) return MessageBoxResult::abort;
        return call.is(Effect::answer) ? static_cast<MessageBoxResult>(call.value()) : usualAnswer;
    }
    void yield() override {
        const Call call(Point::yield);
        onYield();
        if (call.is(Effect::stop)) onStop(static_cast<Byte>(call.value()));
        if (call.is(Effect::reenter)) onReenter();
    }
    void showModal(Form &form) override {
        const Call call(Point::modal);
        if (call.is(Effect::reenter)) onReenter();
        if (!call.is(Effect::leaveOpen)) onModal(form);
    }

    MessageBoxResult usualAnswer = MessageBoxResult::ok;
    int boxes = 0;
    std::function<void()> onYield;           ///< the host's work in a yield
    std::function<void(Byte result)> onStop; ///< the host sets a result code
    std::function<void(Form &)> onModal;     ///< a person's actions on an open form
    std::function<void()> onReenter;         ///< a call into the plug-in from a call of its own
};

class FaultyClock final : public Clock {
  public:
    float secondsSinceMidnight() override {
        const Call call(Point::clock);
        constexpr float noon = 43200;
        return call.is(Effect::instead) ? static_cast<float>(call.value()) : noon;
    }
};

} // namespace kx3::torture
