#include "host_callbacks.h"

#include "guarded_callback.h"

#include <array>
#include <type_traits>

namespace kx3console {

namespace {

HostCalls &callsOf(void *context) { return *static_cast<HostCalls *>(context); }

// What is noted of a call, besides passing it on.

void noteResult(Evidence &seen, const char *name, std::int32_t result) {
    const std::string_view call = name;
    if (call == "StartCheck") seen.startRefused = result == 1;
    if (call.starts_with("Prepare")) seen.deviceRefused = result == 2;
}

void noteCall(Evidence &seen, const char *name) {
    const std::string_view call = name;
    if (call == "AlgorithmLoaded") seen.algorithmLoaded = true;
    if (call == "SignalPass") seen.signalledPass = true;
}

/// A name for each argument of a call.
template <class... Values> using Names = std::array<const char *, sizeof...(Values)>;

template <class... Values>
void traceCall(Trace *trace, const char *name, const Names<Values...> &names, std::optional<std::int64_t> result,
               Values... values) {
    if (trace == nullptr) return;
    Trace::NamedValues arguments;
    [[maybe_unused]] auto each = names.begin();
    (arguments.emplace_back(*each++, std::int64_t{values}), ...);
    trace->sessionCall(name, arguments, result);
}

template <class... Values>
kx3_status forward(void *context, const char *name, void (kx3sim::SessionHost::*member)(Values...),
                   const Names<Values...> &names, std::type_identity_t<Values>... values) {
    HostCalls &calls = callsOf(context);
    noteCall(calls.evidence, name);
    return guardedCallback([&] {
        (calls.host.*member)(values...);
        traceCall(calls.trace, name, names, std::nullopt, values...);
    });
}

template <class... Values>
kx3_status ask(void *context, const char *name, kx3::Long (kx3sim::SessionHost::*member)(Values...),
               const Names<Values...> &names, std::int32_t *result, std::type_identity_t<Values>... values) {
    HostCalls &calls = callsOf(context);
    return guardedCallback([&] {
        *result = (calls.host.*member)(values...);
        noteResult(calls.evidence, name, *result);
        traceCall(calls.trace, name, names, *result, values...);
    });
}

using Host = kx3sim::SessionHost;

kx3_status pollStatus(void *context, std::int32_t request, std::int32_t *arrived) {
    HostCalls &calls = callsOf(context);
    return guardedCallback([&] {
        *arrived = calls.host.PollStatus(request) ? 1 : 0;
        if (*arrived == 0)
            calls.evidence.reportMissing = true;
        else
            calls.evidence.lastReport = StatusReport::of(calls.report);
        if (calls.trace != nullptr) calls.trace->poll(*arrived != 0, calls.report);
    });
}

// The compare calls come once for every byte, so that they carry no bookkeeping of their own.

kx3_status compareByte(void *context, std::uint8_t data, std::int32_t address, std::int32_t mode,
                       std::int32_t *result) {
    return guardedCallback([&] { *result = callsOf(context).host.CompareByte(data, address, mode); });
}

kx3_status compareWord(void *context, std::uint8_t low, std::uint8_t high, std::int32_t address, std::int32_t mode,
                       std::int32_t mask, std::int32_t *result) {
    return guardedCallback([&] { *result = callsOf(context).host.CompareWord(low, high, address, mode, mask); });
}

kx3_status tracedCompareByte(void *context, std::uint8_t data, std::int32_t address, std::int32_t mode,
                             std::int32_t *result) {
    const kx3_status status = compareByte(context, data, address, mode, result);
    callsOf(context).trace->compare("CompareByte", address, *result == 1);
    return status;
}

kx3_status tracedCompareWord(void *context, std::uint8_t low, std::uint8_t high, std::int32_t address,
                             std::int32_t mode, std::int32_t mask, std::int32_t *result) {
    const kx3_status status = compareWord(context, low, high, address, mode, mask, result);
    callsOf(context).trace->compare("CompareWord", address, *result == 1);
    return status;
}

void noteIo(void *context, const kx3_io_call *call) {
    HostCalls &calls = callsOf(context);
    if (call->function == KX3_USBBULKWRITE && call->result == 1) calls.evidence.transferFailed = true;
    if (calls.trace != nullptr) calls.trace->io(*call);
}

} // namespace

kx3_session_host sessionHostCallbacks(HostCalls &calls) {
    kx3_session_host host{};
    host.struct_size = sizeof host;
    host.context = &calls;
    host.EndOperation = [](void *c) { return forward(c, "EndOperation", &Host::EndOperation, {}); };
    host.SetVcc = [](void *c, std::int32_t v) { return forward(c, "SetVcc", &Host::SetVcc, {"millivolts"}, v); };
    host.SetGndPin = [](void *c, std::uint8_t pin, std::uint8_t state) {
        return forward(c, "SetGndPin", &Host::SetGndPin, {"pin", "state"}, pin, state);
    };
    host.PowerStep = [](void *c, std::int32_t v) { return forward(c, "PowerStep", &Host::PowerStep, {"step"}, v); };
    host.SignalPass = [](void *c, std::int32_t v) { return forward(c, "SignalPass", &Host::SignalPass, {"value"}, v); };
    host.SignalFail = [](void *c, std::int32_t v) { return forward(c, "SignalFail", &Host::SignalFail, {"value"}, v); };
    host.StartCheck = [](void *c, std::int32_t *r) { return ask(c, "StartCheck", &Host::StartCheck, {}, r); };
    host.Delay = [](void *c, std::int32_t v) { return forward(c, "Delay", &Host::Delay, {"milliseconds"}, v); };
    host.PollStatus = pollStatus;
    host.ReportStartFailure = [](void *c) { return forward(c, "ReportStartFailure", &Host::ReportStartFailure, {}); };
    host.PrepareChip = [](void *c, std::uint8_t mode, std::int32_t *r) {
        return ask(c, "PrepareChip", &Host::PrepareChip, {"figmode"}, r, mode);
    };
    host.PrepareDevice32f = [](void *c, std::uint8_t mode, std::uint8_t zero, std::int32_t *r) {
        return ask(c, "PrepareDevice32f", &Host::PrepareDevice32f, {"figmode", "zero"}, r, mode, zero);
    };
    host.PrepareDevice = [](void *c, std::uint8_t mode, std::uint8_t zero, std::int32_t *r) {
        return ask(c, "PrepareDevice", &Host::PrepareDevice, {"figmode", "zero"}, r, mode, zero);
    };
    host.CompareWord = calls.trace != nullptr ? tracedCompareWord : compareWord;
    host.CompareByte = calls.trace != nullptr ? tracedCompareByte : compareByte;
    host.AlgorithmLoaded = [](void *c, std::int32_t v) {
        return forward(c, "AlgorithmLoaded", &Host::AlgorithmLoaded, {"length"}, v);
    };
    return host;
}

void observeIo(HostCalls &calls) { static_cast<void>(kx3_observe_io(noteIo, &calls)); }

} // namespace kx3console
