#include "injector.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace kx3::torture {

namespace {

constexpr std::array faults{
    Fault{"gone", Point::any, Effect::disconnected},
    Fault{"write-fails", Point::comWrite, Effect::instead, 1},
    Fault{"write-lost", Point::comWrite, Effect::instead, 0},
    Fault{"write-late", Point::comWrite, Effect::afterwards, 1},
    Fault{"write-overflow", Point::comWrite, Effect::instead, 256},
    Fault{"write-negative", Point::comWrite, Effect::instead, -1},
    Fault{"write-entry-missing", Point::comWrite, Effect::raise, 453},
    Fault{"write-foreign", Point::comWrite, Effect::foreign},
    Fault{"bulk-fails", Point::bulkWrite, Effect::instead, 1},
    Fault{"bulk-lost", Point::bulkWrite, Effect::instead, 0},
    Fault{"bulk-late", Point::bulkWrite, Effect::afterwards, 1},
    Fault{"bulk-half", Point::bulkWrite, Effect::half},
    Fault{"bulk-overflow", Point::bulkWrite, Effect::afterwards, 256},
    Fault{"bulk-other-status", Point::bulkWrite, Effect::afterwards, 5},
    Fault{"bulk-library-missing", Point::bulkWrite, Effect::raise, 53},
    Fault{"bulk-foreign", Point::bulkWrite, Effect::foreign},
    Fault{"read-fails", Point::bulkRead, Effect::instead, 4},
    Fault{"read-state-255", Point::bulkRead, Effect::instead, 255},
    Fault{"read-never", Point::bulkRead, Effect::never, 4},
    Fault{"read-corrupt", Point::bulkRead, Effect::corrupt},
    Fault{"read-raises", Point::bulkRead, Effect::raise, 57},
    Fault{"read-foreign", Point::bulkRead, Effect::foreign},
    Fault{"digits-raise", Point::digits, Effect::raise, 453},
    Fault{"digits-foreign", Point::digits, Effect::foreign},
    Fault{"digits-none", Point::digits, Effect::instead, 0},
    Fault{"digits-many", Point::digits, Effect::instead, 300},
    Fault{"poll-missing", Point::poll, Effect::instead, 0},
    Fault{"poll-stale", Point::poll, Effect::instead, 1},
    Fault{"poll-raises", Point::poll, Effect::raise, 440},
    Fault{"poll-foreign", Point::poll, Effect::foreign},
    Fault{"poll-compare-error", Point::poll, Effect::event, 0xFA},
    Fault{"poll-identity-error", Point::poll, Effect::event, 0xF9},
    Fault{"poll-stopped", Point::poll, Effect::event, 0x1E},
    Fault{"poll-garbage", Point::poll, Effect::garbage},
    Fault{"start-refused", Point::startCheck, Effect::instead, 1},
    Fault{"start-overflow", Point::startCheck, Effect::instead, 256},
    Fault{"start-raises", Point::startCheck, Effect::raise, 91},
    Fault{"start-foreign", Point::startCheck, Effect::foreign},
    Fault{"prepare-refused", Point::prepare, Effect::instead, 2},
    Fault{"prepare-one", Point::prepare, Effect::instead, 1},
    Fault{"prepare-negative", Point::prepare, Effect::instead, -1},
    Fault{"prepare-raises", Point::prepare, Effect::raise, 438},
    Fault{"prepare-foreign", Point::prepare, Effect::foreign},
    Fault{"compare-raises", Point::compare, Effect::raise, 440},
    Fault{"compare-foreign", Point::compare, Effect::foreign},
    Fault{"compare-stops", Point::compare, Effect::afterwards, 1},
    Fault{"compare-negative", Point::compare, Effect::afterwards, -1},
    Fault{"order-raises", Point::order, Effect::raise, 440},
    Fault{"order-foreign", Point::order, Effect::foreign},
    Fault{"box-raises", Point::messageBox, Effect::raise, 445},
    Fault{"box-foreign", Point::messageBox, Effect::foreign},
    Fault{"box-ok", Point::messageBox, Effect::answer, 1},
    Fault{"box-cancel", Point::messageBox, Effect::answer, 2},
    Fault{"box-abort", Point::messageBox, Effect::answer, 3},
    Fault{"box-retry", Point::messageBox, Effect::answer, 4},
    Fault{"box-ignore", Point::messageBox, Effect::answer, 5},
    Fault{"box-none", Point::messageBox, Effect::answer, 0},
    Fault{"modal-raises", Point::modal, Effect::raise, 445},
    Fault{"modal-foreign", Point::modal, Effect::foreign},
    Fault{"modal-leaves-open", Point::modal, Effect::leaveOpen},
    Fault{"modal-reenters", Point::modal, Effect::reenter},
    Fault{"yield-raises", Point::yield, Effect::raise, 440},
    Fault{"yield-foreign", Point::yield, Effect::foreign},
    Fault{"yield-failed", Point::yield, Effect::stop, 1},
    Fault{"yield-stop", Point::yield, Effect::stop, 2},
    Fault{"yield-error", Point::yield, Effect::stop, 3},
    Fault{"yield-reenters", Point::yield, Effect::reenter},
    Fault{"clock-midnight", Point::clock, Effect::instead, 0},
    Fault{"clock-negative", Point::clock, Effect::instead, -100000},
    Fault{"system-no-memory", Point::system, Effect::systemError, ENOMEM},
    Fault{"system-denied", Point::system, Effect::systemError, EACCES},
    Fault{"system-interrupted", Point::system, Effect::systemError, EINTR},
    Fault{"allocation", Point::allocation, Effect::outOfMemory},
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
        if (!due || !applies(*planned.fault, point)) continue;
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
        if (!due || planned.fault->point != Point::allocation) continue;
        planned.struck = true;
        return true;
    }
    return false;
}

bool Injector::anyStruck() const noexcept { return std::ranges::any_of(plan_, &Planned::struck); }

void Injector::traceBytes(std::span<const Byte> bytes) noexcept {
    trace(bytes.size());
    for (const Byte byte : bytes)
        mix(byte);
}

} // namespace kx3::torture
