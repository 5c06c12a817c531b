#include "simulator/packet_rig.h"

#include "simulator/failure.h"

#include <functional>

namespace kx3sim {
namespace {

using namespace test;

TEST(Services, VersionIdentityAndAlgorithmReadBack) {
    PacketRig rig;
    rig.programmer.setFirmwareVersion(0x27);
    EXPECT_EQ(rig.command({0x34, 0x1A, 0, 0x10, 0}).reports.back()[2], 0x27);

    const Report id = rig.command({0x34, 0x1D, 1, 0, 0}).reports.back();
    EXPECT_EQ(Bytes(id.begin(), id.begin() + 6), (Bytes{0x64, 0, 1, 0x1F, 0x95, 0x0F}));

    EXPECT_EQ(rig.send({0x33, 0x01, 0x40}, 8), 0);
    Bytes readBack(rig.algorithm.size() + 1, 0xEE);
    EXPECT_EQ(rig.read(readBack), 2);
    readBack.pop_back();
    EXPECT_EQ(readBack, rig.algorithm);
    Bytes tooLong(rig.algorithm.size() + 2);
    EXPECT_EQ(rig.read(tooLong), 4);
}

struct Device {
    const char *name;
    kx6sim_geometry geometry;
};

kx6sim_geometry device(int addresses, int width, int block, int first, int margin = 0,
                       int module = KX6SIM_MODULE_ARM_PRG) {
    kx6sim_geometry geometry = byteDevice();
    geometry.addresses = addresses;
    geometry.bytes_per_address = width;
    geometry.block_addresses = block;
    geometry.first_address = first;
    geometry.verify_margin = margin;
    geometry.module = static_cast<Byte>(module);
    return geometry;
}

class Devices : public testing::TestWithParam<Device> {};
INSTANTIATE_TEST_SUITE_P(Programmer, Devices,
                         testing::Values(Device{"byteInBlocks", device(0x1000, 1, 0x400, 0)},
                                         Device{"shortLastBlock", device(0x1000, 1, 0x3FF, 0)},
                                         Device{"oneAddressInLastBlock", device(0x801, 1, 0x400, 0)},
                                         Device{"oneBlock", device(0x1000, 1, 0x1000, 0)},
                                         Device{"blockLargerThanDevice", device(0x1000, 1, 0x8000, 0)},
                                         Device{"wordInBlocks", device(0x800, 2, 0x100, 0, 2)},
                                         Device{"startsLater", device(0x1000, 1, 0x400, 0x123)},
                                         Device{"wordStartsLater", device(0x800, 2, 0x180, 0x21)},
                                         Device{"module32f", device(0x1000, 1, 0x400, 0, 0, KX6SIM_MODULE_ARM_PRG_32F)},
                                         Device{"moreThan256Blocks", device(0x1000, 1, 8, 0)}),
                         [](const auto &test) { return test.param.name; });

TEST_P(Devices, WhatIsProgrammedIsReadAndNothingElseTouched) {
    PacketRig rig(GetParam().geometry);
    const std::size_t before =
        static_cast<std::size_t>(rig.geometry.first_address) * static_cast<std::size_t>(rig.geometry.bytes_per_address);
    const Bytes image = pattern(rig.imageBytes() - before);
    Bytes expected(before, FlashArray::erased);
    expected.insert(expected.end(), image.begin(), image.end());

    EXPECT_TRUE(rig.sendImage(Operation::program, image).passed()) << rig.programmer.trouble();
    EXPECT_EQ(rig.chipImage(), expected);
    EXPECT_EQ(rig.readImage(), image);
    EXPECT_EQ(rig.programmer.counters().unfetched_bytes, 0U);

    const Bytes other = pattern(image.size(), 99);
    EXPECT_FALSE(rig.sendImage(Operation::program, other).passed()) << "programming needs an erased device";
    EXPECT_TRUE(rig.sendImage(Operation::autoSequence, other).passed());
    std::copy(other.begin(), other.end(), expected.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_EQ(rig.chipImage(), expected);
    EXPECT_TRUE(
        std::equal(rig.configuration.begin(), rig.configuration.end(), rig.programmer.chip().configuration.begin()));
}

TEST(Stages, FollowTheBlockTheMarginAndTheProtection) {
    kx6sim_geometry geometry = device(0x800, 1, 0x400, 0, 2);
    geometry.protect_in_auto = 1;
    PacketRig rig(geometry);
    const Bytes block = pattern(0x400);
    const Outcome first = rig.sendBlock(Operation::autoProgram, block, 0, false);
    EXPECT_EQ(first.stages(), (std::vector<unsigned>{0x1E, 0x28, 0x32, 0x3C01, 0x3C02}));
    EXPECT_TRUE(first.passed());
    const Outcome last = rig.sendBlock(Operation::autoProgram, block, 1, true);
    EXPECT_EQ(last.stages(), (std::vector<unsigned>{0x32, 0x3C01, 0x3C02, 0x46, 0x50}));
    EXPECT_TRUE(last.passed());
    EXPECT_TRUE(rig.programmer.chip().isProtected);
}

TEST(Stages, OneVerifyPassWithoutAMargin) {
    PacketRig rig(device(0x400, 1, 0x400, 0));
    EXPECT_EQ(rig.sendImage(Operation::autoSequence, pattern(0x400)).stages(),
              (std::vector<unsigned>{0x1E, 0x28, 0x32, 0x3C01, 0x46}));
}

TEST(Stages, AnAutoSequenceErasesOnlyWhatItPrograms) {
    PacketRig rig(device(0x400, 1, 0x400, 0x100));
    rig.programmer.chip().main.flipBit(0xFF, 0);
    EXPECT_TRUE(rig.sendImage(Operation::autoSequence, pattern(0x300)).passed());
    EXPECT_EQ(rig.programmer.chip().main[0xFF], 0xFE);
}

TEST(Stages, ProgressRisesAndEndsOnceAtHundred) {
    for (const char *faults : {"", "slow=1", "slow=3"}) {
        PacketRig rig(device(0x400, 1, 0x400, 0), faults);
        const Outcome outcome = rig.sendBlock(Operation::program, pattern(0x400), 0, true);
        const std::size_t perPercent = *faults == '\0' ? 0 : static_cast<std::size_t>(faults[5] - '0');
        EXPECT_EQ(outcome.reports.size(), 100 * perPercent + 1) << faults;
        for (std::size_t i = 1; i < outcome.reports.size(); ++i)
            EXPECT_GE(outcome.reports[i][0], outcome.reports[i - 1][0]);
        EXPECT_TRUE(outcome.passed());
    }
}

TEST(DirectRuns, EraseBlankCheckConfigurationAndProtection) {
    PacketRig rig;
    EXPECT_TRUE(rig.direct(Operation::blankCheck).passed());
    rig.programmer.chip().main.flipBit(0x234, 4);
    const Outcome notBlank = rig.direct(Operation::blankCheck);
    EXPECT_EQ(notBlank.event(), 0xFA);
    EXPECT_EQ(notBlank.address(), 0x234U);
    EXPECT_EQ(notBlank.reports.back()[7], 0xEF);

    EXPECT_EQ(rig.direct(Operation::checkConfiguration).event(), 0xFA);
    EXPECT_TRUE(rig.direct(Operation::programConfiguration).passed());
    EXPECT_TRUE(rig.direct(Operation::checkConfiguration).passed());
    const Outcome read = rig.command(rig.runPacket(Operation::read, 0, false));
    EXPECT_TRUE(std::equal(rig.configuration.begin(), rig.configuration.end(), read.reports.back().begin() + 2));

    EXPECT_TRUE(rig.direct(Operation::protect).passed());
    for (const Operation refused :
         {Operation::blankCheck, Operation::programConfiguration, Operation::checkConfiguration})
        EXPECT_EQ(rig.direct(refused).event(), 0xF9);
    EXPECT_EQ(rig.command(rig.runPacket(Operation::read, 0, false)).event(), 0xFA);
    EXPECT_EQ(rig.command(rig.runPacket(Operation::verify, 0, false)).event(), 0xFA);
    EXPECT_EQ(rig.sendBlock(Operation::program, pattern(0x400), 0, false).event(), 0xFA);

    EXPECT_TRUE(rig.direct(Operation::erase).passed());
    EXPECT_EQ(rig.chipImage(), Bytes(0x1000, 0xFF));
    EXPECT_TRUE(rig.direct(Operation::blankCheck).passed());
}

TEST(DirectRuns, FamiliesWithADataWindowNeedIt) {
    kx6sim_geometry geometry = byteDevice();
    geometry.family = 0x2E;
    PacketRig rig(geometry);
    const Bytes key = pattern(0x30);
    rig.programmer.chip().main.store(0x1000 - 0x30, key);
    EXPECT_FALSE(rig.direct(Operation::programConfiguration).passed()) << "no data";
    const auto withKey = [&](Bytes data, Operation operation) {
        EXPECT_EQ(rig.send({0x0A, 0, 0x80, 2}, 4), 0);
        EXPECT_EQ(rig.programmer.bulkWrite(data), 0);
        return rig.direct(operation);
    };
    EXPECT_TRUE(withKey(key, Operation::programConfiguration).passed());
    EXPECT_TRUE(withKey(key, Operation::checkConfiguration).passed());
    Bytes wrong = key;
    wrong[5] ^= 1;
    const Outcome differs = withKey(wrong, Operation::checkConfiguration);
    EXPECT_EQ(differs.event(), 0xFA);
    EXPECT_EQ(differs.address(), 0x1000U - 0x30 + 5);
}

TEST(DirectRuns, ADataWindowMayBeginInsideAWord) {
    kx6sim_geometry geometry = device(0x801, 2, 0x801, 0);
    geometry.family = 0x31;
    PacketRig rig(geometry);
    EXPECT_EQ(rig.send({0x0A, 0, 0x80, 2}, 4), 0);
    EXPECT_EQ(rig.programmer.bulkWrite(Bytes(0x30, 0x11)), 0);
    const Outcome differs = rig.direct(Operation::checkConfiguration);
    EXPECT_EQ(differs.address(), (0x801U - 0x30) / 2);
    const Report &report = differs.reports.back();
    EXPECT_EQ(Bytes(report.begin() + 7, report.begin() + 11), (Bytes{0xFF, 0xFF, 0x00, 0x11}));
}

TEST(ProgramErrors, CarryAddressDeviceAndBufferData) {
    PacketRig bytes(device(0x800, 1, 0x400, 0x100));
    bytes.programmer.chip().main.flipBit(0x123, 3);
    Bytes block(0x400, 0xFF);
    const Outcome byteError = bytes.sendBlock(Operation::program, block, 0, false);
    EXPECT_EQ(byteError.event(), 0xFA);
    EXPECT_EQ(byteError.address(), 0x123U);
    EXPECT_EQ(byteError.reports.back()[7], 0xF7);
    EXPECT_EQ(byteError.reports.back()[9], 0xFF);

    PacketRig words(device(0x800, 2, 0x400, 0));
    const Byte stuck[] = {0x34, 0x12};
    words.programmer.chip().main.store(2 * 0x234, stuck);
    block.assign(0x800, 0xFF);
    block[2 * 0x234] = 0x34;
    block[2 * 0x234 + 1] = 0x56;
    const Outcome wordError = words.sendBlock(Operation::program, block, 0, false);
    EXPECT_EQ(wordError.address(), 0x234U);
    const Report &report = wordError.reports.back();
    EXPECT_EQ(Bytes(report.begin() + 7, report.begin() + 11), (Bytes{0x34, 0x12, 0x34, 0x56}));
}

/// Packets of a block's program that break one rule each: none may end in a pass.
TEST(Rules, ABrokenRuleNeverPasses) {
    const Bytes block = pattern(0x400);
    struct Case {
        const char *name;
        std::function<Outcome(PacketRig &)> run;
    };
    const auto withData = [&](PacketRig &rig, Bytes data, Bytes announcement) {
        (void)rig.send(announcement, 4);
        (void)rig.programmer.bulkWrite(data);
    };
    const Case cases[] = {
        {"no data", [&](PacketRig &rig) { return rig.command(rig.runPacket(Operation::program, 0, false)); }},
        {"a byte short", [&](PacketRig &rig) { return rig.sendBlock(Operation::program, pattern(0x3FF), 0, false); }},
        {"a byte too many",
         [&](PacketRig &rig) { return rig.sendBlock(Operation::program, pattern(0x401), 0, false); }},
        {"data of another bank",
         [&](PacketRig &rig) {
             withData(rig, block, {0x0A, 0, 0x80, 1});
             return rig.command(rig.runPacket(Operation::program, 0, false));
         }},
        {"no announcement",
         [&](PacketRig &rig) {
             EXPECT_EQ(rig.programmer.bulkWrite(block), 1);
             return rig.command(rig.runPacket(Operation::program, 0, false));
         }},
        {"data sent once, run twice",
         [&](PacketRig &rig) {
             EXPECT_TRUE(rig.sendBlock(Operation::program, block, 0, false).passed());
             return rig.command(rig.runPacket(Operation::program, 0, false));
         }},
        {"block skipped", [&](PacketRig &rig) { return rig.sendBlock(Operation::program, block, 1, false); }},
        {"block beyond the end", [&](PacketRig &rig) { return rig.sendBlock(Operation::program, block, 4, true); }},
        {"marked as last too early", [&](PacketRig &rig) { return rig.sendBlock(Operation::program, block, 0, true); }},
        {"run in another bank",
         [&](PacketRig &rig) {
             withData(rig, block, {0x0A, 0, 0x80, 2});
             Bytes packet = rig.runPacket(Operation::program, 0, false);
             packet[2] = 2;
             return rig.command(packet);
         }},
        {"run packet of 8 bytes",
         [&](PacketRig &rig) {
             withData(rig, block, {0x0A, 0, 0x80, 2});
             EXPECT_EQ(rig.send(rig.runPacket(Operation::program, 0, false), 8), 1);
             return rig.reports();
         }},
        {"no algorithm",
         [&](PacketRig &rig) {
             rig.programmer.prepare(rig.geometry);
             return rig.sendBlock(Operation::program, block, 0, false);
         }},
        {"unknown operation",
         [&](PacketRig &rig) {
             return rig.command({0x34, 0x10, 1, 0, 0});
         }},
        {"announcement of 8 bytes",
         [&](PacketRig &rig) {
             EXPECT_EQ(rig.send({0x0A, 0, 0x80, 2}, 8), 1);
             (void)rig.programmer.bulkWrite(block);
             return rig.command(rig.runPacket(Operation::program, 0, false));
         }},
    };
    for (const Case &c : cases) {
        PacketRig rig;
        EXPECT_FALSE(c.run(rig).passed()) << c.name;
        EXPECT_NE(rig.programmer.trouble(), "") << c.name;
        rig.programmer.prepare(rig.geometry);
        EXPECT_EQ(rig.download(rig.algorithm), 0);
        EXPECT_TRUE(rig.sendImage(Operation::autoSequence, pattern(0x1000)).passed())
            << "a clean session passes after: " << c.name;
    }
}

TEST(Rules, ReadsDeliverOnlyWhatWasAskedFor) {
    PacketRig rig;
    Bytes chunk(0x200);
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 2}, 8), 1) << "no read run yet";
    EXPECT_EQ(rig.read(chunk), 4);
    EXPECT_TRUE(rig.command(rig.runPacket(Operation::read, 0, false)).passed());
    EXPECT_EQ(rig.read(chunk), 4) << "no request yet";
    EXPECT_EQ(rig.send({0x0A, 1, 0x40, 2}, 8), 1) << "chunk out of order";
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 1}, 8), 1) << "wrong bank";
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 2}, 8), 0);
    EXPECT_EQ(rig.read(chunk), 2);
    Bytes tooMuch(0x201);
    EXPECT_EQ(rig.send({0x0A, 1, 0x40, 2}, 8), 0);
    EXPECT_EQ(rig.read(tooMuch), 4) << "more than the block has left";
    EXPECT_EQ(rig.programmer.counters().unfetched_bytes, 0x200U);
}

