// What the programmer of library kx6io does about packets, and what a host does by its control interface.
#include "simulator/packets.h"

namespace kx3sim::test {
namespace {

TEST(Programmer, AnswersWithVersionIdentityAndAlgorithm) {
    Packets rig(device(), "version@2:wrong,chipid@2:wrong");
    kx6sim_set_firmware_version(0x27);
    EXPECT_EQ(rig.command({0x34, 0x1A, 0, 0x10}).part(0, 3), (Bytes{0x64, 0, 0x27}));
    EXPECT_EQ(rig.command({0x34, 0x1D, 1}).part(0, 6), (Bytes{0x64, 0, 1, 0x1F, 0x95, 0x0F}));
    EXPECT_NE(rig.command({0x34, 0x1A, 0, 0x10}).part(2, 1), Bytes{0x27});
    EXPECT_NE(rig.command({0x34, 0x1D, 1}).part(3, 1), Bytes{0x1F});

    EXPECT_EQ(rig.send({0x33, 0x01, 0x40}, 8), 0);
    Bytes image(rig.algorithm.size());
    rig.io.usbbulkread(image.data(), static_cast<Long>(image.size()), &rig.state);
    EXPECT_EQ(image, rig.algorithm);
    EXPECT_EQ(rig.io.datstr(0x1A5, 2), u"A5");
    EXPECT_EQ(rig.io.datstr(-0x100, 8), u"FFFFFF00");
}

TEST(Programmer, StagesFollowTheBlockTheMarginAndTheProtection) {
    const struct {
        bool isFull; ///< with margin and protection
        Byte block;
        Bytes stages, passes;
    } cases[] = {{true, 0, {0x1E, 0x28, 0x32, 0x3C, 0x3C}, {0, 0, 0, 1, 2}},
                 {true, 1, {0x32, 0x3C, 0x3C, 0x46, 0x50}, {0, 1, 2, 0, 0}},
                 {false, 0, {0x1E, 0x28, 0x32, 0x3C}, {0, 0, 0, 1}},
                 {false, 1, {0x32, 0x3C, 0x46}, {0, 1, 0}}};
    for (const auto &[isFull, block, stages, passes] : cases) {
        kx6sim_geometry geometry = device(0x800);
        geometry.verify_margin = isFull ? 2 : 0;
        geometry.protect_in_auto = isFull ? 1 : 0;
        Packets rig(geometry);
        Outcome outcome;
        for (Byte i = 0; i <= block; ++i)
            outcome = rig.run(autos, pattern(0x400), i, i == 1);
        ASSERT_EQ(outcome.reports.size(), stages.size());
        for (std::size_t i = 0; i < stages.size(); ++i) {
            const Byte progress = i + 1 < stages.size() ? 99 : 100;
            const Report &report = outcome.reports[i];
            EXPECT_EQ(Bytes(report.begin(), report.begin() + 4), (Bytes{progress, 0, stages[i], passes[i]}));
        }
        EXPECT_EQ(kx6sim_chip_protected(), isFull && block == 1 ? 1 : 0);
    }
}

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
    Packets later(device(0x400, 1, 0x400, 0x100));
    EXPECT_EQ(kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0xFF, 0), KX6SIM_OK);
    EXPECT_TRUE(later.run(autos, pattern(0x300), 0, true).passed());
    EXPECT_EQ(later.chip()[0xFF], 0xFE) << "only what is programmed is erased";
}

TEST(Programmer, SomeFamiliesNeedDataForTheirConfiguration) {
    Packets rig(device(0x801, 2, 0x801, 0, 0x31)); // the data begin inside a word
    constexpr std::uint32_t first = 0x801 - 0x30;
    Bytes key = pattern(0x30);
    EXPECT_EQ(rig.run(fuse).event(), 0xFA) << "no data";
    const Outcome blank = rig.run(check, key);
    EXPECT_EQ(blank.address(), first / 2);
    EXPECT_EQ(blank.part(7, 4), (Bytes{0xFF, 0xFF, 0x00, key[0]}));
    EXPECT_EQ(kx6sim_poke(KX6SIM_AREA_MAIN, first, key.data(), key.size()), KX6SIM_OK);
    EXPECT_TRUE(rig.run(fuse, key).passed());
    EXPECT_TRUE(rig.run(check, key).passed());
    key[5] ^= 1;
    EXPECT_EQ(rig.run(check, key).address(), (first + 5) / 2);
}

