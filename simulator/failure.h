// The one exception of the simulated programmer; the C interface turns it into a status and a text.
#pragma once

#include "simulator/kx6sim.h"

#include <stdexcept>
#include <string>

namespace kx3sim {

class Failure : public std::runtime_error {
  public:
    Failure(kx6sim_status status, const std::string &text) : std::runtime_error(text), status_(status) {}
    [[nodiscard]] kx6sim_status status() const noexcept { return status_; }

  private:
    kx6sim_status status_;
};

} // namespace kx3sim
