// The session host's own work: comparing, and operations on pin-driven chips.
#include "base/error.h"
#include "rig/simulated.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

using namespace kx3::test;

/// A pin-driven device: the session window announces the operation, the host carries it out.
constexpr Device pinDriven{.width = 2, .addresses = 0x800, .block = 0x800, .model = modelArm, .selection = 0};

class PinDriven : public testing::Test {
  protected:
    PinDriven() {
        plugIn.ui->onYield = [this] { plugIn.sim->carryOut(plugIn.host.prgresult(1)); };
        plugIn.host.bvcc(0) = 500;
        for (Byte i = 0; i < 8; ++i)
            plugIn.host.ibuffer(eepromPlace + i) = i;
    }
    void expect(Signal signal, const std::vector<Byte> &operations) {
        for (const Byte operation : operations)
            EXPECT_EQ(plugIn.run(operation), signal) << int{operation} << plugIn.log();
    }

    static constexpr Long eepromPlace = 0x1000 + pinDrivenConfigurationBytes;
    PlugIn plugIn{pinDriven, {.maker = 0x1E, .deviceCodes = {0x95, 0x0F}, .eepromBytes = 8}};
};

constexpr Byte read = 2, program = 3, blankCheck = 4, verify = 5, autoSequence = 6, protect = 7, erase = 8,
               programConfiguration = 9, checkConfiguration = 10, unknown = 11;

TEST_F(PinDriven, EveryOperationDoesItsWork) {
    const Bytes image = plugIn.buffer();
    expect(Signal::pass, {blankCheck, program});
    EXPECT_EQ(plugIn.chip(), image);
    expect(Signal::pass, {verify});
    expect(Signal::fail, {blankCheck, checkConfiguration});
    expect(Signal::pass, {programConfiguration, checkConfiguration});

    plugIn.setBuffer(Bytes(image.size(), 0));
    plugIn.host.ibuffer(0x1000) = 0;
    plugIn.host.ibuffer(eepromPlace + 7) = 0;
    expect(Signal::pass, {read});
    EXPECT_EQ(plugIn.buffer(), image);
    EXPECT_EQ(plugIn.host.ibuffer(0x1000), 0xC0);
    EXPECT_EQ(plugIn.host.ibuffer(eepromPlace + 7), 7);

    expect(Signal::pass, {protect});
    expect(Signal::fail, {read, program, blankCheck, verify, programConfiguration});
    expect(Signal::pass, {erase, autoSequence});
    EXPECT_EQ(plugIn.chip(), image);
    expect(Signal::fail, {unknown});
    EXPECT_EQ(plugIn.host.prgresult(0), 3);
    plugIn.host.bvcc(0) = 0;
    expect(Signal::fail, {erase});
    EXPECT_EQ(plugIn.host.prgresult(0), 1) << "no supply";
}

TEST_F(PinDriven, AVerifyNamesWhatDiffers) {
    expect(Signal::pass, {autoSequence});
    kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0x123, 0);
    expect(Signal::fail, {verify});
    EXPECT_EQ(plugIn.sim->mismatches().firstAddress, 0x123);
    EXPECT_NE(plugIn.log().find("Address:00000123H"), std::string::npos) << plugIn.log();
    kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0x123, 0);
    plugIn.host.ibuffer(eepromPlace + 3) = 0xEE;
    expect(Signal::fail, {verify});
    EXPECT_EQ(plugIn.sim->mismatches().firstAddress, eepromPlace + 3);
}

TEST_F(PinDriven, TheIdentityComesAsAReport) {
    EXPECT_EQ(plugIn.sim->StartCheck(), 0);
    EXPECT_EQ(plugIn.sim->PrepareChip(0), 0);
    EXPECT_FALSE(plugIn.sim->PollStatus(15)) << "no supply";
    plugIn.sim->SetVcc(5000);
    plugIn.sim->PowerStep(0);
    for (int time = 0; time < 2; ++time) {
        EXPECT_TRUE(plugIn.sim->PollStatus(15));
        const auto report = plugIn.host.ibuf1.range(3, 3);
        EXPECT_EQ(Bytes(report.begin(), report.end()), (Bytes{0x1E, 0x95, 0x0F}));
    }
    EXPECT_EQ(kx6sim_set_faults("chipid@1:wrong,report@2:missing,slow=1", 1), KX6SIM_OK);
    EXPECT_FALSE(plugIn.sim->PollStatus(15));
    EXPECT_TRUE(plugIn.sim->PollStatus(15));
    EXPECT_EQ(plugIn.host.ibuf1(3), 0x1E ^ 0xFF);
}

