// Errors that travel to the host: a classic automation run-time number and a description.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace kx3 {

/// Automation run-time error numbers that this plug-in raises. A door turns a number n into the
/// HRESULT 0x800A0000 + n, or into the C status n.
enum class ErrorNumber : std::int32_t {
    invalidCall = 5,
    overflow = 6,
    outOfMemory = 7,
    subscript = 9,
    arrayLocked = 10,
    divisionByZero = 11,
    typeMismatch = 13,
    loadLibrary = 48,
    internal = 51,
    badName = 52,
    fileNotFound = 53,
    deviceIo = 57,
    alreadyExists = 58,
    noSpace = 61,
    tooManyFiles = 67,
    permissionDenied = 70,
    badNamespace = 76,
    objectNotSet = 91,
    resourceNotFound = 326,
    cannotCreateObject = 429,
    memberNotFound = 438,
    automation = 440,
    notAvailable = 445,
    entryPointNotFound = 453,
};

/// The one exception type of the plug-in. Everything below a door throws this (or std::bad_alloc);
/// only the doors catch it.
class Error : public std::exception {
  public:
    Error(ErrorNumber number, std::u16string description) : number_(number), description_(std::move(description)) {}

    [[nodiscard]] ErrorNumber number() const noexcept { return number_; }
    [[nodiscard]] const std::u16string &description() const noexcept { return description_; }
    [[nodiscard]] const char *what() const noexcept override { return "kx3::Error"; }

  private:
    ErrorNumber number_;
    std::u16string description_;
};

/// Raise `number` with its standard wording ("Overflow", "Subscript out of range", ...).
[[noreturn]] void raise(ErrorNumber number);
/// Raise `number` with a description that names the culprit.
[[noreturn]] void raise(ErrorNumber number, std::u16string_view description);
/// Standard wording of an error number.
[[nodiscard]] std::u16string_view standardDescription(ErrorNumber number) noexcept;

/// Number and description of a failed call, as a door hands it out.
struct Failure {
    ErrorNumber number;
    std::u16string description;
};

/// Runs steps that must all be tried, and keeps the first error among them.
class FirstError {
  public:
    template <class Step> void attempt(Step step) {
        try {
            step();
        } catch (...) {
            if (!error_) error_ = std::current_exception();
        }
    }
    /// Raise the error that was kept, if any.
    void rethrow() const {
        if (error_) std::rethrow_exception(error_);
    }

  private:
    std::exception_ptr error_;
};

/// Describe the exception being handled. Call only inside a catch block. An exception of a foreign
/// type becomes the internal error; it never throws.
[[nodiscard]] Failure describeCurrentException() noexcept;

} // namespace kx3
