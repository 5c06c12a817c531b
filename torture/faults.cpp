#include "faults.h"

#include <algorithm>
#include <cerrno>

namespace kx3::torture {

namespace {

using enum Point;
using enum Effect;

std::vector<Fault> table() {
    struct Row {
        std::string name;
        std::pair<Point, Point> points;
        Effect effect;
        std::vector<Long> values = {0};
    };
    const auto at = [](Point point) { return std::pair(point, point); };
    const Row rows[] = {
        {"gone", {comWrite, order}, disconnected},
        {"raises", {comWrite, yield}, raise, {440}},
        {"foreign", {comWrite, yield}, foreign},
        {"library-missing", {comWrite, digits}, raise, {53}},
        {"write", at(comWrite), instead, {0, 1, -1, 256}},
        {"write-late", at(comWrite), afterwards, {1}},
        {"bulk", at(bulkWrite), instead, {0, 1}},
        {"bulk-late", at(bulkWrite), afterwards, {1, 5, 256}},
        {"bulk-half", at(bulkWrite), half},
        {"read", at(bulkRead), instead, {4, 255}},
        {"read-never", at(bulkRead), never, {4}},
        {"read-corrupt", at(bulkRead), corrupt},
        {"digits", at(digits), instead, {0, 300}},
        {"poll", at(poll), instead, {0, 1}},
        {"poll-event", at(poll), event, {0xFA, 0xF9}},
        {"poll-stopped", at(poll), event, {0x1E}},
        {"poll-garbage", at(poll), garbage},
        {"start", at(startCheck), instead, {1, 256}},
        {"prepare", at(prepare), instead, {1, 2, -1}},
        {"compare", at(compare), afterwards, {1, -1}},
        {"box", at(messageBox), answer, {0, 1, 2, 3, 4, 5}},
        {"modal-leaves-open", at(modal), leaveOpen},
        {"reenters", {modal, yield}, reenter},
        {"yield", at(yield), stop, {1, 2, 3}},
        {"clock", at(clock), instead, {0, -100000}},
        {"system", at(system), fails, {ENOMEM, EACCES, EINTR}},
        {"allocation", at(allocation), fails},
    };
    std::vector<Fault> all;
    for (const auto &[name, points, effect, values] : rows)
        for (const Long value : values) {
            const std::string several = values.size() > 1 ? '=' + std::to_string(value) : "";
            all.push_back({name + several, points.first, points.second, effect, value});
        }
    return all;
}

} // namespace

std::span<const Fault> allFaults() {
    static const std::vector<Fault> faults = table();
    return faults;
}

const Fault *findFault(std::string_view name) {
    const auto found = std::ranges::find(allFaults(), name, &Fault::name);
    return found == allFaults().end() ? nullptr : &*found;
}

Injector &injector() noexcept {
    static constinit Injector instance;
    return instance;
}

void Injector::arm(std::vector<Planned> plan, std::size_t budget) {
    plan_ = std::move(plan);
    budget_ = budget;
    trace_ = {};
    armed_ = true;
}

Trace Injector::disarm() noexcept {
    armed_ = false;
    return std::move(trace_);
}

const Fault *Injector::strike(Point point) {
    if (!armed_) return nullptr;
    trace_.calls.push_back(point);
    trace(static_cast<int>(point));
    return due(point, trace_.calls.size());
}

bool Injector::strikeAllocation() noexcept {
    return insidePlugIn() && due(Point::allocation, ++trace_.allocations) != nullptr;
}

const Fault *Injector::due(Point point, std::uint64_t call) noexcept {
    for (Planned &planned : plan_) {
        const bool strikes = call >= planned.call && (planned.fromThenOn || !planned.struck);
        if (!strikes || !planned.fault->applies(point)) continue;
        planned.struck = trace_.struck = true;
        return planned.fault;
    }
    return nullptr;
}

void Injector::traceBytes(std::span<const Byte> bytes) noexcept {
    trace(bytes.size());
    for (const Byte byte : bytes)
        trace(byte);
}

} // namespace kx3::torture
