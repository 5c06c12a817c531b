// Reading, verifying and programming in blocks, and the automatic sequence.
#include "arm_rig.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

using namespace test;
using enum Module;

const std::string pass = "EndOperation; SignalPass 0", fail = "EndOperation; SignalFail 0";

TEST(BlockTransfer, BlocksAndChunks) {
    struct Case {
        Module module;
        Byte operation;
        Device device;
        std::string traffic;
    };
    const std::string ask = "0A 00 40 02/8; ", announce = "0A 00 80 02/4; ", announceArm = "0A 00 80 01/4; ";
    const Case cases[] = {
        // Reading: one request a block, chunks of C000.
        {arm32f, 2, {2, 0x100, 0x100, 16, 32, 1}, "34 02 81 00 00/16; " + ask + "ibuffer+32 <- 480; "},
        {arm32f, 2, {1, 0x100, 0x100, 0.5, 2.5}, "34 02 80 00 00/16; " + ask + "ibuffer+2 <- 256; "},
        {arm32f, 2, {1, 0x100, 0x100, 255}, "34 02 80 00 00/16; " + ask + "ibuffer+0 <- 1; "},
        {arm32f,
         2,
         {1, 0x18001, 0xC000},
         "34 02 00 00 00/16; " + ask + "ibuffer+0 <- 49152; 34 02 00 01 00/16; " + ask +
             "ibuffer+49152 <- 49152; 34 02 80 02 00/16; " + ask + "ibuffer+98304 <- 1; "},
        // A verify of a device that is not large ends with it.
        {arm32f, 5, {1, 0xFF80, 0x20000}, "34 06 80 00 00/16; " + ask + "ibuf2 <- 49152; ibuf2 <- 16256; "},
        // Reading: one request a chunk of 8000, counted in addresses also for words.
        {arm,
         2,
         {2, 0x10000, 0x10000},
         "34 02 80 00 00/16; 0A 00 40 01/8; ibuffer+0 <- 32768; 0A 01 40 01/8; ibuffer+32768 <- 32768; "},
        {arm,
         5,
         {1, 0x8001, 0x10000, 0, 0, 1},
         "34 06 81 00 00/16; " + ask + "ibuf2 <- 32768; 0A 01 40 02/8; ibuf2 <- 1; "},
        // Programming: the last block is counted in bytes.
        {arm32f,
         3,
         {1, 0x30000, 0x18000},
         announce + "ibuffer+0 -> 49152; ibuffer+49152 -> 49152; 34 04 00 00 00/16; " + announce +
             "ibuffer+98304 -> 49152; ibuffer+147456 -> 49152; 34 04 80 01 00/16; "},
        {arm32f, 3, {2, 0x8040, 0x8080}, announce + "ibuffer+0 -> 49152; ibuffer+49152 -> 16512; 34 04 80 00 00/16; "},
        {arm,
         3,
         {1, 0xFFFF, 0xFFFF, 0, 0, 1},
         announce + "ibuffer+0 -> 32768; ibuffer+32768 -> 32767; 34 04 81 00 00/16; "},
        // The automatic sequence never rounds; its last chunk takes 100 bytes more where they fit.
        {arm, 0, {1, 0x10080, 0x20000}, announceArm + "ibuffer+0 -> 65536; ibuffer+65536 -> 228; 34 01 80 00 00/16; "},
        {arm32f, 6, {}, announce + "ibuffer+0 -> 356; 34 07 80 00 00/16; "},
        {arm32f, 0, {1, 49051, 0x10000}, announce + "ibuffer+0 -> 49151; 34 01 80 00 00/16; "},
        {arm32f, 0, {1, 49052, 0x10000}, announce + "ibuffer+0 -> 49052; 34 01 80 00 00/16; "},
    };
    for (const Case &c : cases) {
        ArmRig rig(c.module, 0x40000);
        rig.describe(c.device);
        rig.run(c.operation);
        EXPECT_EQ(rig.operationTraffic(), c.traffic + pass);
        EXPECT_EQ(rig.failure(), "");
    }
}

