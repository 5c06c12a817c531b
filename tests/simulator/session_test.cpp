// Whole sessions of the plug-in's ARM drivers on the simulated programmer.
#include "rig/simulated.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

using namespace kx3::test;

constexpr Byte autoSequence = 0;
constexpr Byte read = 2;
constexpr Byte program = 3;
constexpr Byte blankCheck = 4;
constexpr Byte verify = 5;
constexpr Byte erase = 8;

constexpr Device devices[] = {
    {.margin = 2},
    {.model = modelArm},
    {.addresses = 0x28000, .block = 0x10000, .model = modelArm},
    {.addresses = 0x20000, .block = 0xC000},
    {.width = 2, .addresses = 0x3000, .block = 0x3000, .model = modelArm},
    {.width = 2, .addresses = 0x6000, .block = 0x6000},
};

class Sessions : public testing::TestWithParam<Device> {};
INSTANTIATE_TEST_SUITE_P(Arm, Sessions, testing::ValuesIn(devices));

TEST_P(Sessions, EraseProgramVerifyReadAuto) {
    PlugIn plugIn(GetParam());
    const Bytes image = plugIn.buffer();
    EXPECT_EQ(plugIn.run(blankCheck), Signal::pass) << plugIn.log();
    EXPECT_EQ(plugIn.run(program), Signal::pass) << plugIn.log() << plugIn.sim->trouble();
    EXPECT_EQ(plugIn.chip(), image);
    EXPECT_EQ(plugIn.run(verify), Signal::pass) << plugIn.log();
    EXPECT_EQ(plugIn.run(blankCheck), Signal::fail);

    plugIn.setBuffer(Bytes(image.size(), 0));
    EXPECT_EQ(plugIn.run(read), Signal::pass) << plugIn.log();
    EXPECT_EQ(plugIn.buffer(), image);

    EXPECT_EQ(plugIn.run(erase), Signal::pass);
    EXPECT_EQ(plugIn.chip(), Bytes(image.size(), 0xFF));
    // A read leaves the chip's erased configuration bytes in the buffer.
    plugIn.host.ibuffer(plugIn.imageBytes()) = 0x5A;
    EXPECT_EQ(plugIn.run(autoSequence), Signal::pass) << plugIn.log() << plugIn.sim->trouble();
    EXPECT_EQ(plugIn.chip(), image);
    EXPECT_EQ(plugIn.run(read), Signal::pass);
    EXPECT_EQ(plugIn.host.ibuffer(plugIn.imageBytes()), 0x5A) << "configuration bytes come back";
}

TEST(ArmSession, AVerifyThatLeavesDataUnreadFails) {
    // More than one read chunk of words: the driver counts a last block's chunks in addresses.
    PlugIn plugIn({.width = 2, .addresses = 0x5000, .block = 0x5000, .model = modelArm});
    ASSERT_EQ(plugIn.run(autoSequence), Signal::pass) << plugIn.log();
    EXPECT_EQ(plugIn.run(verify), Signal::fail);
    EXPECT_NE(plugIn.log().find("bytes of the device were not read"), std::string::npos) << plugIn.log();
    EXPECT_EQ(plugIn.run(read), Signal::fail);
}

TEST(ArmSession, AVerifyOfALargeDeviceMayEndBeforeTheDevice) {
    for (const kx3::Integer model : {model32f, modelArm}) {
        PlugIn plugIn({.addresses = 0x10080, .block = 0x20000, .model = model});
        for (const Byte operation : {autoSequence, verify, read, erase, program, verify})
            EXPECT_EQ(plugIn.run(operation), Signal::pass) << int{operation} << plugIn.log() << plugIn.sim->trouble();
    }
}

TEST(ArmSession, AStopRequestEndsASlowOperation) {
    PlugIn plugIn({}, {.faults = "slow=1"});
    plugIn.ui->onYield = [&] {
        plugIn.sim->duringYield();
        if (plugIn.host.prgmode(1) == 10) plugIn.host.prgresult(0) = 2;
    };
    EXPECT_EQ(plugIn.run(autoSequence), Signal::fail);
    EXPECT_EQ(plugIn.host.prgresult(0), 2);
    plugIn.ui->onYield = [&] { plugIn.sim->duringYield(); };
    EXPECT_EQ(plugIn.run(autoSequence), Signal::pass);
}

TEST(ArmSession, AChipFileCarriesTheChipToTheNextProcess) {
    const TemporaryFolder folder;
    const Options options{.chipFile = folder / "a.chip", .maker = 0x1F};
    Bytes image;
    {
        PlugIn first({}, options);
        EXPECT_EQ(first.run(autoSequence), Signal::pass) << first.log();
        image = first.buffer();
    }
    {
        PlugIn second({}, options);
        second.setBuffer(Bytes(image.size(), 0));
        EXPECT_EQ(second.run(read), Signal::pass);
        EXPECT_EQ(second.buffer(), image);
    }
    PlugIn other({.addresses = 0x2000, .block = 0x2000}, options);
    EXPECT_EQ(other.run(autoSequence), Signal::none) << "a chip of another size";
    EXPECT_NE(other.sim->trouble(), "");
    spill(folder / "a.chip", {'x'});
    PlugIn damaged({}, options);
    EXPECT_EQ(damaged.run(erase), Signal::none);
    EXPECT_NE(damaged.sim->trouble().find("a.chip"), std::string::npos) << damaged.sim->trouble();
}

TEST(ArmSession, EveryFaultStrikesAndTheNextSessionIsClean) {
    PlugIn plugIn({});
    const Bytes image = plugIn.buffer();
    for (const char *fault :
         {"comwrite@3:fail", "bulkwrite@1:fail", "bulkread@1:fail=2", "bulkread@1+:corrupt", "report@1:missing",
          "report@2:compare=5", "report@2:identity", "report@2:stop", "start@1:refuse", "prepare@1:refuse"}) {
        EXPECT_EQ(kx6sim_set_faults(fault, 1), KX6SIM_OK);
        EXPECT_NE(plugIn.run(autoSequence), Signal::pass) << fault;
        for (const char *harmless : {"bulkread@1:pending=3", ""}) {
            EXPECT_EQ(kx6sim_set_faults(harmless, 1), KX6SIM_OK);
            EXPECT_EQ(plugIn.run(autoSequence), Signal::pass) << fault << plugIn.log();
            EXPECT_EQ(plugIn.chip(), image);
        }
    }
    EXPECT_EQ(kx6sim_set_faults("bulkread@1+:pending=3", 1), KX6SIM_OK);
    EXPECT_EQ(plugIn.run(read), Signal::pass);
    EXPECT_EQ(plugIn.buffer(), image);
}

} // namespace
} // namespace kx3sim
