// One session: its steps, its packets and every way it ends.
#include "arm_rig.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

using namespace test;

constexpr Byte direct = 9;
const std::string timeLine = ">> 0.00Sec\n";
const std::string aborted = "n12 \n" + timeLine;
const std::string started = ">>n0 op9 n1 \n";
const std::string passed = started + ">>op9 n2 \n" + timeLine;
const std::string failedLine = ">>op9 n3 \n" + timeLine;

TEST(ArmSession, AWholeSessionOfEitherModule) {
    for (const Module module : {Module::arm32f, Module::arm}) {
        ArmRig rig(module);
        rig.t.host.prgmode(1) = 55;
        EXPECT_EQ(rig.run(direct), passed);
        EXPECT_EQ(joined(rig.traffic), std::string("StartCheck; ") +
                                           (rig.is32f ? "PrepareDevice32f 3 0; " : "PrepareDevice 3 0; ") +
                                           "AlgorithmLoaded 4; 33 01 80/8; algorithm -> 4; 33 01 40/8; "
                                           "algorithm <- 5; 34 1A 00 10 00/16; 34 0A 00 00 00/16; EndOperation; "
                                           "SignalPass 0");
        EXPECT_EQ(rig.result(), 0);
        EXPECT_EQ(rig.t.host.prgmode(1), 0);
        EXPECT_EQ(rig.failure(), "");
    }
}

TEST(ArmSession, PacketsWriteOnlyTheirOwnBytes) {
    ArmRig rig;
    for (Long i = 0; i < 20; ++i)
        rig.t.host.ubuf1(i) = 0xEE;
    for (Long i = 0; i < 11; ++i)
        rig.t.host.ibuffer(0x100 + i) = static_cast<Byte>(0xA0 + i);
    rig.t.host.figvol(1) = 5;
    rig.t.host.modeltype(2) = 5;
    rig.t.host.wsign(2) = 0xF0;
    rig.t.host.rambknum(0) = 2;
    rig.stopAtReport = 1;
    rig.runs = {{{1}, {100}}};
    rig.run(direct);
    const std::vector<Bytes> expected = {
        {0x5A, 0xF7, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE},
        {0x33, 0x01, 0x80, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE},
        {0x33, 0x01, 0x40, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE},
        {0x34, 0x1A, 0x00, 0x10, 0x00, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE},
        {0x34, 0x0A, 0x02, 0x00, 0x00, 0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA},
        {0x34, 0x1E, 0x02, 0x00, 0x00, 0xA0, 0xA1, 0xA2},
        {0x34, 0x1E, 0x02, 0x00, 0x00, 0xA0, 0xA1, 0xA2},
    };
    EXPECT_EQ(rig.packets, expected);
    EXPECT_EQ(rig.traffic.at(1), "5A F7/8") << "between StartCheck and PrepareDevice32f";
}

TEST(ArmSession, ConfigurationBytesComeFromBehindTheImageOrFromItsEnd) {
    struct Case {
        Byte family, wordMode;
        Long first;
    };
    const Case cases[] = {{0x1A, 1, 0x100}, {0x1B, 1, 0xF6}, {0x1C, 2, 0x1F6}, {0x1D, 1, 0xF6}, {0x1E, 2, 0x200}};
    for (const Case &c : cases) {
        ArmRig rig;
        rig.t.host.prgmode(0) = c.family;
        rig.t.host.wordmode(0) = c.wordMode;
        for (Long i = 0; i < 0x400; ++i)
            rig.t.host.ibuffer(i) = static_cast<Byte>(i * 7);
        rig.run(direct);
        for (Long i = 0; i < 11; ++i)
            EXPECT_EQ(rig.t.host.ubuf1(5 + i), rig.t.host.ibuffer(c.first + i)) << int{c.family} << ' ' << i;
    }
}