TEST(BlockTransfer, TheBlockIndexHasTwoBytes) {
    ArmRig rig(arm, 0x808000);
    rig.describe({1, 0x808000, 0x8000});
    rig.run(3);
    EXPECT_TRUE(rig.operationTraffic().ends_with("ibuffer+8388608 -> 32768; 34 04 80 00 01/16; " + pass));
}

TEST(BlockTransfer, ADeviceThatCannotBeIsAnErrorBeforeAnythingIsSent) {
    const std::pair<Device, std::string> cases[] = {
        {{1, 0}, "Subscript out of range"},         {{1, 0x100, 0x100, 256}, "Subscript out of range"},
        {{1, 0x100, -1}, "Subscript out of range"}, {{1, 0x100, 0}, "Division by zero"},
        {{1, 0x100, 0x100, 1e10}, "Overflow"},
    };
    for (const Byte operation : {Byte{0}, Byte{2}, Byte{3}, Byte{5}})
        for (const auto &[device, error] : cases) {
            ArmRig rig;
            rig.describe(device);
            rig.expect(operation, aborted, "", 0, error);
        }
}

TEST(BlockTransfer, ATransferBeyondItsBlockIsRefused) {
    struct Case {
        Byte operation;
        Device device;
        std::string traffic;
    };
    const Case cases[] = {
        {2, {1, 0x100, 0x100, 0, 0x1000 + 2200 - 255}, "34 02 80 00 00/16; 0A 00 40 02/8"},
        {2, {1, 0x100, 0x100, 0, -1}, "34 02 80 00 00/16; 0A 00 40 02/8"},
        {3, {1, 0x100, 0x100, 0, 0x1000 + 2200 - 255}, "0A 00 80 02/4"},
        {0, {1, 0x100, 0x100, 0, 0x1000 + 2200 - 355}, "0A 00 80 02/4"},
        {3, {1, 0x200, 0x100}, "0A 00 80 02/4"}, // a block smaller than its chunk sends a whole chunk
    };
    for (const Case &c : cases) {
        ArmRig rig;
        rig.describe(c.device);
        rig.expect(c.operation, aborted, c.traffic, 0, "Subscript out of range");
    }
}

TEST(BlockTransfer, StopsAndSilenceEndEveryKindOfRun) {
    struct Case {
        Module module;
        Byte operation;
        std::string run;
        std::string dataOfUnknownEvent; ///< what follows a stop event that the driver does not know
        bool knowsStop;                 ///< the event; and passes a request on instead of leaving
    };
    const std::string read = "34 02 80 00 00/16; ", sent = "ibuffer+0 -> 256; 34 04 80 00 00/16; ";
    const Case cases[] = {
        {arm32f, 2, read, "0A 00 40 02/8; ibuffer+0 <- 256; ", false},
        {arm, 2, read, "", true},
        {arm32f, 3, "0A 00 80 02/4; " + sent, "", false},
        {arm, 3, "0A 00 80 01/4; " + sent, "", true},
        {arm32f, 0, "0A 00 80 02/4; ibuffer+0 -> 356; 34 01 80 00 00/16; ", "", true},
    };
    for (const auto &[module, operation, run, data, knowsStop] : cases) {
        SCOPED_TRACE(run + std::to_string(static_cast<int>(module)));
        ArmRig rig(module);
        rig.runs = {{{1}}};
        rig.expect(operation, aborted, run + "EndOperation");
        rig.runs = {{{1, 0x1E}, {100}}};
        if (knowsStop)
            rig.expect(operation, stopped, run + fail, 2);
        else
            rig.expect(operation, endLine(operation, "n2"), run + data + pass);
        rig.t.host.prgresult(0) = 0;
        rig.runs = {{{1}, {2}, {2, 0x1E}}};
        rig.stopAtReport = 1;
        rig.expect(operation, stopped, run + (knowsStop ? "34 1E/8; 34 1E/8; " : "") + fail, 2);
    }
}

