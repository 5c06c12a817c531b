// What the programmer of library kx6io does about packets, and what a host does by its control interface.
#include "simulator/packets.h"

#include <sstream>

namespace kx3sim::test {
namespace {

TEST(Programmer, ErasesAndProtects) {
    Packets rig;
    const std::pair<Byte, Byte> eventOfRun[] = {{blankCheck, 0}, {check, 0xFA},      {fuse, 0},      {check, 0},
                                                {protect, 0},    {blankCheck, 0xF9}, {fuse, 0xF9},   {check, 0xF9},
                                                {read, 0xFA},    {program, 0xFA},    {verify, 0xFA}, {erase, 0},
                                                {check, 0xFA},   {blankCheck, 0}};
    for (const auto &[code, event] : eventOfRun) {
        if (code == program) rig.sendData(pattern(0x400));
        EXPECT_EQ(rig.run(code).event(), event) << int{code};
    }
    kx6sim_geometry sealed = device(0x400, 0x400);
    sealed.first_address = 0x100;
    sealed.protect_in_auto = 1;
    Packets later(sealed);
    EXPECT_EQ(kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0xFF, 0), KX6SIM_OK);
    EXPECT_TRUE(later.run(autos, pattern(0x300), 0, true).passed());
    EXPECT_EQ(later.chip()[0xFF], 0xFE) << "only what is programmed is erased";
    EXPECT_EQ(kx6sim_chip_protected(), 1);
}

TEST(Programmer, AVerifyStageComparesWhatTheChipHolds) {
    for (const Long block : {0x400, 0x1000}) { // a part of the chip, and all of it
        Packets rig(device(0x1000, block));
        const Bytes image = pattern(static_cast<std::size_t>(block));
        const bool isLast = block == 0x1000;
        EXPECT_EQ(kx6sim_set_faults("bitflip@0x123.6", 0), KX6SIM_OK);
        const Report flipped = rig.run(autos, image, 0, isLast);
        EXPECT_EQ(flipped.event(), 0xFA);
        EXPECT_EQ(flipped.address(), 0x123U);
        EXPECT_EQ(flipped.bytes[7], image[0x123] ^ 0x40);
        EXPECT_EQ(flipped.bytes[9], image[0x123]);
        EXPECT_TRUE(rig.run(autos, image, 0, isLast).passed()) << "it flips once";

        rig.sendData(image);
        EXPECT_EQ(rig.send(rig.runPacket(autos, 0, isLast), 16), 0);
        for (Report report{}; report.bytes[2] != 0x32;)
            ASSERT_EQ(kx6sim_fetch_report(report.bytes.data()), 1);
        EXPECT_EQ(kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0x321, 1), KX6SIM_OK);
        EXPECT_EQ(Packets::lastReport().address(), 0x321U) << "changed between the stages";
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
    const Case cases[] = {{.name = "no data", .dataBytes = 0},
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
                          {.name = "no algorithm", .hasAlgorithm = false}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Packets rig;
        if (!c.hasAlgorithm) (void)kx6sim_prepare(&rig.device);
        if (!c.announcement.empty()) (void)rig.send(c.announcement, c.announcementBytes);
        if (c.dataBytes != 0) (void)rig.write(pattern(c.dataBytes));
        (void)rig.send(c.run, c.runBytes);
        EXPECT_FALSE(Packets::lastReport().passed());
        EXPECT_STRNE(kx6sim_trouble(), "");
        EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
        rig.prepare();
        EXPECT_TRUE(rig.run(autos, pattern(0x400)).passed()) << "a clean session passes";
    }
    Packets rig;
    EXPECT_TRUE(rig.run(program, pattern(0x400)).passed());
    EXPECT_FALSE(rig.run(program).passed()) << "data sent once, run twice";
    Packets single(device(0x400));
    EXPECT_FALSE(single.run(program, pattern(0x400)).passed()) << "the last block without its mark";
}

TEST(Rules, ReadsDeliverOnlyWhatWasAskedFor) {
    Packets rig;
    Bytes chunk(0x200), tooMuch(0x201);
    EXPECT_EQ(rig.fetch(0, chunk), 1) << "no read run yet";
    EXPECT_TRUE(rig.run(read).passed());
    rig.io.usbbulkread(chunk.data(), 0x200, &rig.state);
    EXPECT_EQ(rig.state, 4) << "no request yet";
    EXPECT_EQ(rig.fetch(1, chunk), 1) << "chunk out of order";
    EXPECT_EQ(rig.send({0x0A, 0, 0x40, 1}, 8), 1) << "wrong bank";
    EXPECT_EQ(rig.fetch(0, chunk), 2);
    EXPECT_EQ(rig.fetch(1, tooMuch), 4) << "more than the block has left";
    EXPECT_EQ(Packets::unfetched(), 0x200U);
}

TEST(Rules, AStopIsAnsweredAndLeavesTheChip) {
    Packets rig(device(), "slow=1");
    rig.sendData(pattern(0x400));
    EXPECT_EQ(rig.send(rig.runPacket(program), 16), 0);
    EXPECT_EQ(rig.send({0x34, 0x1E}, 8), 0);
    EXPECT_EQ(Packets::lastReport().event(), 0x1E);
    EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
}

TEST(Rules, TheControlInterfaceRefusesWhatCannotBe) {
    Packets rig;
    const kx6sim_identity tooLong{0x1E, 8, {}};
    const kx6sim_geometry larger = device(0x2000), empty = device(0);
    Byte byte = 0x55;
    for (const kx6sim_status status :
         {kx6sim_poke(KX6SIM_AREA_MAIN, 0x1000, &byte, 1), kx6sim_poke(KX6SIM_AREA_MAIN, ~std::uint64_t{0}, &byte, 1),
          kx6sim_poke(3, 0, &byte, 1), kx6sim_peek(KX6SIM_AREA_MAIN, 0, nullptr, 1),
          kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0, 8), kx6sim_insert_blank_chip(1, 0, &tooLong),
          kx6sim_set_identity(&tooLong), kx6sim_prepare(&empty)})
        EXPECT_EQ(status, KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(kx6sim_prepare(&larger), KX6SIM_WRONG_CHIP);
    EXPECT_EQ(kx6sim_chip_changed(), 0);
    EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
    kx6sim_reset();
    EXPECT_EQ(kx6sim_peek(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_NO_CHIP);
    EXPECT_STREQ(kx6sim_last_error(), "the socket is empty");
}

TEST(Faults, StrikeTheTransfersThatTheTextNames) {
    Packets rig;
    constexpr const char *faults = "bulkwrite@1:fail,comwrite@3:fail,bulkread@1:pending=2,bulkread@2:fail,"
                                   "bulkread@3:corrupt,bulkread@4:pending=1";
    const auto corrupted = [&](std::uint64_t seed) {
        EXPECT_EQ(kx6sim_set_faults(faults, seed), KX6SIM_OK);
        for (const int expected : {1, 0, 1, 0})
            EXPECT_EQ(rig.download(), expected);
        EXPECT_TRUE(rig.run(read).passed());
        Bytes chunk(0x100, 0xEE);
        EXPECT_EQ(rig.fetch(0, chunk), 0);
        kx6sim_advance();
        EXPECT_EQ(rig.state, 0) << "still pending";
        kx6sim_advance();
        EXPECT_EQ(rig.state, 2);
        EXPECT_EQ(chunk, Bytes(0x100, 0xFF));
        EXPECT_EQ(rig.fetch(1, chunk), 0);
        kx6sim_advance();
        EXPECT_EQ(rig.state, 4);
        EXPECT_EQ(rig.fetch(1, chunk), 2) << "a failed read can be repeated";
        EXPECT_EQ(std::ranges::count(chunk, Byte{0xFF}), 0xFF) << "one byte is corrupt";
        Bytes untouched(0x100, 0xEE);
        EXPECT_EQ(rig.fetch(2, untouched), 0);
        kx6sim_end_operation();
        kx6sim_advance();
        EXPECT_EQ(untouched, Bytes(0x100, 0xEE)) << "a pending read writes nothing after the end";
        return chunk;
    };
    const Bytes first = corrupted(1);
    EXPECT_EQ(first, corrupted(1)) << "the seed says where";
    EXPECT_NE(first, corrupted(2));
}

TEST(Faults, StrikeTheReportsThatTheTextNames) {
    Packets rig(device(), "slow=3,report@302+:stop");
    EXPECT_EQ(rig.run(erase).number, 301) << "three reports a percent, and the last one";
    for (int run = 0; run < 2; ++run) {
        const Report stopped = rig.run(erase);
        EXPECT_EQ(stopped.event(), 0x1E);
        EXPECT_EQ(stopped.number, 1);
    }
}

TEST(Faults, AMalformedItemIsNamedAndNothingOfTheListIsUsed) {
    Packets rig;
    std::istringstream items(
        "bulkwrite bulkwrite@0:fail bulkwrite@1x:fail bulkwrite@3:corrupt bulkwrite@3:fail=1 bulkwrte@3:fail "
        "bulkwrite@3 bulkread@1:pending bulkread@1:pending=0 report@1:compare=x report@1:compare=0x100000000 "
        "report@++1:stop report@99999999999:stop bitflip@1.8 bitflip@.1 bitflip@1 bitflip@1.1.1 slow=0 slwo=1");
    for (std::string item; items >> item;) {
        EXPECT_EQ(kx6sim_set_faults(("slow=1," + item + ",report@1:stop").c_str(), 0), KX6SIM_BAD_ARGUMENT) << item;
        EXPECT_NE(std::string(kx6sim_last_error()).find('"' + item + '"'), std::string::npos) << kx6sim_last_error();
    }
    EXPECT_EQ(kx6sim_set_faults("slow=1,", 0), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(rig.run(erase).number, 1);
}

} // namespace
} // namespace kx3sim::test
