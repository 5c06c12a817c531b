// Plays scenarios with faults and asks whether every promise was kept.
#pragma once

#include "world.h"

namespace kx3::torture {

/// One faulted run.
struct Case {
    const Scenario *scenario;
    std::vector<Planned> plan;
};

/// Arguments of this program that play `faulted` again.
[[nodiscard]] std::string replayArguments(const Case &faulted);

/// All scenarios of one target.
class Player {
  public:
    explicit Player(const Target &target) : world_(target) {}

    /// The run without faults; it must end as the scenario says. Kept for the newest scenario.
    const Outcome &reference(const Scenario &scenario);
    /// What was wrong with a faulted run, or with the clean run after it; empty when all was well.
    /// `struck` tells whether a fault struck at all.
    [[nodiscard]] std::string play(const Case &faulted, bool &struck);

  private:
    [[nodiscard]] std::string judge(const Case &faulted, const Outcome &outcome) const;
    [[nodiscard]] std::string judgePass(const Case &faulted, const Outcome &outcome) const;
    [[nodiscard]] std::string judgeEnd(const Case &faulted, const Outcome &outcome) const;
    [[nodiscard]] std::string judgeBuffer(const Outcome &outcome) const;

    World world_;
    const Scenario *scenario_ = nullptr;
    Outcome reference_;
    std::size_t budget_ = 0;
};

/// The player of the newest scenario's target: there is one programmer at a time.
class Players {
  public:
    Player &of(const Scenario &scenario) {
        if (target_ != scenario.target) player_.reset();
        if (!player_) player_.emplace(*scenario.target);
        target_ = scenario.target;
        return *player_;
    }

  private:
    std::optional<Player> player_;
    const Target *target_ = nullptr;
};

} // namespace kx3::torture