TEST(BlockTransfer, FurtherEnds) {
    struct Case {
        const char *name;
        Module module;
        Byte operation;
        std::function<void(ArmRig &)> prepare;
        std::string log; ///< behind the start line
        std::string traffic;
        int result;
    };
    const auto reports = [](Reports script, int stopAt = 0) {
        return [=](ArmRig &rig) {
            rig.runs = {script};
            rig.stopAtReport = stopAt;
        };
    };
    const auto status = [](const char *call) { return [=](ArmRig &rig) { rig.statuses[call] = 1; }; };
    const auto states = [](std::deque<Byte> script) { return [=](ArmRig &rig) { rig.readStates = script; }; };
    const auto codeWhileReading = [](Byte code) {
        return [=](ArmRig &rig) {
            rig.readStates = {2, 1};
            rig.t.ui->onYield = [&rig, code, yield = rig.t.ui->onYield] {
                yield();
                if (rig.traffic.back() == "ibuffer+0 <- 256") rig.t.host.prgresult(0) = code;
            };
        };
    };
    const std::string read = "34 02 80 00 00/16; ", data = read + "0A 00 40 02/8; ibuffer+0 <- 256; ",
                      again = "ibuffer+0 <- 256; ", announce = "0A 00 80 02/4; ", end = "EndOperation";
    const Case cases[] = {
        {"read, error", arm32f, 2, reports({{1, 0xFA}}), endLine(2, "n3"), read + fail, 1},
        {"read, stop comes too late", arm, 2, reports({{1}, {100}}, 2), aborted,
         read + "34 1E/8; 0A 00 40 01/8; ibuffer+0 <- 256; " + end, 2},
        {"read, one bulk read fails", arm32f, 2, states({2, 4}), endLine(2, "n2"), data + again + pass, 0},
        {"read, two bulk reads fail", arm32f, 2, states({2, 4, 255}), aborted, data + again + end, 0},
        {"read, stop while reading", arm32f, 2, codeWhileReading(2), aborted, data + end, 2},
        {"read, error while reading", arm32f, 2, codeWhileReading(3), aborted, data + end, 3},
        {"program, stop comes too late", arm, 3, reports({{100}}, 1), stopped,
         "0A 00 80 01/4; ibuffer+0 -> 256; 34 04 80 00 00/16; 34 1E/8; " + fail, 2},
        {"program, announcement fails", arm32f, 3, status("0A 00 80 02/4"), aborted, announce + end, 3},
        {"program, data fail", arm32f, 3, status("ibuffer+0 -> 256"), aborted,
         announce + "ibuffer+0 -> 256; " + fail + "; " + end, 3},
        {"auto, announcement fails", arm32f, 0, status("0A 00 80 02/4"), aborted, announce + end, 3},
        {"auto, data fail", arm32f, 0, status("ibuffer+0 -> 356"), aborted, announce + "ibuffer+0 -> 356; " + end, 3},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig(c.module);
        c.prepare(rig);
        rig.expect(c.operation, c.log, c.traffic, c.result);
    }
}

TEST(BlockTransfer, ProgressGrowsWithBlocksAndChunks) {
    const std::pair<Byte, std::vector<int>> cases[] = {
        {2, {0, 21, 42, 71, 92, 100}}, {5, {0, 21, 42, 71, 92, 100}}, {3, {0, 25, 50, 75, 100}}, {9, {0, 50, 100}}};
    for (const auto &[operation, progress] : cases) {
        ArmRig rig(arm32f, 0x18000);
        rig.describe({1, 0x18000, 0xC000});
        rig.runs = {{{50}, {100}}, {{50}, {100}}};
        rig.run(operation);
        EXPECT_EQ(rig.progress, progress) << int{operation};
    }
}

TEST(ReadBlocks, KeepsTheReportedConfigurationBytesBehindTheData) {
    ArmRig rig;
    rig.runs = {{{100, 0, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31}}};
    rig.t.host.ibuffer(0x100B) = 99;
    rig.run(2);
    for (Long i = 0; i < 11; ++i) {
        EXPECT_EQ(rig.t.host.ibuffer(0x1000 + i), 21 + i);
        EXPECT_EQ(rig.t.host.ibuf1(2 + i), 0);
    }
    EXPECT_EQ(rig.t.host.ibuffer(0x100B), 99);
    EXPECT_EQ(rig.t.host.ibuffer(0xFF), 0) << "byte 256 of the device's data";
    EXPECT_EQ(rig.t.host.ibuffer(0), 1);
}

