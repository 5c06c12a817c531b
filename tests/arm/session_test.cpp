// One session: its steps, its packets and every way it ends.
#include "arm_rig.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

using namespace test;

constexpr Byte direct = 9;
const std::string directRun = "34 0A 00 00 00/16; ";
const std::string passCalls = "EndOperation; SignalPass 0", failCalls = "EndOperation; SignalFail 0";
const std::string passed = startLine(direct) + endLine(direct, "n2");

TEST(ArmSession, AWholeSessionOfEitherModule) {
    for (const Module module : {Module::arm32f, Module::arm}) {
        ArmRig rig(module);
        rig.t.host.prgmode(1) = 55;
        rig.expect(direct, endLine(direct, "n2"), directRun + passCalls);
        EXPECT_EQ(joined(rig.traffic), std::string("StartCheck; ") +
                                           (rig.is32f ? "PrepareDevice32f 3 0; " : "PrepareDevice 3 0; ") +
                                           "AlgorithmLoaded 4; 33 01 80/8; algorithm -> 4; 33 01 40/8; "
                                           "algorithm <- 5; 34 1A 00 10 00/16; 34 0A 00 00 00/16; EndOperation; "
                                           "SignalPass 0");
    }
}

TEST(ArmSession, PacketsWriteOnlyTheirOwnBytes) {
    ArmRig rig;
    std::ranges::fill(rig.t.host.ubuf1.range(0, 20), Byte{0xEE});
    for (Byte i = 0; i < 11; ++i)
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
    const std::tuple<Byte, Byte, Long> cases[] = {
        {0x1A, 1, 0x100}, {0x1B, 1, 0xF6}, {0x1C, 2, 0x1F6}, {0x1D, 1, 0xF6}, {0x1E, 2, 0x200}};
    for (const auto &[family, wordMode, first] : cases) {
        ArmRig rig;
        rig.t.host.prgmode(0) = family;
        rig.t.host.wordmode(0) = wordMode;
        for (Long i = 0; i < 0x400; ++i)
            rig.t.host.ibuffer(i) = static_cast<Byte>(i * 7);
        rig.run(direct);
        EXPECT_TRUE(std::ranges::equal(rig.t.host.ubuf1.range(5, 11), rig.t.host.ibuffer.range(first, 11)))
            << int{family};
    }
}

TEST(ArmSession, EveryRefusalAndEveryErrorEndsOnItsPath) {
    struct Case {
        const char *name;
        std::function<void(ArmRig &)> prepare;
        std::string log;
        std::string lastCall;
        std::string failure = "";
    };
    const auto setUp = [](Long startCheck, Long prepare) {
        return [=](ArmRig &rig) {
            rig.t.sessionHost->startCheck = startCheck;
            rig.t.sessionHost->prepare = prepare;
        };
    };
    const auto image = [](Byte wordMode, Long size) { return [=](ArmRig &rig) { rig.describe({wordMode, size}); }; };
    const auto failing = [](const char *call) { return [=](ArmRig &rig) { rig.failingCall = call; }; };
    const auto sent = [](Integer status) { return [=](ArmRig &rig) { rig.statuses["algorithm -> 4"] = status; }; };
    const auto reported = [](const Bytes &report) { return [=](ArmRig &rig) { rig.runs = {{report}}; }; };
    const std::string started = startLine(direct), query = "34 1A 00 10 00/16", run = "34 0A 00 00 00/16";
    const Case cases[] = {
        {"start refused", setUp(1, 0), aborted, "StartCheck"},
        {"answer no byte", setUp(256, 0), aborted, "StartCheck", "Overflow"},
        {"preparation refused", setUp(0, 2), aborted, "PrepareDevice32f 3 0"},
        {"other answers", setUp(2, 1), passed, "SignalPass 0"},
        {"signature overflow",
         [](ArmRig &rig) {
             rig.t.host.modeltype(2) = 1;
             rig.t.host.wsign(2) = 249;
         },
         aborted, "StartCheck", "Overflow"},
        {"image not sent", sent(1), aborted, "algorithm -> 4"},
        {"image sent with another status", sent(2), passed, "SignalPass 0"},
        {"read-back state 4", [](ArmRig &rig) { rig.readStates = {4}; }, aborted, "algorithm <- 5"},
        {"read-back differs", [](ArmRig &rig) { rig.spoilsReadBack = true; }, aborted, "algorithm <- 5"},
        {"old firmware", [](ArmRig &rig) { rig.version = 8; }, "\nProgrammer soft need update now !!!\n\n" + passed,
         "SignalPass 0"},
        {"no report of the run", reported({50}), started + aborted, "EndOperation"},
        {"library missing", failing(run.c_str()), started + aborted, run, "Cable unplugged"},
        {"signal fails", failing("SignalPass 0"), started + aborted, "SignalPass 0", "Cable unplugged"},
        {"configuration beyond the buffer", image(1, 0x1000 + 2200 - 10), aborted, query, "Subscript out of range"},
        {"image size overflow", image(2, 0x40000000), aborted, query, "Overflow"},
        {"unknown language",
         [](ArmRig &rig) {
             rig.t.host.Language(0) = 1;
             rig.runs = {{{50, 0, 0x3C}}};
         },
         started + aborted, run, "Resource with identifier '2003' not found"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        c.prepare(rig);
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.traffic.back(), c.lastCall);
        EXPECT_EQ(rig.failure(), c.failure);
        EXPECT_EQ(rig.result(), 0);
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
        int used;                     ///< bytes; or none
    };
    const Case cases[] = {
        {"clock-specific first", 5, 4, 5},         {"clock-specific empty", 0, 4, 4},
        {"clock-specific a folder", folder, 4, 4}, {"clock-specific too long is final", 0x6001, 4, none},
        {"both missing", none, none, none},        {"longer than its block", none, 131073, none},
    };
    for (const Module module : {Module::arm32f, Module::arm})
        for (const Case &c : cases) {
            SCOPED_TRACE(c.name);
            ArmRig rig(module);
            const auto put = [&](const std::string &path, int bytes) {
                std::filesystem::remove(path);
                if (bytes == folder) std::filesystem::create_directories(path);
                if (bytes >= 0) spill(path, std::vector(static_cast<std::size_t>(bytes), 'a'));
            };
            put(rig.clockSpecific(), c.clockBytes);
            put(rig.general(), c.generalBytes);
            EXPECT_EQ(rig.run(direct), c.used == none ? rejected : passed);
            EXPECT_EQ(std::ranges::count(rig.traffic, "AlgorithmLoaded " + std::to_string(c.used)), c.used != none);
        }
}