class Comparing : public testing::Test {
  protected:
    void prepare(Options options = {}) {
        sim.emplace(std::move(options));
        HostBlocks blocks{};
        blocks.ibuf1 = ibuf1;
        blocks.ibuffer = buffer;
        blocks.prgresult = result;
        blocks.appendText = [this](Long index, std::u16string_view text) {
            EXPECT_EQ(index, 1);
            mismatchText += text;
        };
        sim->setBlocks(blocks);
    }

    Bytes ibuf1 = Bytes(20), buffer = Bytes(100, 0x55), result = Bytes(3);
    std::u16string mismatchText;
    std::optional<SessionHost> sim;
};

TEST_F(Comparing, CountsEverythingAndWritesSixteenLines) {
    prepare();
    EXPECT_EQ(sim->CompareByte(0x55, 99, 3), 0);
    EXPECT_EQ(result[0], 0);
    for (Long address = 10; address < 50; ++address)
        EXPECT_EQ(sim->CompareByte(0x5A, address, 3), 0);
    EXPECT_EQ(result[0], 1) << "the host leaves the result of a comparison";
    const Mismatches &found = sim->mismatches();
    EXPECT_EQ(found.bytes, 40U);
    EXPECT_EQ(found.firstAddress, 10);
    EXPECT_EQ(found.firstDevice, 0x5A);
    EXPECT_EQ(found.firstBuffer, 0x55);
    EXPECT_EQ(found.zeroInsteadOfOne, 80U);
    EXPECT_EQ(found.oneInsteadOfZero, 80U);
    EXPECT_TRUE(mismatchText.starts_with(u"Address:0000000AH  Device Data:5AH  Buffer Data:55H\n"))
        << kx3::toUtf8(mismatchText);
    EXPECT_EQ(std::count(mismatchText.begin(), mismatchText.end(), u'\n'), 17);
}

TEST_F(Comparing, WordsTheMaskAndTheLimit) {
    prepare({.stopAfterMismatches = 2});
    result[0] = 2;
    buffer[20] = 0x34;
    buffer[21] = 0x12;
    EXPECT_EQ(sim->CompareWord(0x34, 0x12, 10, 3, 0xFF), 0);
    EXPECT_EQ(sim->CompareWord(0x34, 0x92, 10, 3, 0x3F), 0) << "masked bits do not count";
    EXPECT_EQ(sim->CompareWord(0x34, 0x92, 10, 3, 0xFF), 0) << "one byte differs";
    EXPECT_EQ(sim->mismatches().firstAddress, 21);
    EXPECT_EQ(sim->CompareWord(0x35, 0x12, 10, 3, 0xFF), 1) << "the second ends the verify";
    EXPECT_EQ(result[0], 2) << "a stop request is kept";
    EXPECT_EQ(mismatchText, u"Address:0000000AH  Device Data:9234H  Buffer Data:1234H\n"
                            u"Address:0000000AH  Device Data:1235H  Buffer Data:1234H\n");
}

TEST_F(Comparing, AddressesBeyondTheBufferAreErrors) {
    prepare();
    for (const Long address :
         {Long{-1}, Long{100}, std::numeric_limits<Long>::max(), std::numeric_limits<Long>::min()}) {
        EXPECT_THROW((void)sim->CompareByte(0x55, address, 3), kx3::Error) << address;
        EXPECT_THROW((void)sim->CompareWord(0x55, 0x55, address, 3, 0xFF), kx3::Error) << address;
    }
}

TEST(SessionHostOptions, BadOnesAreNamed) {
    EXPECT_THROW(SessionHost({.deviceCodes = {}}), kx3::Error);
    try {
        const SessionHost host({.faults = "bulkwrite@3:fial"});
        ADD_FAILURE();
    } catch (const kx3::Error &error) {
        EXPECT_NE(error.description().find(u"bulkwrite@3:fial"), std::u16string::npos);
    }
    SessionHost unattached({});
    EXPECT_THROW((void)unattached.StartCheck(), kx3::Error);
}

} // namespace
} // namespace kx3sim
