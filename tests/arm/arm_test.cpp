// ARM sessions beyond what the cases as data hold: every error on its path, algorithm files, identities, families,
// and which bytes go where.
#include "arm_rig.h"
#if !defined(_WIN32)
#include "support/unreadable_files.h"

#include <thread>
#endif

namespace kx3::test {
namespace {

constexpr Byte direct = 9;
const std::string directRun = "34 0A 00 00 00/16; ";
const std::string pass = "EndOperation; SignalPass 0", fail = "EndOperation; SignalFail 0";
const std::string passed = startLine(direct) + endLine(direct, "n2");

TEST(ArmSession, EveryErrorEndsOnItsPath) {
    struct Case {
        const char *name;
        std::function<void(ArmRig &)> prepare;
        std::string log;
        std::string lastCall;
        std::string failure = "";
    };
    const auto image = [](Byte width, Long size) { return [=](ArmRig &rig) { rig.describe({width, size}); }; };
    const std::string query = "34 1A 00 10 00/16", sent = "algorithm -> 291";
    const Case cases[] = {
        {"answer no byte", [](ArmRig &rig) { rig.sessionHost->startCheck = 256; }, aborted, "StartCheck", "Overflow"},
        {"signature overflow", [](ArmRig &rig) { rig.host.wsign(1) = rig.host.wsign(2) = 128; }, aborted, "StartCheck",
         "Overflow"},
        {"image not sent", [&](ArmRig &rig) { rig.statuses[sent] = 1; }, aborted, sent},
        {"image sent with another status", [&](ArmRig &rig) { rig.statuses[sent] = 2; }, passed, "SignalPass 0"},
        {"image not read back", [](ArmRig &rig) { rig.readStates = {4}; }, aborted, "algorithm <- 292"},
        {"configuration beyond the buffer", image(1, 0x1000 + 2200 - 10), aborted, query,
         "Subscript out of range: tamselibuffer(6296) of 6296"},
        {"image size overflow", image(2, 0x40000000), aborted, query, "Overflow"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        c.prepare(rig);
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.traffic.back(), c.lastCall);
        EXPECT_EQ(rig.failure(), c.failure);
        EXPECT_EQ(rig.host.prgresult(0), 0);
    }
}

TEST(ArmSession, AnErrorInsideTheErrorPathReachesTheHost) {
    ArmRig rig;
    rig.sessionHost->startCheck = 1;
    rig.host.prgnote(12).handle = 0xFFFFFFFF;
    rig.host.prgmode(1) = 9;
    EXPECT_THROW(rig.run(direct), Error);
    EXPECT_EQ(rig.host.prgmode(1), 0);
    rig.host.prgnote(12).handle = 0;
    EXPECT_EQ(rig.run(direct), "\n" + timeLine) << "the next session starts anew";
}

struct AlgorithmFiles {
    Integer model;
    const char *clockSpecific, *general;
};
constexpr AlgorithmFiles algorithmFiles[] = {{model32f, "algo4/clk/clock.alg", "algo4/family/device.alg"},
                                             {modelArm, "algo/clk/clock.bin", "algo/family/device.bin"}};
/// The longest that is taken.
constexpr std::size_t longestAlgorithm = 0x6000;

/// Whether a session with the algorithm file that is there passes; else it has rejected the file and sent nothing.
bool isSent(ArmRig &rig) {
    const bool sent = rig.run(direct) == passed;
    EXPECT_EQ(rig.log(), sent ? passed : "Read algo file error!\n" + timeLine);
    EXPECT_EQ(rig.traffic.size(), sent ? 12U : 3U);
    return sent;
}

TEST(ArmSession, TheClocksAlgorithmComesFirst) {
    constexpr int none = -1, folder = -2;
    // Bytes of the clock's file and of the device's, and the number that is sent.
    const int cases[][3] = {{5, 4, 5}, {0, 4, 4}, {folder, 4, 4}, {longestAlgorithm + 1, 4, none}};
    for (const AlgorithmFiles &files : algorithmFiles)
        for (const auto &[clockBytes, generalBytes, used] : cases) {
            ArmRig rig({.model = files.model});
            if (clockBytes == folder) std::filesystem::create_directories(files.clockSpecific);
            if (clockBytes >= 0) spill(files.clockSpecific, std::vector(static_cast<std::size_t>(clockBytes), 'a'));
            spill(files.general, std::vector(static_cast<std::size_t>(generalBytes), 'a'));
            EXPECT_EQ(isSent(rig), used != none) << clockBytes;
            EXPECT_EQ(std::ranges::count(rig.traffic, "AlgorithmLoaded " + std::to_string(used)), used != none);
        }
}

#if !defined(_WIN32) // where some 50 000 sessions that open a file take too long
TEST(ArmSession, ADamagedAlgorithmFileIsSentOrRejected) {
    for (const auto &[model, clockSpecific, file] : algorithmFiles) {
        ArmRig rig({.model = model});
        std::vector<char> bytes(longestAlgorithm + 2, 1);
        spill(file, bytes);
        for (std::size_t length = bytes.size(); length-- > 0;) {
            std::filesystem::resize_file(file, length);
            ASSERT_EQ(isSent(rig), length >= 1 && length <= longestAlgorithm) << length << " bytes";
        }
        bytes.resize(0x20);
        for (std::size_t bit = 0; bit < 128; ++bit) {
            std::vector<char> flipped = bytes;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            spill(file, flipped);
            EXPECT_EQ(isSent(rig), bit != 0) << "a first byte 0 is no algorithm";
        }
        spill(file, std::vector<char>(0x20001, 1));
        EXPECT_FALSE(isSent(rig)) << "longer than its block";
        std::filesystem::remove(file);
        forEachUnreadableFile(file, [&] { EXPECT_FALSE(isSent(rig)); });
        {
            const std::jthread writer([path = file](const std::stop_token &stop) {
                for (std::size_t length = 1; !stop.stop_requested(); length = length * 5 % (longestAlgorithm + 7))
                    spill(path, std::vector<char>(length, static_cast<char>(length % 3)));
            });
            for (int run = 0; run < 300; ++run)
                (void)isSent(rig);
        }
        spill(file, bytes);
        EXPECT_TRUE(isSent(rig));
    }
}
#endif

TEST(ArmSession, ChipIdCheck) {
    using enum MessageBoxResult;
    struct Case {
        Integer maker, device;
        std::deque<Reports> reports;
        std::deque<MessageBoxResult> answers;
        std::string log;
        std::string traffic;
    };
    const Reports match{{10}, {100, 0, 1, 0x1F, 0x95, 0x0B}}, other{{100, 0, 0, 0xFF, 0x00}},
        tooManyBytes{{100, 0, 16}};
    const std::string ask = "34 1D 00 00 00/16", goesOn = "; Delay 20; " + directRun + pass;
    const Case cases[] = {
        {0x1F, 0x95, {other, match}, {retry}, ">>n9 1F   n10 950B\n" + passed, ask + "; " + ask + goesOn},
        {0x1E, 0x95, {match}, {ignore}, passed, ask + goesOn},
        {0x1F, 0x95, {tooManyBytes}, {}, aborted, ask},
        {0, 0x95, {{}}, {}, passed, ask + goesOn}, // a device of any maker
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.traffic);
        ArmRig rig;
        rig.host.chipidtestmode(0) = Boolean(true);
        rig.host.compid(0) = c.maker;
        rig.host.typeid_(0) = c.device;
        rig.runs = c.reports;
        rig.ui->answers = c.answers;
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.operationTraffic(), c.traffic);
        EXPECT_EQ(rig.ui->boxes.size(), c.answers.size());
    }
}