TEST(ArmSession, ChipIdCheck) {
    using enum MessageBoxResult;
    struct Case {
        const char *name;
        std::deque<Reports> reports;
        std::deque<MessageBoxResult> answers;
        std::string log;
        std::string traffic;
        int result = 0;
    };
    const Reports match{{10}, {100, 0, 1, 0x1F, 0x95, 0x0B}}, other{{100, 0, 0, 0xFF, 0x00}};
    const std::string ask = "34 1D 00 00 00/16; ", settle = "Delay 20; ", end = settle + "EndOperation",
                      goesOn = settle + directRun + passCalls, identity = ">>n9 1F   n10 950B\n";
    const Case cases[] = {
        {"match", {match}, {}, identity + passed, ask + goesOn},
        {"mismatch, ignore", {other}, {ignore}, passed, ask + goesOn},
        {"mismatch, retry, match", {other, match}, {retry}, identity + passed, ask + ask + goesOn},
        {"retry twice, abort", {other, other, other}, {retry, retry, abort}, "", ask + ask + ask + end, 2},
        {"programmer reports an error", {{{5, 0xFA}}}, {}, ">>Device Code Error!\n", ask + end, 2},
        {"no report", {{{5}}}, {}, passed, ask + goesOn},
        {"retry, then no report", {other, {}}, {retry}, passed, ask + ask + goesOn},
        {"too many code bytes", {{{100, 0, 16}}}, {}, aborted, "34 1D 00 00 00/16"},
        {"nothing is expected, nothing asked", {}, {}, passed, goesOn},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        rig.t.host.chipidtestmode(0) = Boolean(true);
        rig.t.host.compid(0) = c.reports.empty() ? 0 : 0x1F;
        rig.t.host.typeid_(0) = c.reports.empty() ? 0 : 0x95;
        rig.chipIds = c.reports;
        rig.t.ui->answers = c.answers;
        EXPECT_EQ(rig.run(direct), c.log);
        EXPECT_EQ(rig.operationTraffic(), c.traffic);
        EXPECT_EQ(rig.result(), c.result);
        EXPECT_EQ(rig.t.ui->boxes.size(), c.answers.size());
        for (const FakeUi::Box &box : rig.t.ui->boxes) {
            EXPECT_EQ(box.prompt, u"n9 FF   n10 00");
            EXPECT_EQ(box.style, messageBoxAbortRetryIgnoreExclamation);
            EXPECT_EQ(box.title, u"Warning! Device Code Error!");
        }
    }
}

