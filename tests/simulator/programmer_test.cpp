#include "simulator/packet_rig.h"

#include "simulator/failure.h"

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

TEST(Programmer, WhatIsProgrammedIsReadAndNothingElseTouched) {
    const std::pair<const char *, kx6sim_geometry> devices[] = {
        {"short last block", device(0x1000, 1, 0x3FF)},
        {"one address in the last block", device(0x801)},
        {"block larger than the device", device(0x1000, 1, 0x8000)},
        {"words in blocks", device(0x800, 2, 0x100, 0, 2)},
        {"starts later", device(0x1000, 1, 0x400, 0x123)},
        {"words, starts later", device(0x800, 2, 0x180, 0x21)},
        {"module 32f", device(0x1000, 1, 0x400, 0, 0, KX6SIM_MODULE_ARM_PRG_32F)},
        {"more than 256 blocks", device(0x1000, 1, 8)},
    };
    for (const auto &[name, geometry] : devices) {
        SCOPED_TRACE(name);
        PacketRig rig(geometry);
        const auto before = static_cast<std::size_t>(geometry.first_address * geometry.bytes_per_address);
        const auto behindErased = [&](const Bytes &image) {
            Bytes whole(before, FlashArray::erased);
            whole.insert(whole.end(), image.begin(), image.end());
            return whole;
        };
        const Bytes image = pattern(rig.imageBytes() - before), other = pattern(image.size(), 99);
        EXPECT_TRUE(rig.sendImage(Operation::program, image).passed()) << rig.programmer.trouble();
        EXPECT_EQ(rig.chipImage(), behindErased(image));
        EXPECT_EQ(rig.readImage(), image);
        EXPECT_EQ(rig.programmer.counters().unfetched_bytes, 0U);
        EXPECT_FALSE(rig.sendImage(Operation::program, other).passed()) << "programming needs an erased device";
        EXPECT_TRUE(rig.sendImage(Operation::autoSequence, other).passed());
        EXPECT_EQ(rig.chipImage(), behindErased(other));
        EXPECT_TRUE(std::equal(rig.configuration.begin(), rig.configuration.end(),
                               rig.programmer.chip().configuration.begin()));
    }
}

TEST(Stages, FollowTheBlockTheMarginAndTheProtection) {
    kx6sim_geometry geometry = device(0x800, 1, 0x400, 0, 2);
    geometry.protect_in_auto = 1;
    PacketRig rig(geometry);
    const Outcome first = rig.sendBlock(Operation::autoProgram, pattern(0x400), 0, false);
    EXPECT_EQ(first.stages(), (std::vector<unsigned>{0x1E, 0x28, 0x32, 0x3C01, 0x3C02}));
    const Outcome last = rig.sendBlock(Operation::autoProgram, pattern(0x400), 1, true);
    EXPECT_EQ(last.stages(), (std::vector<unsigned>{0x32, 0x3C01, 0x3C02, 0x46, 0x50}));
    EXPECT_TRUE(last.passed());
    EXPECT_TRUE(rig.programmer.chip().isProtected);

    PacketRig plain(device(0x400, 1, 0x400, 0x100)); // no margin, no protection, one block that begins later
    plain.programmer.chip().main.flipBit(0xFF, 0);
    EXPECT_EQ(plain.sendImage(Operation::autoSequence, pattern(0x300)).stages(),
              (std::vector<unsigned>{0x1E, 0x28, 0x32, 0x3C01, 0x46}));
    EXPECT_EQ(plain.programmer.chip().main[0xFF], 0xFE) << "only what is programmed is erased";
}

