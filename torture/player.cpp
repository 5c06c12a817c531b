#include "player.h"

#include "base/text.h"

#include <algorithm>

namespace kx3::torture {

namespace {

using kx3sim::Signal;

bool contains(const Case &faulted, std::initializer_list<std::string_view> names) {
    return std::ranges::any_of(faulted.plan, [&](const Planned &planned) {
        return std::ranges::find(names, planned.fault->name) != names.end();
    });
}

bool failsAllocations(const Case &faulted) { return contains(faulted, {"allocation"}); }

/// The run takes the outside's word for something that is not so: the described steps do not doubt
/// it, and success then means what the outside has said.
bool isLie(const Case &faulted) {
    const Scenario &scenario = *faulted.scenario;
    // The data of a read are what arrives.
    if (scenario.bufferChanges && contains(faulted, {"read-corrupt"})) return true;
    // A comparison that ends a verify leaves the result to the host, which here finds no difference.
    if (contains(faulted, {"compare-stops", "gone"}) && scenario.operation == 5) return !scenario.passes;
    // A report that the host says did not come, and that comes when the next command was lost, is taken
    // for that command's: the status of a command packet decides nothing.
    const bool reportLate = contains(faulted, {"poll-missing", "poll-stale", "gone"});
    const bool commandLost =
        contains(faulted, {"write-fails", "write-lost", "write-overflow", "write-negative", "gone"});
    if (faulted.plan.size() > 1 && reportLate && commandLost) return true;
    // A programmer that says "stopped" without being asked ends an operation that it runs alone.
    return contains(faulted, {"poll-stopped"});
}

} // namespace

std::string replayArguments(const Case &faulted) {
    std::string text = "--scenario " + faulted.scenario->name;
    for (const Planned &planned : faulted.plan)
        text += " --call " + std::to_string(planned.call) + " --fault " + std::string(planned.fault->name) +
                (planned.fromThenOn ? " --from" : "");
    return text;
}

const Outcome &Player::reference(const Scenario &scenario) {
    constexpr std::size_t extraCalls = 5000;
    if (scenario_ == &scenario) return reference_;
    scenario_ = &scenario;
    reference_ = world_.play(scenario);
    budget_ = 2 * reference_.calls.size() + extraCalls;
    const bool passed = reference_.signal == Signal::pass;
    if (passed != scenario.passes || reference_.raised)
        throw std::runtime_error(scenario.name + " does not end as it should: " + toUtf8(reference_.log) +
                                 toUtf8(reference_.failure) + world_.programmer().trouble());
    return reference_;
}

std::string Player::play(const Case &faulted, bool &struck) {
    reference(*faulted.scenario);
    const Outcome outcome = world_.play(*faulted.scenario, faulted.plan, budget_);
    struck = outcome.struck;
    if (!struck) return {};
    if (std::string objection = judge(faulted, outcome); !objection.empty()) return objection;
    const Outcome next = world_.play(*faulted.scenario);
    if (next.raised || next.signal != reference_.signal) return "the next clean run ends otherwise";
    // A name that could not be removed is found, and removed, by the next one who opens the block.
    const bool sameCalls = next.digest == reference_.digest || faulted.scenario->kind == Kind::attachAlone;
    if (!sameCalls) return "the next clean run makes other calls";
    if (next.names != reference_.names || !next.attached) return "the next clean run leaves other blocks";
    if (next.log != reference_.log || next.buffer != reference_.buffer || next.chip != reference_.chip)
        return "the next clean run has another result";
    return next.objection;
}

std::string Player::judge(const Case &faulted, const Outcome &outcome) const {
    if (!outcome.objection.empty()) return outcome.objection;
    if (outcome.signal == Signal::pass)
        if (std::string objection = judgePass(faulted, outcome); !objection.empty()) return objection;
    if (std::string objection = judgeEnd(faulted, outcome); !objection.empty()) return objection;
    return judgeBuffer(outcome);
}

std::string Player::judgePass(const Case &faulted, const Outcome &outcome) const {
    if (isLie(faulted)) return {};
    // A message box has told that a block is missing; its zero is what the operation goes by.
    if (!outcome.attached && outcome.boxes > reference_.boxes) return {};
    if (reference_.signal != Signal::pass) return "FALSE OK: the operation cannot pass";
    if (outcome.chip != reference_.chip) return "FALSE OK: the chip is not as asked";
    if (outcome.buffer != reference_.buffer) return "FALSE OK: the buffer is not as asked";
    return {};
}

std::string Player::judgeEnd(const Case &faulted, const Outcome &outcome) const {
    const bool once = faulted.plan.size() == 1 && !faulted.plan.front().fromThenOn;
    if (faulted.scenario->kind == Kind::arm && once) {
        if (outcome.raised) return "a session raised instead of ending in order";
        const bool mayBeRefused = faulted.scenario->chipIdIsChecked;
        if (!mayBeRefused && !outcome.log.ends_with(u"Sec\n")) return "no time line: " + toUtf8(outcome.log);
    }
    if (!failsAllocations(faulted) || !once) return {};
    // An attach that finds another way to its block has lost nothing.
    if (faulted.scenario->kind >= Kind::attach && outcome.attached && outcome.boxes == reference_.boxes) return {};
    const bool told = outcome.raised ? *outcome.raised == ErrorNumber::outOfMemory
                                     : outcome.failure == standardDescription(ErrorNumber::outOfMemory) ||
                                           outcome.boxes > reference_.boxes;
    return told ? "" : "a failed allocation was not told as such";
}

/// Only bytes that the clean run writes may change, and a run that changes none writes none.
std::string Player::judgeBuffer(const Outcome &outcome) const {
    const Bytes &before = world_.image();
    if (outcome.buffer == before) return {};
    if (!scenario_->bufferChanges) return "the buffer changed";
    const std::size_t imageEnd = static_cast<std::size_t>(scenario_->target->device.bytes());
    const bool read = scenario_->kind != Kind::editor;
    constexpr std::size_t configurationBytes = 24;
    for (std::size_t i = 0; i < before.size(); ++i) {
        const bool target = read ? i < imageEnd + configurationBytes : reference_.buffer[i] != before[i];
        if (!target && outcome.buffer[i] != before[i])
            return "buffer byte " + std::to_string(i) + " outside the operation's target changed";
    }
    return {};
}

} // namespace kx3::torture
