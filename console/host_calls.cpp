#include "host_calls.h"

#include "plugin.h"
#include "trace.h"

#include <array>
#include <type_traits>

namespace kx3console {

namespace {

using Host = kx3sim::SessionHost;

struct CallName {
    const char *name;
    const char *arguments; ///< "(pin, state)"
};
constexpr std::array callNames{
#define KX3_OPERATION(name, result, parameters, arguments) CallName{#name, #arguments},
#include "outside/session_host_operations.inc"
};

constexpr bool isComparison(HostCall call) { return call == HostCall::CompareWord || call == HostCall::CompareByte; }

} // namespace

template <HostCall call, class... Values, void (Host::*member)(Values...)> struct HostCalls::Callback<call, member> {
    static kx3_status run(void *context, Values... values) {
        return guarded([&] {
            HostCalls &calls = *static_cast<HostCalls *>(context);
            (calls.host_.*member)(values...);
            calls.note(call, {std::int64_t{values}...});
        });
    }
};

template <HostCall call, class Result, class... Values, Result (Host::*member)(Values...)>
requires(!std::is_void_v<Result>) struct HostCalls::Callback<call, member> {
    static kx3_status run(void *context, Values... values, std::int32_t *result) {
        return guarded([&] {
            HostCalls &calls = *static_cast<HostCalls *>(context);
            *result = (calls.host_.*member)(values...);
            // A comparison comes once for every byte: without a trace it carries no bookkeeping.
            if (!isComparison(call) || calls.trace_ != nullptr) calls.note(call, {std::int64_t{values}...}, *result);
        });
    }
};

HostCalls::HostCalls(Host &host, std::span<const std::uint8_t> report, Trace *trace)
    : host_(host), report_(report), trace_(trace) {
    kx3_session_host callbacks = kx3_session_host_init();
    callbacks.context = this;
#define KX3_OPERATION(name, ...) callbacks.name = Callback<HostCall::name, &Host::name>::run;
#include "outside/session_host_operations.inc"
    if (kx3_set_session_host(&callbacks) != KX3_OK) throw pluginFailure("handing over the callbacks");
    const auto observe = [](void *context, const kx3_io_call *call) { static_cast<HostCalls *>(context)->note(*call); };
    static_cast<void>(kx3_observe_io(observe, this));
}

HostCalls::~HostCalls() {
    kx3_observe_io(nullptr, nullptr);
    kx3_set_session_host(nullptr);
}

void HostCalls::note(HostCall call, std::initializer_list<std::int64_t> arguments, std::optional<std::int64_t> result) {
    const auto &[name, argumentNames] = callNames.at(static_cast<std::size_t>(call));
    switch (call) {
    case HostCall::StartCheck: evidence.startRefused = result == 1; break;
    case HostCall::PrepareChip:
    case HostCall::PrepareDevice32f:
    case HostCall::PrepareDevice: evidence.deviceRefused = result == 2; break;
    case HostCall::AlgorithmLoaded: evidence.algorithmLoaded = true; break;
    case HostCall::SignalPass: evidence.signalledPass = true; break;
    case HostCall::PollStatus:
        evidence.reportMissing = evidence.reportMissing || result == 0;
        if (result != 0) evidence.lastReport = StatusReport::of(report_);
        if (trace_ != nullptr) trace_->poll(result != 0, report_);
        return;
    case HostCall::CompareWord:
    case HostCall::CompareByte: {
        const auto *const address = arguments.begin() + (call == HostCall::CompareWord ? 2 : 1);
        return trace_->compare(name, static_cast<std::int32_t>(*address), result == 1);
    }
    default: break;
    }
    if (trace_ != nullptr) trace_->hostCall(name, argumentNames, arguments, result);
}

void HostCalls::note(const kx3_io_call &call) {
    if (call.function == KX3_USBBULKWRITE && call.result == 1) evidence.transferFailed = true;
    if (trace_ != nullptr) trace_->io(call);
}

} // namespace kx3console
