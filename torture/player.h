// Plays scenarios with faults and asks whether every promise was kept.
#pragma once

#include "world.h"

namespace kx3::torture {

/// One faulted run.
struct Case {
    const Scenario *scenario;
    std::vector<Planned> plan;

    /// Arguments of this program that play it again.
    [[nodiscard]] std::string arguments() const;
    /// Whether one of the faults has a name that begins like this.
    [[nodiscard]] bool has(std::initializer_list<std::string_view> names) const;
};

/// Plays on the target of the newest scenario: there is one programmer at a time.
class Player {
  public:
    /// The run without faults; it must end as the scenario says. Kept for the newest scenario.
    const Outcome &reference(const Scenario &scenario);
    /// What was wrong with a faulted run, or with the clean run after it; an empty text when all was well,
    /// nothing when no fault struck.
    [[nodiscard]] std::optional<std::string> play(const Case &faulted);

  private:
    std::optional<World> world_;
    const Scenario *scenario_ = nullptr;
    Outcome reference_;
};

} // namespace kx3::torture