TEST(ArmSession, DirectRunsBesideTheFamiliesThatSendData) {
    for (const Byte family : {Byte{0x1A}, Byte{0x1E}, Byte{0x2D}, Byte{0x32}}) {
        ArmRig rig({.addresses = 0x1000, .bank = 1, .family = family});
        rig.setBuffer(sampleImage(rig.data().size()));
        rig.expect(direct, endLine(direct, "n2"), "34 0A 01 00 00/16; " + pass);
        EXPECT_TRUE(std::ranges::equal(rig.host.ubuf1.range(5, 11), rig.host.ibuffer.range(0x1000, 11))) << family;
    }
    ArmRig rig({.family = 0x2E});
    const std::string sent = "0A 00 80 01/4; ibuffer+208 -> 48";
    rig.statuses["ibuffer+208 -> 48"] = 5; // a code without a line
    rig.expect(direct, timeLine, sent + "; " + directRun + fail);
    rig.statuses["ibuffer+208 -> 48"] = -1; // a status that is no byte
    rig.expect(direct, aborted, sent, "Overflow");
    rig.host.tlength(0) = 0x2F; // the data would begin before the buffer
    rig.expect(direct, aborted, "0A 00 80 01/4", "Subscript out of range: tamselibuffer(-1) of 6296");
}