TEST(ArmSession, EveryRefusalAndEveryErrorEndsOnItsPath) {
    struct Case {
        const char *name;
        std::function<void(ArmRig &)> prepare;
        std::string log;
        std::string lastCall;
        std::string failure = "";
        int result = 0;
    };
    const std::string warned = "\nProgrammer soft need update now !!!\n\n";
    const Case cases[] = {
        {"start refused", [](ArmRig &r) { r.t.sessionHost->startCheck = 1; }, aborted, "StartCheck"},
        {"other answers start", [](ArmRig &r) { r.t.sessionHost->startCheck = 2; }, passed, "SignalPass 0"},
        {"answer no byte", [](ArmRig &r) { r.t.sessionHost->startCheck = 256; }, aborted, "StartCheck", "Overflow"},
        {"preparation refused", [](ArmRig &r) { r.t.sessionHost->prepare = 2; }, aborted, "PrepareDevice32f 3 0"},
        {"other answers prepare", [](ArmRig &r) { r.t.sessionHost->prepare = 1; }, passed, "SignalPass 0"},
        {"signature overflow",
         [](ArmRig &r) {
             r.t.host.modeltype(2) = 1;
             r.t.host.wsign(2) = 249;
         },
         aborted, "StartCheck", "Overflow"},
        {"image not sent", [](ArmRig &r) { r.statuses["algorithm -> 4"] = 1; }, aborted, "algorithm -> 4"},
        {"image sent with another status", [](ArmRig &r) { r.statuses["algorithm -> 4"] = 2; }, passed, "SignalPass 0"},
        {"read-back state 4", [](ArmRig &r) { r.readStates = {4}; }, aborted, "algorithm <- 5"},
        {"read-back differs", [](ArmRig &r) { r.spoilsReadBack = true; }, aborted, "algorithm <- 5"},
        {"old firmware", [](ArmRig &r) { r.version = 8; }, warned + passed, "SignalPass 0"},
        {"no report of the run", [](ArmRig &r) { r.runs = {{{50}}}; }, started + aborted, "EndOperation"},
        {"stopped by the programmer",
         [](ArmRig &r) {
             r.runs = {{{50, 0x1E}}};
         },
         passed, "SignalPass 0"},
        {"library missing", [](ArmRig &r) { r.failingCall = "34 0A 00 00 00/16"; }, started + aborted,
         "34 0A 00 00 00/16", "Cable unplugged"},
        {"host call fails", [](ArmRig &r) { r.failingCall = "AlgorithmLoaded 4"; }, aborted, "AlgorithmLoaded 4",
         "Cable unplugged"},
        {"signal fails", [](ArmRig &r) { r.failingCall = "SignalPass 0"; }, started + aborted, "SignalPass 0",
         "Cable unplugged"},
        {"configuration beyond the buffer", [](ArmRig &r) { r.t.host.tlength(0) = 0x1000 + 2200 - 10; }, aborted,
         "34 1A 00 10 00/16", "Subscript out of range"},
        {"image size overflow",
         [](ArmRig &r) {
             r.t.host.wordmode(0) = 2;
             r.t.host.tlength(0) = 0x40000000;
         },
         aborted, "34 1A 00 10 00/16", "Overflow"},
        {"unknown language",
         [](ArmRig &r) {
             r.t.host.Language(0) = 1;
             r.runs = {{{50, 0, 0x3C}}};
         },
         started + aborted, "34 0A 00 00 00/16", "Resource with identifier '2003' not found"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        c.prepare(rig);
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.traffic.back(), c.lastCall);
        EXPECT_EQ(rig.failure(), c.failure);
        EXPECT_EQ(rig.result(), c.result);
        EXPECT_EQ(rig.t.host.prgmode(1), 0);
    }
}

TEST(ArmSession, AnErrorInsideTheErrorPathReachesTheHost) {
    ArmRig rig;
    rig.t.sessionHost->startCheck = 1;
    rig.t.host.prgnote(12).handle = 0xFFFFFFFF;
    rig.t.host.prgmode(1) = 9;
    EXPECT_THROW(rig.run(direct), Error);
    EXPECT_EQ(rig.t.host.prgmode(1), 0);
    rig.t.host.prgnote(12).handle = 0;
    EXPECT_EQ(rig.run(direct), "\n" + timeLine) << "the next session starts anew";
}