TEST(Verify, ComparesTheBytesOfTheFamilysRangesOrEveryWord) {
    for (const Byte wordMode : {Byte{1}, Byte{2}}) {
        ArmRig rig;
        const bool words = wordMode == 2;
        rig.describe(words ? Device{2, 0x40, 0x100, 0, 0x20} : Device{1, 0x60, 0x100, 0, 16});
        rig.t.host.prgmode(0) = 0x21; // of bytes 20 to 4F; of what is read to 10 to 6F
        Long expected = words ? 0x10 : 0x20;
        rig.t.sessionHost->onCompareByte = [&](Byte data, Long address) {
            EXPECT_EQ(address, expected++);
            EXPECT_EQ(data, address - 16 + 1);
            return 0;
        };
        rig.t.sessionHost->onCompareWord = [&](Byte low, Byte high, Long address) {
            EXPECT_EQ(address, expected++);
            EXPECT_EQ(low, 2 * (address - 0x10) + 1);
            EXPECT_EQ(high, low + 1);
            return 0;
        };
        storeText(rig.t.host.MainRtstr, 1, u"mismatches\n");
        EXPECT_EQ(rig.run(5), "n5 \nn6 \nmismatches\n" + endLine(5, "n2"));
        EXPECT_EQ(expected, 0x50);
        EXPECT_EQ(readText(rig.t.host.MainRtstr, 1), u"");
    }
}

TEST(Verify, EndsWhenTheHostSaysSo) {
    for (const Byte wordMode : {Byte{1}, Byte{2}}) {
        ArmRig rig(arm, 0x20000);
        rig.describe({wordMode, 0x10000, 0x10000});
        int compared = 0;
        rig.t.sessionHost->onCompareByte = [&](Byte, Long) { return ++compared == 7 ? 1 : 0; };
        rig.t.sessionHost->onCompareWord = [&](Byte, Byte, Long) { return ++compared == 7 ? 1 : 2; };
        EXPECT_EQ(rig.run(5), "n5 \nn6 \n" + endLine(5, "n2"));
        EXPECT_EQ(compared, 7);
        EXPECT_EQ(rig.operationTraffic(), "34 06 80 00 00/16; 0A 00 40 01/8; ibuf2 <- 32768; " + pass);
    }
}

TEST(Verify, AnErrorStillShowsTheMismatches) {
    ArmRig rig(arm);
    rig.runs = {{{1, 0xFA}}};
    storeText(rig.t.host.MainRtstr, 1, u"mismatches\n");
    EXPECT_TRUE(rig.run(5).starts_with("n5 \nn6 \nmismatches\n")) << rig.log();
}

TEST(ErrorLine, OfProgrammingAndOfEachStage) {
    struct Case {
        Byte operation, stage, wordMode;
        std::string line;
    };
    const std::string device = ">>Device Address:12345678H  Device Data:", bytes = device + "ABH",
                      words = device + "CDABH", buffer = "  Buffer Address:12345678H  Buffer Data:EFH",
                      wordBuffer = "  Buffer Address:2468ACF0H  Buffer Data:12EFH";
    const Case cases[] = {
        {3, 0, 1, bytes + buffer},
        {3, 0x1E, 2, words + wordBuffer},
        {0, 0x1E, 1, "op8 n3 "},
        {0, 0x28, 1, bytes},
        {0, 0x28, 2, words},
        {0, 0x32, 1, bytes + buffer},
        {0, 0x3C, 2, words + wordBuffer},
    };
    for (const Case &c : cases) {
        ArmRig rig;
        rig.t.host.wordmode(0) = c.wordMode;
        rig.runs = {{{0, 0xFA, c.stage, 0x78, 0x56, 0x34, 0x12, 0xAB, 0xCD, 0xEF, 0x12}}};
        EXPECT_EQ(rig.run(c.operation), startLine(c.operation) + c.line + '\n' + endLine(c.operation, "n3"));
        EXPECT_EQ(rig.result(), 1);
    }
}

