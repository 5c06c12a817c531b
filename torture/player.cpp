#include "player.h"

#include "base/text.h"

#include <algorithm>
#include <tuple>

namespace kx3::torture {

namespace {

using kx3sim::Signal;

/// The run takes the outside's word for something that is not so: the described steps do not doubt
/// it, and success then means what the outside has said.
bool isLie(const Case &faulted) {
    constexpr Byte verify = 5;
    const Scenario &scenario = *faulted.scenario;
    // The data of a read are what arrives.
    if (scenario.bufferChanges && faulted.has({"read-corrupt"})) return true;
    // A comparison that ends a verify leaves the result to the host, which here finds no difference.
    if (faulted.has({"compare=1", "gone"}) && scenario.operation == verify) return !scenario.passes;
    // A report that the host says did not come, and that comes when the next command was lost, is taken
    // for that command's: the status of a command packet decides nothing.
    if (faulted.plan.size() > 1 && faulted.has({"poll=", "gone"}) && faulted.has({"write=", "gone"})) return true;
    // A programmer that says "stopped" without being asked ends an operation that it runs alone.
    return faulted.has({"poll-stopped"});
}

using Objection = std::string; ///< empty when there is none

Objection judgePass(const Case &faulted, const Outcome &outcome, const Outcome &reference) {
    if (outcome.signal != Signal::pass || isLie(faulted)) return {};
    // A message box has told that a block is missing; its zero is what the operation goes by.
    if (!outcome.attached && outcome.boxes > reference.boxes) return {};
    if (reference.signal != Signal::pass) return "FALSE OK: the operation cannot pass";
    if (outcome.chip != reference.chip) return "FALSE OK: the chip is not as asked";
    if (outcome.buffer != reference.buffer) return "FALSE OK: the buffer is not as asked";
    return {};
}

/// With one fault that strikes once: an ARM session ends in order, a failed allocation is told.
Objection judgeEnd(const Case &faulted, const Outcome &outcome, const Outcome &reference) {
    const Scenario &scenario = *faulted.scenario;
    if (faulted.plan.size() > 1 || faulted.plan.front().fromThenOn) return {};
    if (scenario.kind == Kind::arm) {
        if (outcome.raised) return "a session raised instead of ending in order";
        const bool mayBeRefused = scenario.chipIdIsChecked;
        if (!mayBeRefused && !outcome.log.ends_with(u"Sec\n")) return "no time line: " + toUtf8(outcome.log);
    }
    // An attach that finds another way to its block has lost nothing.
    const bool anotherWay = scenario.kind >= Kind::attach && outcome.attached && outcome.boxes == reference.boxes;
    if (!faulted.has({"allocation"}) || anotherWay) return {};
    const bool told = outcome.raised ? *outcome.raised == ErrorNumber::outOfMemory
                                     : outcome.failure == standardDescription(ErrorNumber::outOfMemory) ||
                                           outcome.boxes > reference.boxes;
    return told ? "" : "a failed allocation was not told as such";
}

/// Only bytes that the clean run writes may change, and a run that changes none writes none.
Objection judgeBuffer(const Case &faulted, const Outcome &outcome, const Outcome &reference, const Bytes &before) {
    const Scenario &scenario = *faulted.scenario;
    constexpr std::size_t configurationBytes = 24;
    const std::size_t readBytes = static_cast<std::size_t>(scenario.target->device.bytes()) + configurationBytes;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (outcome.buffer[i] == before[i]) continue;
        const bool mayChange = scenario.kind == Kind::editor ? reference.buffer[i] != before[i] : i < readBytes;
        if (!scenario.bufferChanges || !mayChange)
            return "buffer byte " + std::to_string(i) + " outside the operation's target changed";
    }
    return {};
}

Objection judgeNext(const Case &faulted, const Outcome &next, const Outcome &reference) {
    // A name that could not be removed is found, and removed, by the next one who opens the block.
    const bool sameCalls = next.trace.digest == reference.trace.digest || faulted.scenario->kind == Kind::attachAlone;
    if (!sameCalls) return "the next clean run makes other calls";
    const auto result = [](const Outcome &of) {
        return std::tie(of.raised, of.signal, of.names, of.log, of.buffer, of.chip);
    };
    if (!next.attached || result(next) != result(reference)) return "the next clean run has another result";
    return next.objection;
}

} // namespace

std::string Case::arguments() const {
    std::string text = "--replay " + scenario->name;
    for (const Planned &planned : plan)
        text += ' ' + std::to_string(planned.call) + ' ' + planned.fault->name + (planned.fromThenOn ? " from" : "");
    return text;
}

bool Case::has(std::initializer_list<std::string_view> names) const {
    return std::ranges::any_of(plan, [&](const Planned &planned) {
        return std::ranges::any_of(names, [&](auto name) { return planned.fault->name.starts_with(name); });
    });
}

const Outcome &Player::reference(const Scenario &scenario) {
    if (scenario_ == &scenario) return reference_;
    if (scenario_ == nullptr || scenario_->target != scenario.target) {
        world_.reset();
        world_.emplace(*scenario.target);
    }
    scenario_ = &scenario;
    reference_ = world_->play(scenario);
    if ((reference_.signal == Signal::pass) != scenario.passes || reference_.raised)
        throw std::runtime_error(scenario.name + " does not end as it should: " + toUtf8(reference_.log) +
                                 toUtf8(reference_.failure) + world_->programmer().trouble());
    return reference_;
}

std::optional<std::string> Player::play(const Case &faulted) {
    constexpr std::size_t extraCalls = 5000;
    const std::size_t budget = 2 * reference(*faulted.scenario).trace.calls.size() + extraCalls;
    const Outcome outcome = world_->play(*faulted.scenario, faulted.plan, budget);
    if (!outcome.trace.struck) return std::nullopt;
    for (const Objection &objection :
         {outcome.objection, judgePass(faulted, outcome, reference_), judgeEnd(faulted, outcome, reference_),
          judgeBuffer(faulted, outcome, reference_, world_->image())})
        if (!objection.empty()) return objection;
    return judgeNext(faulted, world_->play(*faulted.scenario), reference_);
}

} // namespace kx3::torture