TEST(ArmSession, AlgorithmFilesAreFoundAndJudged) {
    const std::string rejected = "Read algo file error!\n" + timeLine;
    constexpr int none = -1, folder = -2;
    struct Case {
        const char *name;
        int clockBytes, generalBytes; ///< or none, or folder
        Byte first;
        int used; ///< bytes; or none
    };
    const Case cases[] = {
        {"general only", none, 4, 1, 4},
        {"clock-specific first", 5, 4, 1, 5},
        {"clock-specific empty", 0, 4, 1, 4},
        {"clock-specific a folder", folder, 4, 1, 4},
        {"clock-specific too long is final", 0x6001, 4, 1, none},
        {"both missing", none, none, 1, none},
        {"general empty", none, 0, 1, none},
        {"general a folder", none, folder, 1, none},
        {"first byte 0", none, 4, 0, none},
        {"first byte 0 of the clock-specific one", 5, 4, 0, none},
        {"one byte", none, 1, 1, 1},
        {"longest", none, 0x6000, 1, 0x6000},
        {"too long", none, 0x6001, 1, none},
        {"longer than its block", none, 131073, 1, none},
    };
    for (const Module module : {Module::arm32f, Module::arm})
        for (const Case &c : cases) {
            SCOPED_TRACE(c.name);
            ArmRig rig(module);
            const auto put = [&](const std::string &path, int bytes) {
                std::filesystem::remove(path);
                if (bytes == folder) std::filesystem::create_directories(path);
                if (bytes < 0) return;
                Bytes image(static_cast<std::size_t>(bytes), 0x55);
                if (!image.empty()) image[0] = c.first;
                ArmRig::writeFile(path, image);
            };
            put(rig.clockSpecific(), c.clockBytes);
            put(rig.general(), c.generalBytes);
            EXPECT_EQ(rig.run(direct), c.used == none ? rejected : passed);
            const std::string expected = c.used == none ? rig.is32f ? "PrepareDevice32f 3 0" : "PrepareDevice 3 0"
                                                        : "AlgorithmLoaded " + std::to_string(c.used);
            EXPECT_EQ(c.used == none ? rig.traffic.back() : rig.traffic.at(2), expected);
        }
}

TEST(ArmSession, ChipIdCheck) {
    struct Case {
        const char *name;
        std::deque<Reports> reports;
        std::deque<MessageBoxResult> answers;
        std::string log;
        std::string traffic;
        int boxes = 0;
        int result = 0;
    };
    const Reports match{{10}, {100, 0, 1, 0x1F, 0x95, 0x0B}}, other{{100, 0, 0, 0xFF, 0x00}};
    const std::string ask = "34 1D 00 00 00/16; ", settle = "Delay 20; ",
                      goesOn = "34 0A 00 00 00/16; EndOperation; SignalPass 0";
    const std::string identity = ">>n9 1F   n10 950B\n";
    using enum MessageBoxResult;
    const Case cases[] = {
        {"match", {match}, {}, identity + passed, ask + settle + goesOn},
        {"mismatch, abort", {other}, {abort}, "", ask + settle + "EndOperation", 1, 2},
        {"mismatch, ignore", {other}, {ignore}, passed, ask + settle + goesOn, 1},
        {"mismatch, retry, match", {other, match}, {retry}, identity + passed, ask + ask + settle + goesOn, 1},
        {"retry twice, abort",
         {other, other, other},
         {retry, retry, abort},
         "",
         ask + ask + ask + settle + "EndOperation",
         3,
         2},
        {"programmer reports an error",
         {{{5, 0xFA}}},
         {},
         ">>Device Code Error!\n",
         ask + settle + "EndOperation",
         0,
         2},
        {"no report", {{{5}}}, {}, passed, ask + settle + goesOn},
        {"retry, then no report", {other, {}}, {retry}, passed, ask + ask + settle + goesOn, 1},
        {"too many code bytes", {{{100, 0, 16}}}, {}, aborted, "34 1D 00 00 00/16"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        rig.t.host.chipidtestmode(0) = Boolean(true);
        rig.t.host.compid(0) = 0x1F;
        rig.t.host.typeid_(0) = 0x95;
        rig.chipIds = c.reports;
        rig.t.ui->answers = c.answers;
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.operationTraffic(), c.traffic);
        EXPECT_EQ(rig.t.ui->boxes.size(), static_cast<std::size_t>(c.boxes));
        EXPECT_EQ(rig.result(), c.result);
        for (const FakeUi::Box &box : rig.t.ui->boxes) {
            EXPECT_EQ(box.prompt, u"n9 FF   n10 00");
            EXPECT_EQ(box.style, messageBoxAbortRetryIgnoreExclamation);
            EXPECT_EQ(box.title, u"Warning! Device Code Error!");
        }
    }
}