TEST(Rules, AnotherDeviceThanTheChipIsRefused) {
    PacketRig rig;
    try {
        rig.programmer.prepare(device(0x2000, 1, 0x400, 0));
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), KX6SIM_WRONG_CHIP);
    }
}

TEST(Geometry, VerifyAndProgramOfArmPrgEndRoundedOnLargeDevices) {
    const kx6sim_geometry arm = device(0x1FF80, 1, 0x10000, 0);
    const kx6sim_geometry arm32f = device(0x1FF80, 1, 0x10000, 0, 0, KX6SIM_MODULE_ARM_PRG_32F);
    EXPECT_EQ(lastAddress(arm, Operation::verify), 0x1FEFF);
    EXPECT_EQ(lastAddress(arm, Operation::program), 0x1FEFF);
    EXPECT_EQ(lastAddress(arm32f, Operation::verify), 0x1FEFF);
    EXPECT_EQ(lastAddress(arm32f, Operation::program), 0x1FF7F);
    EXPECT_EQ(lastAddress(arm, Operation::autoSequence), 0x1FF7F);
    EXPECT_EQ(lastAddress(arm, Operation::read), 0x1FF7F);
    EXPECT_EQ(lastAddress(device(0x10000, 1, 0x8000, 0), Operation::verify), 0xFFFF);
}

