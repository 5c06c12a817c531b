// The one exception of the console host: what went wrong, where, and what to do about it.
#pragma once

#include "exit_codes.h"

#include <exception>
#include <string>
#include <utility>

namespace kx3console {

class Failure : public std::exception {
  public:
    /// `message` says what and where in one sentence without a full stop; `advice` what to do, may
    /// be empty.
    Failure(Exit code, std::string message, std::string advice = {})
        : code_(code), message_(std::move(message)), advice_(std::move(advice)) {}

    [[nodiscard]] Exit code() const noexcept { return code_; }
    [[nodiscard]] const std::string &message() const noexcept { return message_; }
    [[nodiscard]] const std::string &advice() const noexcept { return advice_; }
    [[nodiscard]] const char *what() const noexcept override { return message_.c_str(); }

  private:
    Exit code_;
    std::string message_;
    std::string advice_;
};

} // namespace kx3console