TEST(ArmSession, WithoutAnExpectedChipIdNothingIsAsked) {
    ArmRig rig;
    rig.t.host.chipidtestmode(0) = Boolean(true);
    EXPECT_EQ(rig.run(direct), passed);
    EXPECT_EQ(rig.operationTraffic(), "Delay 20; 34 0A 00 00 00/16; EndOperation; SignalPass 0");
}

TEST(ArmSession, DirectRunsFollowTheReports) {
    struct Case {
        const char *name;
        Byte operation;
        Byte wordMode;
        Reports reports;
        int stopAt;
        std::string log; ///< between the start line and the result line
        int result;
        int stops = 0;
    };
    const Bytes fault{0, 0xFA, 0, 0x78, 0x56, 0x34, 0x12, 0xAB, 0xCD};
    const std::string verifyNote = ">>n0 Verifyn1 \n", blankNote = ">>n0 Blank Checkn1 \n";
    const Case cases[] = {
        {"compare error, byte", 9, 1, {fault}, 0, ">>Device Address:12345678H  Device Data:ABH\n", 1},
        {"compare error, word", 9, 2, {fault}, 0, ">>Device Address:12345678H  Device Data:CDABH\n", 1},
        {"compare error before the end", 9, 1, {{100, 0xFA}}, 0, ">>Device Address:00000000H  Device Data:00H\n", 1},
        {"ID error", 9, 1, {{0, 0xF9}}, 0, ">>ID Check Error!!!\n", 1},
        {"verify note, once", 9, 1, {{1, 0, 0x3C}, {2, 0, 0x3C}, {3, 0, 0x28}, {100}}, 0, verifyNote, 0},
        {"blank check note first", 9, 1, {{1, 0, 0x28}, {2, 0, 0x3C}, {100}}, 0, blankNote, 0},
        {"note with the last report", 9, 1, {{100, 0, 0x28}}, 0, blankNote, 0},
        {"blank check of its own", 4, 1, {{1, 0, 0x28}, {2, 0, 0x3C}, {100}}, 0, verifyNote, 0},
        {"stop until the event", 9, 1, {{1}, {2}, {3}, {3, 0x1E}}, 2, "", 2, 2},
        {"stop until the end", 9, 1, {{1}, {2}, {100}}, 1, "", 2, 3},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        rig.t.host.wordmode(0) = c.wordMode;
        rig.runs = {c.reports};
        rig.stopAtReport = c.stopAt;
        const std::string op = "op" + std::to_string(c.operation) + ' ';
        const std::string ends[] = {">>" + op + "n2 \n", ">>" + op + "n3 \n", "n4 \n"};
        EXPECT_EQ(rig.run(c.operation), ">>n0 " + op + "n1 \n" + c.log + ends[c.result] + timeLine);
        EXPECT_EQ(rig.result(), c.result);
        EXPECT_EQ(std::count(rig.traffic.begin(), rig.traffic.end(), "34 1E/8"), c.stops);
    }
}

TEST(ArmSession, DirectRunsShowTheReportedProgress) {
    ArmRig rig;
    rig.runs = {{{0}, {35}, {36}, {255}, {100}}};
    rig.run(direct);
    EXPECT_EQ(rig.progress, std::vector<int>({0, 35, 36, 255, 100}));
}