TEST(Stages, ProgressRisesAndEndsOnceAtHundred) {
    for (const auto &[faults, reports] : {std::pair("", 1U), {"slow=1", 101U}, {"slow=3", 301U}}) {
        PacketRig rig(device(0x400), faults);
        const Outcome outcome = rig.sendBlock(Operation::program, pattern(0x400), 0, true);
        EXPECT_EQ(outcome.reports.size(), reports) << faults;
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
    const Outcome read = rig.direct(Operation::read);
    EXPECT_TRUE(std::equal(rig.configuration.begin(), rig.configuration.end(), read.reports.back().begin() + 2));

    EXPECT_TRUE(rig.direct(Operation::protect).passed());
    for (const Operation refused :
         {Operation::blankCheck, Operation::programConfiguration, Operation::checkConfiguration})
        EXPECT_EQ(rig.direct(refused).event(), 0xF9);
    EXPECT_EQ(rig.direct(Operation::read).event(), 0xFA);
    EXPECT_EQ(rig.direct(Operation::verify).event(), 0xFA);
    EXPECT_EQ(rig.sendBlock(Operation::program, pattern(0x400), 0, false).event(), 0xFA);

    EXPECT_TRUE(rig.direct(Operation::erase).passed());
    EXPECT_EQ(rig.chipImage(), Bytes(0x1000, 0xFF));
    EXPECT_TRUE(rig.direct(Operation::blankCheck).passed());
}

TEST(DirectRuns, FamiliesWithADataWindowNeedIt) {
    PacketRig rig(device(0x801, 2, 0x801, 0, 0, KX6SIM_MODULE_ARM_PRG, 0x31)); // the window begins inside a word
    const Bytes key = pattern(0x30);
    constexpr unsigned window = 0x801 - 0x30;
    EXPECT_FALSE(rig.direct(Operation::programConfiguration).passed()) << "no data";
    rig.sendData(key);
    const Outcome blank = rig.direct(Operation::checkConfiguration);
    EXPECT_EQ(blank.address(), window / 2);
    const Report &report = blank.reports.back();
    EXPECT_EQ(Bytes(report.begin() + 7, report.begin() + 11), (Bytes{0xFF, 0xFF, 0x00, key[0]}));

    rig.programmer.chip().main.store(window, key);
    for (const Operation operation : {Operation::programConfiguration, Operation::checkConfiguration}) {
        rig.sendData(key);
        EXPECT_TRUE(rig.direct(operation).passed());
    }
    Bytes wrong = key;
    wrong[5] ^= 1;
    rig.sendData(wrong);
    const Outcome differs = rig.direct(Operation::checkConfiguration);
    EXPECT_EQ(differs.event(), 0xFA);
    EXPECT_EQ(differs.address(), (window + 5) / 2);
}

TEST(ProgramErrors, CarryAddressDeviceAndBufferData) {
    struct Case {
        kx6sim_geometry geometry;
        std::uint32_t address;
        Bytes inDevice, inBuffer;
        Bytes reported; ///< two places for each
    };
    const Case cases[] = {
        {device(0x800, 1, 0x400, 0x100), 0x123, {0xF7}, {0xFF}, {0xF7, 0, 0xFF, 0}},
        {device(0x800, 2), 0x234, {0x34, 0x12}, {0x34, 0x56}, {0x34, 0x12, 0x34, 0x56}},
    };
    for (const auto &[geometry, address, inDevice, inBuffer, reported] : cases) {
        PacketRig rig(geometry);
        const auto width = inDevice.size();
        rig.programmer.chip().main.store(address * width, inDevice);
        Bytes block(0x400 * width, 0xFF);
        std::copy(inBuffer.begin(), inBuffer.end(),
                  block.begin() + static_cast<std::ptrdiff_t>(
                                      (address - static_cast<std::uint32_t>(geometry.first_address)) * width));
        const Outcome error = rig.sendBlock(Operation::program, block, 0, false);
        EXPECT_EQ(error.event(), 0xFA);
        EXPECT_EQ(error.address(), address);
        const Report &report = error.reports.back();
        EXPECT_EQ(Bytes(report.begin() + 7, report.begin() + 11), reported);
    }
}

/// Packets of a block's program that break one rule each: none may end in a pass.
TEST(Rules, ABrokenRuleNeverPasses) {
    struct Case {
        const char *name;
        std::size_t dataBytes = 0x400;
        Bytes announcement = {0x0A, 0, 0x80, 2};
        Bytes run = {0x34, 4, 1, 0, 0};
        std::size_t announcementBytes = 4, runBytes = 16;
        bool hasAlgorithm = true;
    };
    const Case cases[] = {
        {.name = "no data", .dataBytes = 0},
        {.name = "a byte short", .dataBytes = 0x3FF},
        {.name = "a byte too many", .dataBytes = 0x401},
        {.name = "data of another bank", .announcement = {0x0A, 0, 0x80, 1}},
        {.name = "no announcement", .announcement = {}},
        {.name = "announcement of 8 bytes", .announcementBytes = 8},
        {.name = "block skipped", .run = {0x34, 4, 1, 1, 0}},
        {.name = "block beyond the end", .run = {0x34, 4, 0x81, 4, 0}},
        {.name = "marked as last too early", .run = {0x34, 4, 0x81, 0, 0}},
        {.name = "run in another bank", .run = {0x34, 4, 2, 0, 0}},
        {.name = "unknown operation", .run = {0x34, 0x10, 1, 0, 0}},
        {.name = "run packet of 8 bytes", .runBytes = 8},
        {.name = "no algorithm", .hasAlgorithm = false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        PacketRig rig;
        if (!c.hasAlgorithm) rig.programmer.prepare(rig.geometry);
        if (!c.announcement.empty()) (void)rig.send(c.announcement, c.announcementBytes);
        if (c.dataBytes != 0) (void)rig.programmer.bulkWrite(pattern(c.dataBytes));
        (void)rig.send(c.run, c.runBytes);
        EXPECT_FALSE(rig.reports().passed());
        EXPECT_NE(rig.programmer.trouble(), "");
        rig.programmer.prepare(rig.geometry);
        EXPECT_EQ(rig.download(rig.algorithm), 0);
        EXPECT_TRUE(rig.sendImage(Operation::autoSequence, pattern(0x1000)).passed()) << "a clean session passes";
    }
    PacketRig rig;
    EXPECT_TRUE(rig.sendBlock(Operation::program, pattern(0x400), 0, false).passed());
    EXPECT_FALSE(rig.direct(Operation::program).passed()) << "data sent once, run twice";
}

TEST(Rules, ReadsDeliverOnlyWhatWasAskedFor) {
    PacketRig rig;
    Bytes chunk(0x200);
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 2}, 8), 1) << "no read run yet";
    EXPECT_EQ(rig.read(chunk), 4);
    EXPECT_TRUE(rig.direct(Operation::read).passed());
    EXPECT_EQ(rig.read(chunk), 4) << "no request yet";
    EXPECT_EQ(rig.send({0x0A, 1, 0x40, 2}, 8), 1) << "chunk out of order";
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 1}, 8), 1) << "wrong bank";
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 2}, 8), 0);
    EXPECT_EQ(rig.read(chunk), 2);
    EXPECT_EQ(rig.send({0x0A, 1, 0x40, 2}, 8), 0);
    Bytes tooMuch(0x201);
    EXPECT_EQ(rig.read(tooMuch), 4) << "more than the block has left";
    EXPECT_EQ(rig.programmer.counters().unfetched_bytes, 0x200U);
}

