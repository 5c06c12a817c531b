#include "base/error.h"

#include "base/text.h"

#include <new>

namespace kx3 {

std::u16string_view standardDescription(ErrorNumber number) noexcept {
    switch (number) {
    case ErrorNumber::invalidCall: return u"Invalid procedure call or argument";
    case ErrorNumber::overflow: return u"Overflow";
    case ErrorNumber::outOfMemory: return u"Out of memory";
    case ErrorNumber::subscript: return u"Subscript out of range";
    case ErrorNumber::arrayLocked: return u"This array is fixed or temporarily locked";
    case ErrorNumber::divisionByZero: return u"Division by zero";
    case ErrorNumber::typeMismatch: return u"Type mismatch";
    case ErrorNumber::loadLibrary: return u"Error in loading DLL";
    case ErrorNumber::internal: return u"Internal error";
    case ErrorNumber::badName: return u"Bad file name";
    case ErrorNumber::fileNotFound: return u"File not found";
    case ErrorNumber::deviceIo: return u"Device I/O error";
    case ErrorNumber::alreadyExists: return u"File already exists";
    case ErrorNumber::noSpace: return u"Disk full";
    case ErrorNumber::tooManyFiles: return u"Too many files";
    case ErrorNumber::permissionDenied: return u"Permission denied";
    case ErrorNumber::badNamespace: return u"KX3MPU6_NAMESPACE takes letters, digits, '-' and '_' only";
    case ErrorNumber::objectNotSet: return u"Object variable not set";
    case ErrorNumber::resourceNotFound: return u"Resource with identifier not found";
    case ErrorNumber::cannotCreateObject: return u"Component can't create object";
    case ErrorNumber::memberNotFound: return u"Object doesn't support this property or method";
    case ErrorNumber::automation: return u"Automation error";
    case ErrorNumber::notAvailable: return u"Object doesn't support this action";
    case ErrorNumber::entryPointNotFound: return u"Can't find DLL entry point";
    }
    return u"Application-defined error";
}

void raise(ErrorNumber number) { raise(number, standardDescription(number)); }

void raise(ErrorNumber number, std::u16string_view description) { throw Error(number, std::u16string(description)); }

namespace {

Failure withoutText(ErrorNumber number) noexcept {
    // The short wording may fit no small buffer; a host that is out of memory gets the number alone.
    try {
        return {number, std::u16string(standardDescription(number))};
    } catch (...) {
        return {number, {}};
    }
}

} // namespace

Failure describeCurrentException() noexcept {
    try {
        throw;
    } catch (const Error &error) {
        try {
            return {error.number(), error.description()};
        } catch (...) {
            return withoutText(error.number());
        }
    } catch (const std::bad_alloc &) {
        return withoutText(ErrorNumber::outOfMemory);
    } catch (const std::exception &exception) {
        try {
            return {ErrorNumber::internal, u"Internal error: " + fromUtf8(exception.what())};
        } catch (...) {
            return withoutText(ErrorNumber::internal);
        }
    } catch (...) {
        return withoutText(ErrorNumber::internal);
    }
}

} // namespace kx3
