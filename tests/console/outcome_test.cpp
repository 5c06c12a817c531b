#include "outcome.h"

#include <gtest/gtest.h>
#include <ostream>

namespace kx3console {
namespace {

constexpr StatusReport compareError{100, StatusReport::compareError, 0x32, 0x1234, 0xBEEF, 0xCAFE};
constexpr StatusReport identityError{100, StatusReport::identityError, 0, 0, 0, 0};

/// A device of 0x8000 bytes of words or bytes, whose fuses have names.
OutcomeContext contextOf(Operation operation, std::int64_t bytesPerAddress, std::uint64_t loadBase) {
    return {operation, bytesPerAddress, loadBase, 0x8000, 16, 55, "the image is bad"};
}

struct Case {
    const char *what;
    Operation operation;
    void (*change)(Evidence &seen); ///< of an operation that passed
    Exit code;
    const char *message; ///< part of it

    friend std::ostream &operator<<(std::ostream &out, const Case &c) { return out << c.what; }
};

class Outcomes : public testing::TestWithParam<Case> {};

TEST_P(Outcomes, AreTold) {
    Evidence seen;
    seen.algorithmLoaded = true;
    seen.signalledPass = true;
    GetParam().change(seen);
    const Outcome outcome = judge(seen, contextOf(GetParam().operation, 1, 0x100));
    EXPECT_EQ(outcome.code, GetParam().code) << outcome.message;
    EXPECT_NE(outcome.message.find(GetParam().message), std::string::npos) << outcome.message;
    EXPECT_EQ(outcome.message.empty(), outcome.code == Exit::done);
}

void noSignal(Evidence &seen) { seen.signalledPass = false; }
void failed(Evidence &seen) {
    seen.signalledPass = false;
    seen.resultCode = 1;
}
void stopped(Evidence &seen) {
    seen.signalledPass = false;
    seen.resultCode = 2;
}

template <std::int64_t address> void differs(Evidence &seen) {
    failed(seen);
    seen.differences = {1, address, 0x00, 0x03, 2, 0};
}
/// The host carries the steps out by itself: no image, no reports.
template <Operation step, std::uint8_t code> void hostDriven(Evidence &seen) {
    failed(seen);
    seen.hostDriven = true;
    seen.algorithmLoaded = false;
    seen.resultCode = code;
    seen.step = step;
    seen.stepName = "Step";
}

INSTANTIATE_TEST_SUITE_P(
    HostDriven, Outcomes,
    testing::Values(
        Case{"passed without an image", Operation::automatic,
             [](Evidence &seen) {
                 hostDriven<Operation::verify, 0>(seen);
                 seen.signalledPass = true;
             },
             Exit::done, ""},
        Case{"blank check as a step", Operation::automatic, hostDriven<Operation::blankCheck, 1>, Exit::differs,
             "not blank"},
        Case{"another step", Operation::automatic, hostDriven<Operation::program, 1>, Exit::failed, "step Step failed"},
        Case{"unknown step", Operation::automatic, hostDriven<Operation{19}, 3>, Exit::failed, "operation 19"},
        Case{"stopped between steps", Operation::automatic,
             [](Evidence &seen) {
                 hostDriven<Operation::program, 2>(seen);
                 seen.stopRequested = true;
             },
             Exit::stopped, "stopped"},
        Case{"aborted before the first step", Operation::automatic,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.hostDriven = seen.identityQuestion = true;
             },
             Exit::noAnswer, "identifier"},
        Case{"last byte of the data", Operation::verify, differs<0x7FFF>, Exit::differs, "at address 0x80FF,"},
        Case{"named configuration byte", Operation::verify, differs<0x8007>, Exit::differs, "byte lock,"},
        Case{"nameless configuration byte", Operation::verify, differs<0x8003>, Exit::differs, "byte 3,"},
        Case{"EEPROM", Operation::verify, differs<0x8012>, Exit::differs, "EEPROM address 0x2,"}));

INSTANTIATE_TEST_SUITE_P(
    Ends, Outcomes,
    testing::Values(
        Case{"passed", Operation::program, [](Evidence &) {}, Exit::done, ""},
        Case{"no signal, no result", Operation::program, noSignal, Exit::failed, "broken off"},
        Case{"a pass with differences", Operation::verify,
             [](Evidence &seen) { seen.differences = {2, 0x10, 0x00, 0x03, 2, 0}; }, Exit::differs,
             "address 0x110, device 0x00, file 0x03; 2 bytes differ in all, 2 bits 0 instead of 1, 0 bits 1"},
        Case{"a pass with a result code", Operation::program, [](Evidence &seen) { seen.resultCode = 7; }, Exit::failed,
             "broken off"},
        Case{"compare error of configuration bytes", Operation::checkConfiguration,
             [](Evidence &seen) {
                 failed(seen);
                 seen.lastReport = compareError;
             },
             Exit::differs, "configuration bytes differ: address 0x1234, device 0xEF, file 0xFE"},
        Case{"compare error of a blank check", Operation::blankCheck,
             [](Evidence &seen) {
                 failed(seen);
                 seen.lastReport = compareError;
             },
             Exit::differs, "not blank: address 0x1234, device 0xEF"},
        Case{"compare error of a program", Operation::program,
             [](Evidence &seen) {
                 failed(seen);
                 seen.lastReport = compareError;
             },
             Exit::failed, "in stage program: address 0x1234, device 0xEF, file 0xFE"},
        Case{"identity error", Operation::erase,
             [](Evidence &seen) {
                 failed(seen);
                 seen.lastReport = identityError;
             },
             Exit::noAnswer, "another one"},
        Case{"stopped by the user", Operation::program,
             [](Evidence &seen) {
                 stopped(seen);
                 seen.stopRequested = true;
             },
             Exit::stopped, "stopped"},
        Case{"passed before the stop came", Operation::program, [](Evidence &seen) { seen.stopRequested = true; },
             Exit::done, ""},
        Case{"stopped by the programmer", Operation::program, stopped, Exit::failed, "by itself"},
        Case{"question answered with Abort", Operation::program,
             [](Evidence &seen) {
                 stopped(seen);
                 seen.identityQuestion = true;
             },
             Exit::noAnswer, "identifier"},
        Case{"identifier unreadable", Operation::program,
             [](Evidence &seen) {
                 stopped(seen);
                 seen.lastReport = compareError;
             },
             Exit::noAnswer, "could not read"},
        Case{"start refused", Operation::program,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.startRefused = true;
             },
             Exit::noAnswer, "not ready"},
        Case{"chip file refused", Operation::program,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.deviceRefused = seen.chipFileUsed = true;
                 seen.trouble = "wrong size";
             },
             Exit::badFile, "wrong size"},
        Case{"algorithm image rejected", Operation::program,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.algorithmLoaded = false;
             },
             Exit::badFile, "the image is bad"},
        Case{"error before the algorithm image", Operation::program,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.algorithmLoaded = false;
                 seen.sessionFailure = "Overflow";
             },
             Exit::failed, "Overflow"},
        Case{"no report", Operation::read,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.reportMissing = true;
             },
             Exit::noAnswer, "no status report"},
        Case{"transfer failed", Operation::read,
             [](Evidence &seen) {
                 noSignal(seen);
                 seen.resultCode = 3;
                 seen.transferFailed = true;
             },
             Exit::noAnswer, "transfer"},
        Case{"the call failed", Operation::erase, [](Evidence &seen) { seen.callFailure = "Not available"; },
             Exit::failed, "Not available"}));

TEST(Outcomes, WordsShowBothBytes) {
    Evidence seen;
    seen.algorithmLoaded = true;
    seen.resultCode = 1;
    seen.lastReport = compareError;
    EXPECT_NE(judge(seen, contextOf(Operation::program, 2, 0)).message.find("device 0xBEEF, file 0xCAFE"),
              std::string::npos);
}

} // namespace
} // namespace kx3console