TEST(ArmSession, DirectRunsOfSomeFamiliesSendData) {
    const auto sent = [](const std::string &data) { return data + "; 34 0A 01 00 00/16; EndOperation; SignalPass 0"; };
    const std::string head = "0A 00 80 02/4; ibuffer+0 -> 2560", end = "0A 00 80 02/4; ibuffer+4048 -> 48";
    const std::pair<Byte, std::string> cases[] = {{0x1B, head}, {0x1D, head}, {0x2E, end}, {0x31, end}};
    for (const auto &[family, data] : cases) {
        ArmRig rig;
        rig.t.host.prgmode(0) = family;
        rig.t.host.tlength(0) = 0x1000;
        rig.t.host.rambknum(0) = 1;
        rig.run(direct);
        EXPECT_EQ(rig.operationTraffic(), sent(data)) << int{family};
    }
    for (const Byte family : {Byte{0x1A}, Byte{0x1E}, Byte{0x2D}, Byte{0x32}}) {
        ArmRig rig;
        rig.t.host.prgmode(0) = family;
        rig.run(direct);
        EXPECT_EQ(rig.operationTraffic(), "34 0A 00 00 00/16; EndOperation; SignalPass 0") << int{family};
    }
}

TEST(ArmSession, DirectRunDataFollowsBankStatusAndBounds) {
    ArmRig rig;
    rig.t.host.prgmode(0) = 0x2E;
    rig.statuses["ibuffer+208 -> 48"] = 5;
    EXPECT_EQ(rig.run(direct), started + timeLine) << "a code without a line";
    EXPECT_EQ(rig.result(), 5);
    EXPECT_EQ(rig.operationTraffic(),
              "0A 00 80 01/4; ibuffer+208 -> 48; 34 0A 00 00 00/16; EndOperation; SignalFail 0");
    rig.statuses["ibuffer+208 -> 48"] = -1;
    EXPECT_EQ(rig.run(direct), started + aborted) << "a status that is no byte";
    rig.t.host.tlength(0) = 0x2F;
    rig.run(direct);
    EXPECT_EQ(rig.operationTraffic(), "0A 00 80 01/4") << "the data would begin before the buffer";
    EXPECT_EQ(rig.failure(), "Subscript out of range");
}

TEST(ArmSession, TheResultLineFollowsTheResultCode) {
    const std::pair<std::string, std::string> ends[] = {
        {">>op9 n2 \n" + timeLine, "EndOperation; SignalPass 0"},
        {failedLine, "EndOperation; SignalFail 0"},
        {"n4 \n" + timeLine, "34 1E/8; EndOperation; SignalFail 0"},
        {aborted, "EndOperation; SignalFail 0; EndOperation"},
        {"Read algo file error!\n" + timeLine, "EndOperation; SignalFail 0"},
        {timeLine, "EndOperation; SignalFail 0"},
    };
    for (Byte code = 0; code < std::size(ends); ++code) {
        ArmRig rig;
        rig.t.host.prgresult(0) = code;
        EXPECT_EQ(rig.run(direct), started + ends[code].first);
        EXPECT_EQ(rig.operationTraffic(), "34 0A 00 00 00/16; " + ends[code].second);
        EXPECT_EQ(rig.result(), code);
    }
}

TEST(ArmSession, OperationsWithoutACaptionOrACodeAreErrors) {
    ArmRig rig;
    EXPECT_EQ(rig.run(20), aborted);
    EXPECT_EQ(rig.failure(), "Subscript out of range");
    EXPECT_EQ(rig.run(19), ">>n0 op19 n1 \n>>op19 n2 \n" + timeLine);
    EXPECT_EQ(rig.failure(), "") << "the former error is forgotten";
}

TEST(ArmSession, ElapsedTimeRunsOverMidnight) {
    const std::tuple<float, float, std::string> cases[] = {
        {100.0F, 101.5F, ">> 1.50Sec\n"}, {86399.0F, 1.25F, ">> 2.25Sec\n"}, {5.0F, 5.0F, ">> 0.00Sec\n"}};
    for (const auto &[start, end, line] : cases) {
        ArmRig rig;
        rig.t.clock->now = start;
        const std::function<void()> yield = rig.t.ui->onYield;
        rig.t.ui->onYield = [&, end = end] {
            yield();
            rig.t.clock->now = end;
        };
        EXPECT_TRUE(rig.run(direct).ends_with(line)) << rig.log();
    }
}

} // namespace
} // namespace kx3