TEST(ErrorLine, TheBufferAddressOfAWordHasEightPlaces) {
    const std::pair<Bytes, std::string> cases[] = {
        {{0, 0xFA, 0, 0x10, 0, 0, 0}, "Buffer Address:20      H"},
        {{0, 0xFA, 0, 0xFF, 0xFF, 0xFF, 0x3F}, "Buffer Address:7FFFFFFEH"},
        {{0, 0xFA, 0, 0xFF, 0xFF, 0xFF, 0xFF}, "Buffer Address:FFFFFFFEH"},
        {{0, 0xFA, 0, 0, 0, 0, 0x40}, startLine(3) + aborted}, // an overflow
    };
    for (const auto &[report, text] : cases) {
        ArmRig rig;
        rig.t.host.wordmode(0) = 2;
        rig.runs = {{report}};
        EXPECT_NE(rig.run(3).find(text), std::string::npos) << rig.log();
    }
}

std::string note(const std::string &name) { return ">>n0 " + name + "n1 \n"; }

const Reports allStages = {{5, 0, 0x1E},    {6, 0, 0x28},    {6, 0, 0x28},  {7, 0, 0x32},  {8, 0, 0x3C, 0},
                           {8, 0, 0x3C, 1}, {9, 0, 0x3C, 2}, {10, 0, 0x46}, {11, 0, 0x50}, {100, 0, 0x50}};

TEST(AutoProgram, NotesEachStageOnce) {
    struct Case {
        Byte operation;
        Long margin;
        Integer vcc;
        std::string program, verify;
        std::vector<int> progress;
    };
    const std::string programNote = note("Program");
    const std::vector<int> onePass{0, 5, 6, 3, 54, 55, 100}, twoPasses{0, 5, 6, 2, 36, 69, 70, 100};
    const Case cases[] = {
        {0, 0, 330, programNote, note("Verify(VCC:3.3V) "), onePass},
        {0, -1, 500, programNote, note("Verify(VCC:4.75V) "), onePass},
        {0, 2, 330, programNote, note("Verify(VCC:3.63V) ") + note("Verify(VCC:2.97V) "), twoPasses},
        {6, 1, 330, "", note("Verify(VCC:3.46V) ") + note("Verify(VCC:3.14V) "), twoPasses},
    };
    for (const Case &c : cases) {
        ArmRig rig;
        rig.t.host.wlverifyvcc(0) = c.margin;
        rig.t.host.bvcc(0) = c.vcc;
        rig.runs = {allStages};
        EXPECT_EQ(rig.run(c.operation), startLine(c.operation) + note("Erase") + note("Blank Check") + c.program +
                                            c.verify + note("Prog Config") + note("Secure") +
                                            endLine(c.operation, "n2"));
        EXPECT_EQ(rig.progress, c.progress);
    }
}

TEST(AutoProgram, VerifyNotesBelongToTheirBlock) {
    ArmRig rig(arm, 0x10000);
    rig.describe({1, 0x10000, 0x8000});
    rig.t.host.wlverifyvcc(0) = 2;
    rig.t.host.bvcc(0) = 330;
    const Reports block = {{1, 0, 0x1E}, {2, 0, 0x3C, 0}, {3, 0, 0x3C, 2}, {100}};
    rig.runs = {block, block};
    const std::string second = note("Verify(VCC:2.97V) ");
    EXPECT_EQ(rig.run(0),
              startLine(0) + note("Erase") + second + note("Verify(VCC:3.63V) ") + second + endLine(0, "n2"));
    EXPECT_EQ(rig.progress, std::vector<int>({0, 1, 0, 17, 33, 1, 67, 83, 100}));
}

TEST(AutoProgram, TheSecondPassAloneGetsItsOwnNote) {
    ArmRig rig;
    rig.t.host.wlverifyvcc(0) = 2;
    rig.t.host.bvcc(0) = 330;
    rig.runs = {{{1, 0, 0x3C, 2}, {2, 0, 0x3C, 3}, {100}}};
    EXPECT_EQ(rig.run(0), startLine(0) + note("Verify(VCC:2.97V) ") + endLine(0, "n2"));
}

TEST(AutoProgram, ANoteClearsItsCell) {
    for (const auto &[stage, cell] : {std::pair(0x1E, 0), {0x3C, 0}, {0, 9}}) {
        ArmRig rig;
        rig.t.host.prgmode(2) = 9;
        rig.runs = {{{100, 0, static_cast<Byte>(stage)}}};
        rig.run(0);
        EXPECT_EQ(rig.t.host.prgmode(2), cell) << stage;
    }
}

} // namespace
} // namespace kx3