TEST(ArmSession, AnIdentityErrorEndsADirectRun) {
    ArmRig rig;
    rig.runs = {{{0, 0xF9}}};
    rig.expect(direct, ">>ID Check Error!!!\n" + endLine(direct, "n3"), directRun + fail);
}

TEST(BlockTransfer, BlocksAndChunks) {
    const std::string ask = "0A 00 40 02/8; ", announce = "0A 00 80 02/4; ", announceArm = "0A 00 80 01/4; ";
    const auto expect = [](Integer model, Byte operation, Device device, const std::string &traffic) {
        SCOPED_TRACE(traffic);
        device.model = model;
        ArmRig rig(device, 0x40000);
        rig.run(operation);
        EXPECT_EQ(rig.operationTraffic(), traffic + pass);
        EXPECT_EQ(rig.failure(), "");
    };
    // Reading: one request a block, chunks of C000.
    expect(model32f, 2, {2, 0x100, 0x100, 16, 32, 1}, "34 02 81 00 00/16; " + ask + "ibuffer+32 <- 480; ");
    expect(model32f, 2, {1, 0x100, 0x100, 0.5, 2.5}, "34 02 80 00 00/16; " + ask + "ibuffer+2 <- 256; ");
    expect(model32f, 2, {1, 0x100, 0x100, 255}, "34 02 80 00 00/16; " + ask + "ibuffer+0 <- 1; ");
    expect(model32f, 2, {1, 0x18001, 0xC000},
           "34 02 00 00 00/16; " + ask + "ibuffer+0 <- 49152; 34 02 00 01 00/16; " + ask +
               "ibuffer+49152 <- 49152; 34 02 80 02 00/16; " + ask + "ibuffer+98304 <- 1; ");
    expect(modelArm, 5, {1, 0x8001, 0x10000, 0, 0, 1},
           "34 06 81 00 00/16; " + ask + "ibuf2 <- 32768; 0A 01 40 02/8; ibuf2 <- 1; ");
    // Programming: the last block is counted in bytes.
    expect(model32f, 3, {1, 0x30000, 0x18000},
           announce + "ibuffer+0 -> 49152; ibuffer+49152 -> 49152; 34 04 00 00 00/16; " + announce +
               "ibuffer+98304 -> 49152; ibuffer+147456 -> 49152; 34 04 80 01 00/16; ");
    expect(modelArm, 3, {1, 0xFFFF, 0xFFFF, 0, 0, 1},
           announce + "ibuffer+0 -> 32768; ibuffer+32768 -> 32767; 34 04 81 00 00/16; ");
    // The automatic sequence never rounds; its last chunk takes 100 bytes more where they fit.
    expect(modelArm, 0, {1, 0x10080, 0x20000},
           announceArm + "ibuffer+0 -> 65536; ibuffer+65536 -> 228; 34 01 80 00 00/16; ");
    expect(model32f, 0, {1, 49051, 0x10000}, announce + "ibuffer+0 -> 49151; 34 01 80 00 00/16; ");
    expect(model32f, 0, {1, 49052, 0x10000}, announce + "ibuffer+0 -> 49052; 34 01 80 00 00/16; ");

    ArmRig rig({.addresses = 0x808000, .block = 0x8000, .model = modelArm}, 0x808000);
    rig.run(3);
    EXPECT_TRUE(rig.operationTraffic().ends_with("ibuffer+8388608 -> 32768; 34 04 80 00 01/16; " + pass));
}

