#include "outcome.h"

#include <gtest/gtest.h>

namespace kx3console {
namespace {

/// A device of 0x8000 bytes, loaded from 0x100 on, whose fuses have names.
Profile device(std::int64_t bytesPerAddress) {
    Profile profile = plainDevice({sizeof(kx3_device), 0x8000, 0, 55, 0});
    profile.value(ProfileKey::load_base) = std::int64_t{0x100};
    profile.value(ProfileKey::bytes_per_address) = bytesPerAddress;
    return profile;
}

Evidence passed() {
    Evidence seen;
    seen.algorithmLoaded = true;
    seen.signalledPass = true;
    return seen;
}
Evidence ended(std::uint8_t resultCode) {
    Evidence seen = passed();
    seen.signalledPass = false;
    seen.resultCode = resultCode;
    return seen;
}
Evidence compareFailed(std::uint8_t resultCode) {
    Evidence seen = ended(resultCode);
    seen.lastReport = StatusReport{100, StatusReport::compareError, 0x32, 0x1234, 0xBEEF, 0xCAFE};
    return seen;
}
Evidence differs(kx3::Long address) {
    Evidence seen = passed();
    seen.differences = {2, address, 0x00, 0x03, 2, 0, 2};
    return seen;
}
template <class Member, class Value> Evidence with(Evidence seen, Member Evidence::*member, Value value) {
    seen.*member = value;
    return seen;
}

/// What no run of the program shows, or only together with other evidence.
TEST(Outcomes, AreTold) {
    const struct {
        Evidence seen;
        Operation operation;
        Exit code;
        const char *message; ///< part of it
    } cases[] = {
        {passed(), Operation::program, Exit::done, ""},
        {with(passed(), &Evidence::stopRequested, true), Operation::program, Exit::done, ""},
        {with(ended(0), &Evidence::transferFailed, true), Operation::read, Exit::noAnswer, "transfer"},
        {with(ended(1), &Evidence::transferFailed, true), Operation::read, Exit::noAnswer, "transfer"},
        {ended(0), Operation::program, Exit::failed, "broken off"},
        {ended(1), Operation::program, Exit::failed, "the operation failed"},
        {ended(2), Operation::program, Exit::failed, "by itself"},
        {with(passed(), &Evidence::resultCode, std::uint8_t{7}), Operation::program, Exit::failed, "broken off"},
        {with(ended(0), &Evidence::identityQuestion, true), Operation::automatic, Exit::noAnswer, "identifier"},
        {with(with(ended(0), &Evidence::algorithmLoaded, false), &Evidence::sessionFailure, "Overflow"),
         Operation::program, Exit::failed, "Overflow"},
        {with(passed(), &Evidence::callFailure, "Not available"), Operation::erase, Exit::failed, "Not available"},
        {with(passed(), &Evidence::deviceRefused, true), Operation::erase, Exit::noAnswer, "prepared"},
        {compareFailed(1), Operation::checkConfiguration, Exit::differs,
         "configuration bytes differ: address 0x1234, device 0xEF, file 0xFE"},
        {compareFailed(1), Operation::program, Exit::failed,
         "in stage program: address 0x1234, device 0xEF, file 0xFE"},
        {compareFailed(2), Operation::program, Exit::noAnswer, "could not read"},
        {differs(0x7FFF), Operation::verify, Exit::differs,
         "address 0x80FF, device 0x00, file 0x03; 2 bytes differ in all, 2 bits 0 instead of 1, 0 bits 1"},
        {differs(0x8000), Operation::verify, Exit::differs, "byte low,"},
        {differs(0x8003), Operation::verify, Exit::differs, "byte 3,"},
        {differs(0x8012), Operation::verify, Exit::differs, "EEPROM address 0x2,"},
    };
    for (const auto &c : cases) {
        const Failure outcome = judge(c.seen, c.operation, device(1), "bad image").value_or(Failure(Exit::done, ""));
        EXPECT_EQ(outcome.code(), c.code) << outcome.message();
        EXPECT_NE(outcome.message().find(c.message), std::string::npos) << outcome.message() << " lacks " << c.message;
    }
}

TEST(Outcomes, WordsShowBothBytes) {
    const auto outcome = judge(compareFailed(1), Operation::program, device(2), "");
    ASSERT_TRUE(outcome);
    EXPECT_NE(outcome->message().find("device 0xBEEF, file 0xCAFE"), std::string::npos) << outcome->message();
}

} // namespace
} // namespace kx3console
