#include "outcome.h"

#include "configuration.h"

#include <fmt/format.h>

namespace kx3console {

namespace {

constexpr std::string_view eraseAndTryAgain =
    "Erase the device and try again; if that does not help, it is protected or worn out.";
constexpr std::string_view checkConnection = "Check the programmer, its connection and the device in the socket.";

/// `text` in front of what the session host or the driver has to say.
std::string with(std::string_view text, const std::string &reason) {
    return reason.empty() ? std::string(text) : fmt::format("{}: {}", text, reason);
}

std::string plural(std::uint64_t count, std::string_view one) {
    return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}

/// What lies at an address of the device buffer.
std::string placeInDevice(std::int64_t address, const Profile &profile) {
    if (address < profile.dataBytes())
        return fmt::format("address 0x{:X}", profile.loadBase() + static_cast<std::uint64_t>(address));
    const auto behindData = static_cast<std::size_t>(address - profile.dataBytes());
    const std::size_t configurationBytes = configurationBytesOf(profile);
    if (behindData < configurationBytes)
        return fmt::format("configuration byte {}", configurationName(profile, behindData));
    return fmt::format("EEPROM address 0x{:X}", behindData - configurationBytes);
}

Failure contentsDiffer(const kx3sim::Mismatches &found, const Profile &profile) {
    return {Exit::differs,
            fmt::format("the device differs from the load file: first at {}, device 0x{:02X}, file 0x{:02X}; "
                        "{} in all, {} 0 instead of 1, {} 1 instead of 0",
                        placeInDevice(found.firstAddress, profile), found.firstDevice, found.firstBuffer,
                        found.bytes == 1 ? "1 byte differs" : fmt::format("{} bytes differ", found.bytes),
                        plural(found.zeroInsteadOfOne, "bit"), plural(found.oneInsteadOfZero, "bit")),
            found.oneInsteadOfZero > 0 ? "Program the device with this file; if that does not help, it is worn out."
                                       : "Erase and program the device again; if that does not help, it is worn out."};
}

/// What a compare event of the programmer says.
std::string placeOf(const StatusReport &report, const Profile &profile, bool withBuffer) {
    const bool words = profile.integer(ProfileKey::bytes_per_address) == 2;
    const int digits = words ? 4 : 2;
    const int mask = words ? 0xFFFF : 0xFF;
    std::string text =
        fmt::format("address 0x{:X}, device 0x{:0{}X}", report.address, report.deviceData & mask, digits);
    if (withBuffer) text += fmt::format(", file 0x{:0{}X}", report.bufferData & mask, digits);
    return text;
}

Failure noAnswer(std::string_view what, const Evidence &seen) {
    return {Exit::noAnswer, with(what, seen.trouble), std::string(checkConnection)};
}

Failure reportedFailure(const StatusReport &report, const Evidence &seen, Operation operation, const Profile &profile) {
    if (report.event == StatusReport::identityError)
        return {Exit::noAnswer, with("the device in the socket is another one, or is protected", seen.trouble),
                "Check the device's name; a protected device must be erased first."};
    if (operation == Operation::checkConfiguration)
        return {Exit::differs, "the configuration bytes differ: " + placeOf(report, profile, true),
                "Program the device with these."};
    if (operation == Operation::blankCheck)
        return {Exit::differs, "the device is not blank: " + placeOf(report, profile, false), "Erase the device."};
    const std::string_view stage = report.stageName();
    const std::string where = stage.empty() ? "" : fmt::format(" in stage {}", stage);
    return {Exit::failed,
            with(fmt::format("the device failed{}: {}", where, placeOf(report, profile, true)), seen.trouble),
            std::string(eraseAndTryAgain)};
}

Failure aborted(const Evidence &seen) {
    if (seen.reportMissing) return noAnswer("no status report came from the programmer", seen);
    if (seen.transferFailed) return noAnswer("a transfer to or from the programmer failed", seen);
    const std::string &reason = seen.sessionFailure.empty() ? seen.trouble : seen.sessionFailure;
    return {Exit::failed, with("the session with the programmer was broken off", reason), std::string(checkConnection)};
}

/// A step that the host carried out itself.
Failure stepFailure(const Evidence &seen) {
    if (seen.step == Operation::blankCheck)
        return {Exit::differs, "the device is not blank",
                "Erase the device; an automatic sequence goes on all the same with --yes."};
    return {Exit::failed, with(fmt::format("step {} failed", seen.stepName), seen.trouble),
            std::string(eraseAndTryAgain)};
}

Failure stopped(const Evidence &seen) {
    if (seen.stopRequested)
        return {Exit::stopped, "stopped", "The device may be half done; erase or program it again."};
    if (seen.identityQuestion)
        return {Exit::noAnswer, "the chip's identifier is not that of the device",
                "Check the device in the socket and its name."};
    if (seen.lastReport && seen.lastReport->event == StatusReport::compareError)
        return {Exit::noAnswer, "the programmer could not read the chip's identifier", std::string(checkConnection)};
    return {Exit::failed, with("the programmer stopped the operation by itself", seen.trouble),
            std::string(checkConnection)};
}

/// Ends before the operation itself has begun.
std::optional<Failure> refusedStart(const Evidence &seen, const std::string &algorithmProblem) {
    if (!seen.callFailure.empty())
        return Failure(Exit::failed, "the plug-in cannot run this operation: " + seen.callFailure,
                       "Choose another device or operation.");
    if (seen.startRefused) return noAnswer("the programmer is not ready", seen);
    if (seen.deviceRefused && seen.chipFileUsed)
        return Failure(Exit::badFile, with("the device cannot be prepared", seen.trouble),
                       "Give the chip file of this device, or a new name for a blank chip.");
    if (seen.deviceRefused) return noAnswer("the device cannot be prepared", seen);
    if (!seen.hostDriven && !seen.algorithmLoaded && seen.sessionFailure.empty())
        return Failure(Exit::badFile, algorithmProblem,
                       "Put the image there, or name the right directory with --algorithm-dir.");
    return std::nullopt;
}

} // namespace

std::optional<Failure> judge(const Evidence &seen, Operation operation, const Profile &profile,
                             const std::string &algorithmProblem) {
    if (auto refused = refusedStart(seen, algorithmProblem)) return refused;
    if (seen.resultCode == resultUnknownOperation && seen.step)
        return Failure(Exit::failed,
                       fmt::format("the device's automatic sequence has operation {}, which does not exist",
                                   static_cast<int>(*seen.step)),
                       "Correct auto_sequence in its profile.");
    // An abort of the identifier test leaves no result code when the host drives the device.
    if (seen.resultCode == resultStopped || seen.identityQuestion) return stopped(seen);
    if (seen.differences.bytes > 0) return contentsDiffer(seen.differences, profile);
    if (seen.resultCode == resultFailed) {
        if (seen.step) return stepFailure(seen);
        if (seen.lastReport && seen.lastReport->event != 0)
            return reportedFailure(*seen.lastReport, seen, operation, profile);
        if (!seen.transferFailed)
            return Failure(Exit::failed, with("the operation failed", seen.trouble), "The log says where.");
    }
    if (seen.signalledPass && seen.resultCode == resultPassed) return std::nullopt;
    return aborted(seen);
}

} // namespace kx3console