TEST(BlockTransfer, WhatCannotBeIsAnErrorBeforeItIsSent) {
    const std::string subscript = "Subscript out of range";
    const std::pair<Device, std::string> devices[] = {
        {{1, 0}, subscript},        {{1, 0x100, 0x100, 256}, subscript},   {{1, 0x100, -1}, subscript},
        {{1, 0x100, 0}, subscript}, {{1, 0x100, 0x100, 1e10}, "Overflow"},
    };
    for (const Byte operation : {Byte{0}, Byte{2}, Byte{3}, Byte{5}})
        for (const auto &[device, error] : devices)
            ArmRig(device).expect(operation, aborted, "", error);

    constexpr Long end = 0x1000 + 2200;
    const std::tuple<Byte, Device, std::string, Long> transfers[] = {
        {2, {1, 0x100, 0x100, 0, end - 255}, "34 02 80 00 00/16; 0A 00 40 02/8", end},
        {2, {1, 0x100, 0x100, 0, -1}, "34 02 80 00 00/16; 0A 00 40 02/8", -1},
        {3, {1, 0x100, 0x100, 0, end - 255}, "0A 00 80 02/4", end},
        {0, {1, 0x100, 0x100, 0, end - 355}, "0A 00 80 02/4", end},
        {3, {1, 0x200, 0x100}, "0A 00 80 02/4", 49151}, // a block smaller than its chunk sends a whole chunk
    };
    for (const auto &[operation, device, traffic, index] : transfers)
        ArmRig(device).expect(operation, aborted, traffic,
                              subscript + ": tamselibuffer(" + std::to_string(index) + ") of " + std::to_string(end));
}

TEST(BlockTransfer, AFailedBulkReadIsTriedOnceMore) {
    const std::string tried = "34 02 80 00 00/16; 0A 00 40 02/8; ibuffer+0 <- 256; ibuffer+0 <- 256; ";
    ArmRig rig;
    rig.readStates = {2, 4};
    rig.expect(2, endLine(2, "n2"), tried + pass);
    rig.readStates = {2, 4, 255};
    rig.expect(2, aborted, tried + "EndOperation");
}

TEST(BlockTransfer, ProgressGrowsWithBlocksAndChunks) {
    const std::pair<Byte, std::vector<int>> cases[] = {
        {2, {0, 21, 42, 71, 92, 100}}, {3, {0, 25, 50, 75, 100}}, {9, {0, 50, 100}}};
    for (const auto &[operation, progress] : cases) {
        ArmRig rig({1, 0x18000, 0xC000}, 0x18000);
        rig.runs = {{{50}, {100}}, {{50}, {100}}};
        rig.run(operation);
        EXPECT_EQ(rig.progress, progress) << int{operation};
    }
}

TEST(ErrorLine, TheBufferAddressOfAWordHasEightPlaces) {
    ArmRig rig({.width = 2});
    rig.runs = {{{0, 0xFA, 0, 0x10, 0, 0, 0}}, {{0, 0xFA, 0, 0, 0, 0, 0x40}}};
    EXPECT_NE(rig.run(3).find("Buffer Address:20      H"), std::string::npos) << rig.log();
    EXPECT_EQ(rig.run(3), startLine(3) + aborted) << "an overflow";
}

TEST(AutoProgram, VerifyNotesBelongToTheirBlock) {
    ArmRig rig({.addresses = 0x10000, .block = 0x8000, .margin = 2, .model = modelArm}, 0x10000);
    rig.host.bvcc(0) = 330;
    const Reports block = {{1, 0, 0x1E}, {2, 0, 0x3C, 0}, {3, 0, 0x3C, 2}, {100}};
    rig.runs = {block, block};
    const std::string second = ">>n0 Verify(VCC:2.97V) n1 \n";
    EXPECT_EQ(rig.run(0),
              startLine(0) + ">>n0 Erasen1 \n" + second + ">>n0 Verify(VCC:3.63V) n1 \n" + second + endLine(0, "n2"));
    const std::vector<int> progress = {0, 1, 0, 17, 33, 1, 67, 83, 100};
    EXPECT_EQ(rig.progress, progress);
    rig.host.wlverifyvcc(0) = 1; // a smaller margin is verified twice as well
    rig.runs = {block, block};
    rig.run(0);
    EXPECT_EQ(rig.progress, progress);
}

} // namespace
} // namespace kx3::test