TEST(Programmer, AVerifyStageComparesWhatTheChipHolds) {
    for (const Long block : {0x400, 0x1000}) { // a part of the chip, and all of it
        Packets rig(device(0x1000, 1, block));
        const Bytes image = pattern(static_cast<std::size_t>(block));
        const bool isLast = block == 0x1000;
        EXPECT_EQ(kx6sim_set_faults("bitflip@0x123.6", 0), KX6SIM_OK);
        const Outcome flipped = rig.run(autos, image, 0, isLast);
        EXPECT_EQ(flipped.event(), 0xFA);
        EXPECT_EQ(flipped.address(), 0x123U);
        EXPECT_EQ(flipped.part(7, 4), (Bytes{static_cast<Byte>(image[0x123] ^ 0x40), 0, image[0x123], 0}));
        EXPECT_TRUE(rig.run(autos, image, 0, isLast).passed()) << "it flips once";

        rig.sendData(image);
        EXPECT_EQ(rig.send(rig.runPacket(autos, 0, isLast), 16), 0);
        for (Report report{}; report[2] != 0x32;)
            ASSERT_EQ(kx6sim_fetch_report(report.data()), 1);
        EXPECT_EQ(kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0x321, 1), KX6SIM_OK);
        EXPECT_EQ(Packets::reports().address(), 0x321U) << "changed between the stages";
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
        EXPECT_FALSE(Packets::reports().passed());
        EXPECT_STRNE(kx6sim_trouble(), "");
        EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
        rig.prepare();
        EXPECT_TRUE(rig.run(autos, pattern(0x400)).passed()) << "a clean session passes";
    }
    Packets rig;
    EXPECT_TRUE(rig.run(program, pattern(0x400)).passed());
    EXPECT_FALSE(rig.run(program).passed()) << "data sent once, run twice";
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
    Report report;
    EXPECT_EQ(kx6sim_fetch_report(report.data()), 1);
    EXPECT_EQ(rig.send({0x34, 0x1E}, 8), 0);
    const Outcome outcome = Packets::reports();
    EXPECT_EQ(outcome.reports.size(), 1U);
    EXPECT_EQ(outcome.event(), 0x1E);
    EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
}