TEST(Stop, AnswersWithTheEventAndLeavesTheChip) {
    PacketRig rig(byteDevice(), "slow=1");
    EXPECT_EQ(rig.send({0x0A, 0, 0x80, 2}, 4), 0);
    EXPECT_EQ(rig.programmer.bulkWrite(pattern(0x400)), 0);
    EXPECT_EQ(rig.send(rig.runPacket(Operation::program, 0, false), 16), 0);
    Report report;
    EXPECT_TRUE(rig.programmer.fetchReport(report));
    EXPECT_EQ(rig.send({0x34, 0x1E}, 8), 0);
    EXPECT_EQ(rig.send({0x34, 0x1E}, 8), 0);
    const Outcome outcome = rig.reports();
    EXPECT_EQ(outcome.reports.size(), 1U);
    EXPECT_EQ(outcome.event(), 0x1E);
    EXPECT_EQ(rig.chipImage(), Bytes(0x1000, 0xFF));
}

TEST(SeededFaults, ReportsTransfersAndBits) {
    const Bytes block = pattern(0x400);
    const auto program = [&](const char *faults) {
        PacketRig rig(byteDevice(), faults);
        return rig.sendBlock(Operation::program, block, 0, false);
    };
    EXPECT_TRUE(program("report@1:missing").reports.empty());
    EXPECT_EQ(program("report@1:identity").event(), 0xF9);
    EXPECT_EQ(program("report@1:stop").event(), 0x1E);
    EXPECT_EQ(program("report@1:compare=0x12345678").address(), 0x12345678U);

    PacketRig writing;
    writing.programmer.setFaults(FaultPlan("bulkwrite@1:fail,comwrite@3:fail", 0));
    EXPECT_EQ(writing.download(writing.algorithm), 1);
    EXPECT_EQ(writing.download(writing.algorithm), 0);
    EXPECT_EQ(writing.send({0x34, 0x1E}, 8), 1);
    EXPECT_EQ(writing.send({0x34, 0x1E}, 8), 0);

    // In a part of the chip, and in all of it, which an earlier image may have taken over as a whole.
    for (const int blockAddresses : {0x400, 0x1000}) {
        PacketRig flipping(device(0x1000, 1, blockAddresses, 0));
        const Bytes image = pattern(0x1000);
        EXPECT_TRUE(flipping.sendImage(Operation::autoSequence, image).passed());
        flipping.programmer.setFaults(FaultPlan("bitflip@0x123.6", 0));
        EXPECT_EQ(flipping.sendImage(Operation::autoSequence, image).address(), 0x123U)
            << "the verify stage finds the bit";
        EXPECT_EQ(flipping.programmer.chip().main[0x123], image[0x123] ^ 0x40);
        EXPECT_TRUE(flipping.sendImage(Operation::autoSequence, image).passed()) << "it flips once";
    }

    PacketRig reading(byteDevice(),
                      "bulkread@1:pending=2,bulkread@2:fail,bulkread@3:corrupt,version@1:wrong,chipid@1:wrong");
    EXPECT_EQ(reading.command({0x34, 0x1A, 0, 0x10, 0}).reports.back()[2], 0x81);
    EXPECT_EQ(reading.command({0x34, 0x1D, 1, 0, 0}).reports.back()[3], 0x1F ^ 0xFF);
    EXPECT_TRUE(reading.command(reading.runPacket(Operation::read, 0, false)).passed());
    EXPECT_EQ(reading.send({0x0A, 0, 0x40, 2}, 8), 0);
    Bytes chunk(0x100, 0);
    Byte state = 0;
    reading.programmer.bulkRead(chunk, &state);
    reading.programmer.advance();
    EXPECT_EQ(state, 0) << "still pending";
    reading.programmer.advance();
    EXPECT_EQ(state, 2);
    EXPECT_EQ(chunk, Bytes(0x100, 0xFF));

    state = 0;
    reading.programmer.bulkRead(chunk, &state);
    reading.programmer.advance();
    EXPECT_EQ(state, 4);
    EXPECT_EQ(reading.read(chunk), 2) << "a failed read can be repeated";
    EXPECT_EQ(std::count(chunk.begin(), chunk.end(), Byte{0xFF}), 0xFF) << "one byte is corrupt";
    EXPECT_EQ(reading.programmer.counters().unfetched_bytes, 0x200U);
}

TEST(SeededFaults, APendingReadWritesNothingAfterTheEnd) {
    PacketRig rig(byteDevice(), "bulkread@1:pending=1");
    EXPECT_EQ(rig.send({0x33, 0x01, 0x40}, 8), 0);
    Bytes destination(8, 0xEE);
    Byte state = 0;
    rig.programmer.bulkRead(destination, &state);
    rig.programmer.endOperation();
    rig.programmer.advance();
    EXPECT_EQ(state, 0);
    EXPECT_EQ(destination, Bytes(8, 0xEE));
}

} // namespace
} // namespace kx3sim
