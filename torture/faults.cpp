#include "faults.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace kx3::torture {

namespace {

using enum Point;
using enum Effect;

constexpr Points transfers = comWrite | bulkWrite | bulkRead | digits;
constexpr Points driverCalls = transfers | poll | startCheck | prepare | compare | order;
constexpr Points raisingCalls = driverCalls | messageBox | modal | yield;

constexpr std::array faults{
    Fault{"gone", driverCalls, disconnected},
    Fault{"raises", raisingCalls, raise, 440},
    Fault{"foreign", raisingCalls, foreign},
    Fault{"library-missing", transfers, raise, 53},
    Fault{"write-fails", comWrite, instead, 1},
    Fault{"write-lost", comWrite, instead, 0},
    Fault{"write-late", comWrite, afterwards, 1},
    Fault{"write-overflow", comWrite, instead, 256},
    Fault{"write-negative", comWrite, instead, -1},
    Fault{"bulk-fails", bulkWrite, instead, 1},
    Fault{"bulk-lost", bulkWrite, instead, 0},
    Fault{"bulk-late", bulkWrite, afterwards, 1},
    Fault{"bulk-half", bulkWrite, half},
    Fault{"bulk-overflow", bulkWrite, afterwards, 256},
    Fault{"bulk-other-status", bulkWrite, afterwards, 5},
    Fault{"read-fails", bulkRead, instead, 4},
    Fault{"read-state-255", bulkRead, instead, 255},
    Fault{"read-never", bulkRead, never, 4},
    Fault{"read-corrupt", bulkRead, corrupt},
    Fault{"digits-none", digits, instead, 0},
    Fault{"digits-many", digits, instead, 300},
    Fault{"poll-missing", poll, instead, 0},
    Fault{"poll-stale", poll, instead, 1},
    Fault{"poll-compare-error", poll, event, 0xFA},
    Fault{"poll-identity-error", poll, event, 0xF9},
    Fault{"poll-stopped", poll, event, 0x1E},
    Fault{"poll-garbage", poll, garbage},
    Fault{"start-refused", startCheck, instead, 1},
    Fault{"start-overflow", startCheck, instead, 256},
    Fault{"prepare-refused", prepare, instead, 2},
    Fault{"prepare-one", prepare, instead, 1},
    Fault{"prepare-negative", prepare, instead, -1},
    Fault{"compare-stops", compare, afterwards, 1},
    Fault{"compare-negative", compare, afterwards, -1},
    Fault{"box-ok", messageBox, answer, 1},
    Fault{"box-cancel", messageBox, answer, 2},
    Fault{"box-abort", messageBox, answer, 3},
    Fault{"box-retry", messageBox, answer, 4},
    Fault{"box-ignore", messageBox, answer, 5},
    Fault{"box-none", messageBox, answer, 0},
    Fault{"modal-leaves-open", modal, leaveOpen},
    Fault{"reenters", modal | yield, reenter},
    Fault{"yield-failed", yield, stop, 1},
    Fault{"yield-stop", yield, stop, 2},
    Fault{"yield-error", yield, stop, 3},
    Fault{"clock-midnight", clock, instead, 0},
    Fault{"clock-negative", clock, instead, -100000},
    Fault{"system-no-memory", system, systemError, ENOMEM},
    Fault{"system-denied", system, systemError, EACCES},
    Fault{"system-interrupted", system, systemError, EINTR},
    Fault{"allocation", allocation, outOfMemory},
};

} // namespace

std::span<const Fault> allFaults() { return faults; }

const Fault *findFault(std::string_view name) {
    const auto *found = std::ranges::find(faults, name, &Fault::name);
    return found == faults.end() ? nullptr : found;
}

Injector &injector() noexcept {
    static constinit Injector instance;
    return instance;
}

void Injector::arm(std::vector<Planned> plan, std::size_t budget) {
    plan_ = std::move(plan);
    budget_ = budget;
    calls_.clear();
    allocations_ = 0;
    digest_ = 0xCBF29CE484222325U;
    armed_ = true;
}

const Fault *Injector::strike(Point point) {
    if (!armed_) return nullptr;
    calls_.push_back(point);
    trace(static_cast<int>(point));
    for (Planned &planned : plan_) {
        const bool due = calls_.size() >= planned.call && (planned.fromThenOn || !planned.struck);
        if (!due || !planned.fault->applies(point)) continue;
        planned.struck = true;
        return planned.fault;
    }
    return nullptr;
}

bool Injector::strikeAllocation() noexcept {
    if (!insidePlugIn()) return false;
    ++allocations_;
    for (Planned &planned : plan_) {
        const bool due = allocations_ == planned.call || (planned.fromThenOn && allocations_ > planned.call);
        if (!due || !planned.fault->applies(Point::allocation)) continue;
        planned.struck = true;
        return true;
    }
    return false;
}

bool Injector::anyStruck() const noexcept { return std::ranges::any_of(plan_, &Planned::struck); }

void Injector::traceBytes(std::span<const Byte> bytes) noexcept {
    trace(bytes.size());
    for (const Byte byte : bytes)
        trace(byte);
}

} // namespace kx3::torture