TEST(Rules, TheControlInterfaceRefusesWhatCannotBe) {
    Packets rig;
    const kx6sim_identity valid{0x1E, 2, {}}, tooLong{0x1E, 8, {}};
    const kx6sim_geometry larger = device(0x2000), empty = device(0), threeBytes = device(0x1000, 3);
    Byte byte = 0x55;
    const kx6sim_status refusals[] = {kx6sim_poke(KX6SIM_AREA_MAIN, 0x1000, &byte, 1),
                                      kx6sim_poke(KX6SIM_AREA_MAIN, ~std::uint64_t{0}, &byte, 1),
                                      kx6sim_poke(KX6SIM_AREA_EEPROM, 0, &byte, 1),
                                      kx6sim_poke(3, 0, &byte, 1),
                                      kx6sim_peek(KX6SIM_AREA_MAIN, 0, nullptr, 1),
                                      kx6sim_flip_bit(KX6SIM_AREA_MAIN, 0, 8),
                                      kx6sim_insert_blank_chip(0, 0, &valid),
                                      kx6sim_insert_blank_chip(~std::uint64_t{0}, 0, &valid),
                                      kx6sim_insert_blank_chip(1, 0, &tooLong),
                                      kx6sim_set_identity(&tooLong),
                                      kx6sim_prepare(&empty),
                                      kx6sim_prepare(&threeBytes)};
    for (const kx6sim_status &status : refusals)
        EXPECT_EQ(status, KX6SIM_BAD_ARGUMENT) << &status - refusals;
    EXPECT_EQ(kx6sim_prepare(&larger), KX6SIM_WRONG_CHIP);
    EXPECT_EQ(kx6sim_chip_changed(), 0);
    EXPECT_EQ(rig.chip(), Bytes(0x1000, 0xFF));
    kx6sim_reset();
    EXPECT_EQ(kx6sim_peek(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_NO_CHIP);
    EXPECT_STREQ(kx6sim_last_error(), "the socket is empty");
}

TEST(Faults, StrikeTheCallsThatTheTextNames) {
    const struct {
        const char *faults;
        std::size_t reports; ///< of three runs, each of which is asked once more
        Byte event;
    } cases[] = {{"slow=1", 303, 0},
                 {"slow=3", 903, 0},
                 {"report@5:identity", 3, 0xF9},
                 {"report@3+:stop", 3, 0x1E},
                 {"report@5:compare=0x12345678", 3, 0xFA},
                 {"report@5:missing", 2, 0},
                 {"report@3+:missing", 1, 0}};
    for (const auto &[faults, reports, event] : cases) {
        SCOPED_TRACE(faults);
        Packets rig(device(), faults);
        Outcome outcome;
        std::size_t count = 0;
        for (int run = 0; run < 3; ++run) {
            EXPECT_EQ(rig.send(rig.runPacket(erase), 16), 0);
            outcome = Packets::reports();
            count += outcome.reports.size();
            EXPECT_TRUE(std::ranges::is_sorted(outcome.reports, {}, [](const Report &report) { return report[0]; }));
        }
        EXPECT_EQ(count, reports);
        EXPECT_EQ(outcome.event(), event);
        EXPECT_EQ(outcome.address(), event == 0xFA ? 0x12345678U : 0U);
    }
    Packets rig;
    EXPECT_EQ(kx6sim_set_faults("bulkwrite@1:fail,comwrite@3:fail", 0), KX6SIM_OK);
    for (const int expected : {1, 0, 1, 0})
        EXPECT_EQ(rig.download(), expected);
}

TEST(Faults, OfReads) {
    constexpr const char *faults = "bulkread@1:pending=2,bulkread@2:fail,bulkread@3:corrupt,bulkread@4:pending=1";
    Packets rig(device(), faults);
    const auto corrupted = [&](std::uint64_t seed) {
        EXPECT_EQ(kx6sim_set_faults(faults, seed), KX6SIM_OK);
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

TEST(Faults, AMalformedItemIsNamedAndNothingOfTheListIsUsed) {
    Packets rig;
    for (const std::string item : {"bulkwrite",
                                   "bulkwrite@0:fail",
                                   "bulkwrite@1x:fail",
                                   "bulkwrite@3:corrupt",
                                   "bulkwrite@3:fail=1",
                                   "bulkwrte@3:fail",
                                   "bulkread@1:pending",
                                   "bulkread@1:pending=0",
                                   "report@1:compare=x",
                                   "report@1:compare=0x100000000",
                                   "report@++1:stop",
                                   "bitflip@1.8",
                                   "bitflip@.1",
                                   "bitflip@1",
                                   "slow=0",
                                   "slwo=1",
                                   "bitflip@1.1.1",
                                   "bulkwrite@3",
                                   "report@99999999999:stop",
                                   ""}) {
        EXPECT_EQ(kx6sim_set_faults(("slow=1," + item + ",report@1:stop").c_str(), 0), KX6SIM_BAD_ARGUMENT) << item;
        EXPECT_NE(std::string(kx6sim_last_error()).find('"' + item + '"'), std::string::npos) << kx6sim_last_error();
    }
    EXPECT_EQ(rig.run(erase).reports.size(), 1U);
}

} // namespace
} // namespace kx3sim::test