TEST(Rules, AnotherDeviceThanTheChipIsRefused) {
    PacketRig rig;
    try {
        rig.programmer.prepare(device(0x2000));
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), KX6SIM_WRONG_CHIP);
    }
}

TEST(Stop, AnswersWithTheEventAndLeavesTheChip) {
    PacketRig rig(device(), "slow=1");
    rig.sendData(pattern(0x400));
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

TEST(SeededFaults, OfReportsAndWrites) {
    const auto program = [](const char *faults) {
        PacketRig rig(device(), faults);
        return rig.sendBlock(Operation::program, pattern(0x400), 0, false);
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
}

TEST(SeededFaults, ABitFlipsOnceAndIsFoundByTheVerifyStage) {
    // In a part of the chip, and in all of it, which an earlier image may have taken over as a whole.
    for (const int blockAddresses : {0x400, 0x1000}) {
        PacketRig rig(device(0x1000, 1, blockAddresses));
        const Bytes image = pattern(0x1000);
        EXPECT_TRUE(rig.sendImage(Operation::autoSequence, image).passed());
        rig.programmer.setFaults(FaultPlan("bitflip@0x123.6", 0));
        EXPECT_EQ(rig.sendImage(Operation::autoSequence, image).address(), 0x123U);
        EXPECT_EQ(rig.programmer.chip().main[0x123], image[0x123] ^ 0x40);
        EXPECT_TRUE(rig.sendImage(Operation::autoSequence, image).passed());
    }
}

TEST(SeededFaults, OfReads) {
    PacketRig rig(device(), "bulkread@1:pending=2,bulkread@2:fail,bulkread@3:corrupt,bulkread@4:pending=1,"
                            "version@1:wrong,chipid@1:wrong");
    EXPECT_EQ(rig.command({0x34, 0x1A, 0, 0x10, 0}).reports.back()[2], 0x81);
    EXPECT_EQ(rig.command({0x34, 0x1D, 1, 0, 0}).reports.back()[3], 0x1F ^ 0xFF);
    EXPECT_TRUE(rig.direct(Operation::read).passed());
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 2}, 8), 0);
    Bytes chunk(0x100, 0);
    Byte state = 0;
    rig.programmer.bulkRead(chunk, &state);
    rig.programmer.advance();
    EXPECT_EQ(state, 0) << "still pending";
    rig.programmer.advance();
    EXPECT_EQ(state, 2);
    EXPECT_EQ(chunk, Bytes(0x100, 0xFF));

    state = 0;
    rig.programmer.bulkRead(chunk, &state);
    rig.programmer.advance();
    EXPECT_EQ(state, 4);
    EXPECT_EQ(rig.read(chunk), 2) << "a failed read can be repeated";
    EXPECT_EQ(std::count(chunk.begin(), chunk.end(), Byte{0xFF}), 0xFF) << "one byte is corrupt";
    EXPECT_EQ(rig.programmer.counters().unfetched_bytes, 0x200U);

    state = 0;
    chunk.assign(0x100, 0xEE);
    rig.programmer.bulkRead(chunk, &state);
    rig.programmer.endOperation();
    rig.programmer.advance();
    EXPECT_EQ(state, 0) << "a pending read writes nothing after the end";
    EXPECT_EQ(chunk, Bytes(0x100, 0xEE));
}

} // namespace
} // namespace kx3sim