TEST(ArmSession, DirectRunsFollowTheReports) {
    struct Case {
        const char *name;
        Reports reports;
        std::string log; ///< between the start line and the result line
        int result = 0;
        Byte wordMode = 1;
        Byte operation = direct;
    };
    const Bytes fault{0, 0xFA, 0, 0x78, 0x56, 0x34, 0x12, 0xAB, 0xCD};
    const std::string verifyNote = ">>n0 Verifyn1 \n", blankNote = ">>n0 Blank Checkn1 \n";
    const Case cases[] = {
        {"compare error, byte", {fault}, ">>Device Address:12345678H  Device Data:ABH\n", 1},
        {"compare error, word", {fault}, ">>Device Address:12345678H  Device Data:CDABH\n", 1, 2},
        {"compare error before the end", {{100, 0xFA}}, ">>Device Address:00000000H  Device Data:00H\n", 1},
        {"ID error", {{0, 0xF9}}, ">>ID Check Error!!!\n", 1},
        {"stopped by the programmer", {{50, 0x1E}}, ""},
        {"verify note, once", {{1, 0, 0x3C}, {2, 0, 0x3C}, {3, 0, 0x28}, {100}}, verifyNote},
        {"note with the last report", {{100, 0, 0x28}}, blankNote},
        {"blank check of its own", {{1, 0, 0x28}, {2, 0, 0x3C}, {100}}, verifyNote, 0, 1, 4},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ArmRig rig;
        rig.t.host.wordmode(0) = c.wordMode;
        rig.runs = {c.reports};
        rig.expect(c.operation, c.log + endLine(c.operation, c.result == 1 ? "n3" : "n2"),
                   (c.operation == direct ? directRun : "34 05 00 00 00/16; ") +
                       (c.result == 1 ? failCalls : passCalls),
                   c.result);
    }
    const std::string stop = "34 1E/8; ";
    for (const auto &[stopAt, reports] : {std::pair(2, Reports{{1}, {2}, {3, 0x1E}}), {1, Reports{{1}, {100}}}}) {
        ArmRig rig;
        rig.runs = {reports};
        rig.stopAtReport = stopAt;
        rig.expect(direct, stopped, directRun + stop + (stopAt == 1 ? stop : "") + failCalls, 2);
    }
}

TEST(ArmSession, DirectRunsOfSomeFamiliesSendData) {
    const std::string head = "0A 00 80 02/4; ibuffer+0 -> 2560; ", end = "0A 00 80 02/4; ibuffer+4048 -> 48; ";
    const std::pair<Byte, std::string> cases[] = {{0x1A, ""}, {0x1B, head}, {0x1D, head}, {0x1E, ""},
                                                  {0x2D, ""}, {0x2E, end},  {0x31, end},  {0x32, ""}};
    for (const auto &[family, data] : cases) {
        ArmRig rig;
        rig.describe({.addresses = 0x1000, .bank = 1});
        rig.t.host.prgmode(0) = family;
        rig.expect(direct, endLine(direct, "n2"), data + "34 0A 01 00 00/16; " + passCalls);
    }
}

TEST(ArmSession, DirectRunDataFollowsBankStatusAndBounds) {
    ArmRig rig;
    rig.t.host.prgmode(0) = 0x2E;
    rig.statuses["ibuffer+208 -> 48"] = 5; // a code without a line
    rig.expect(direct, timeLine, "0A 00 80 01/4; ibuffer+208 -> 48; " + directRun + failCalls, 5);
    rig.statuses["ibuffer+208 -> 48"] = -1; // a status that is no byte
    rig.expect(direct, aborted, "0A 00 80 01/4; ibuffer+208 -> 48", 0, "Overflow");
    rig.t.host.tlength(0) = 0x2F; // the data would begin before the buffer
    rig.expect(direct, aborted, "0A 00 80 01/4", 0, "Subscript out of range");
}

TEST(ArmSession, TheResultLineFollowsTheResultCode) {
    const std::pair<std::string, std::string> ends[] = {
        {endLine(direct, "n2"), passCalls},
        {endLine(direct, "n3"), failCalls},
        {stopped, "34 1E/8; " + failCalls},
        {aborted, failCalls + "; EndOperation"},
        {"Read algo file error!\n" + timeLine, failCalls},
        {timeLine, failCalls},
    };
    for (Byte code = 0; code < std::size(ends); ++code) {
        ArmRig rig;
        rig.t.host.prgresult(0) = code;
        rig.expect(direct, ends[code].first, directRun + ends[code].second, code);
    }
}

TEST(ArmSession, OperationsWithoutACaptionOrACodeAreErrors) {
    ArmRig rig;
    EXPECT_EQ(rig.run(20), aborted);
    EXPECT_EQ(rig.failure(), "Subscript out of range");
    EXPECT_EQ(rig.run(19), startLine(19) + endLine(19, "n2"));
    EXPECT_EQ(rig.failure(), "") << "the former error is forgotten";
}

TEST(ArmSession, TheElapsedTimeRunsFromTheFirstStep) {
    ArmRig rig;
    rig.t.clock->now = 86399.0F;
    rig.t.sessionHost->onCall = [&](const std::string &) { rig.t.clock->now = 1.25F; };
    EXPECT_TRUE(rig.run(direct).ends_with(">> 2.25Sec\n")) << rig.log();
}

} // namespace
} // namespace kx3
