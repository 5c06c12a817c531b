// The command line of `mpu6 config` and `mpu6 notes`.
#pragma once

#include "request.h"

#include <memory>
#include <optional>

namespace CLI {
class App;
}

namespace kx3console::config {

/// Adds its commands to the program's, and has the request once one of them has been read.
class CommandLine {
  public:
    explicit CommandLine(CLI::App &program);
    ~CommandLine();
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;

    /// Nothing when another command was given. Fails with Exit::usage for values that make no sense.
    [[nodiscard]] std::optional<Request> request() const;

  private:
    struct Values;
    std::unique_ptr<Values> values_;
};

} // namespace kx3console::config
