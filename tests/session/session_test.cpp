#include "session/usbmpu6prg.h"
#include "support/test_apartment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace kx3 {
namespace {

using test::TestApartment;
using Calls = std::vector<std::string>;

const Calls powerUp = {"StartCheck",     "PrepareChip 7", "SetVcc 3300", "SetGndPin 12 1",
                       "SetGndPin 34 1", "Delay 500",     "PowerStep 0", "Delay 100"};

Calls operator+(Calls first, const Calls &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A host that has prepared a session and carries out what is announced. "yield" stands among the
/// host object's calls, so that their order shows.
class Session : public testing::Test {
  protected:
    Session() {
        t.attach(1000);
        t.host.figmode(0) = 7;
        t.host.bvcc(0) = 330;
        t.host.bgndpin(0) = 12;
        t.host.bgndpin(1) = 34;
        const std::map<Long, std::u16string_view> notes = {
            {0, u"Now "},   {1, u" ..."},   {2, u" OK"},       {3, u" failed"}, {4, u"Stopped"},  {5, u"First"},
            {6, u"Second"}, {7, u"Go on?"}, {8, u"Not blank"}, {9, u"Maker:"},  {10, u"Device:"}, {12, u"Broken"}};
        for (const auto &[index, text] : notes)
            storeText(t.host.prgnote, index, text);
        for (Long i = 0; i < 20; ++i)
            storeText(t.host.MainmnuPrg, i, u"op" + decimal(i));
        t.ui->onYield = [this] {
            t.sessionHost->calls.push_back("yield");
            carryOut();
        };
    }

    /// Leave the next result; without one the operation passes.
    void leaveResult() {
        if (results.empty()) return;
        t.host.prgresult(0) = results.front();
        results.pop_front();
    }

    void request(Byte operation) { t.host.prgresult(1) = operation; }
    void requestSequence(const std::vector<Byte> &operations) {
        request(0);
        t.host.wautonum(0) = static_cast<Byte>(operations.size());
        for (std::size_t i = 0; i < operations.size(); ++i)
            t.host.autoprg(static_cast<Long>(i)) = operations[i];
    }
    void expectIdentifier(Integer maker, Integer device) {
        t.host.chipidtestmode(0) = Boolean(true);
        t.host.compid(0) = maker;
        t.host.typeid_(0) = device;
    }
    void report(Byte maker, Byte device1, Byte device2) {
        t.host.ibuf1(3) = maker;
        t.host.ibuf1(4) = device1;
        t.host.ibuf1(5) = device2;
    }

    ErrorNumber failure() {
        try {
            window.wmpu0();
        } catch (const Error &error) {
            return error.number();
        }
        return {};
    }

    void clear() {
        t.sessionHost->calls.clear();
        t.ui->boxes.clear();
        storeText(t.host.MainRtstr, 0, {});
        t.host.prgresult(0) = 0;
    }
    std::string log() { return toUtf8(readText(t.host.MainRtstr, 0)); }

    TestApartment t;
    usbmpu6prg window{t.apartment.context()};
    std::deque<Byte> results;
    std::function<void()> carryOut = [this] { leaveResult(); };
};

TEST_F(Session, PowersUpAnnouncesSignalsAndEnds) {
    request(3);
    window.wmpu0();
    EXPECT_EQ(t.sessionHost->calls, powerUp + Calls({"yield", "SignalPass 0", "EndOperation"}));
    EXPECT_EQ(log(), ">>Now op3 ...\n>>op3 OK\n>> 0.00Sec\n");
    EXPECT_EQ(t.host.ubuflg(0), 0x3FF0);
    EXPECT_TRUE(t.ui->boxes.empty());
}

TEST_F(Session, ConnectsTheSecondGroundPinOnlyWhenThereIsOne) {
    request(1);
    t.host.bgndpin(1) = 0;
    window.wmpu0();
    EXPECT_EQ(std::ranges::count(t.sessionHost->calls, "SetGndPin 12 1"), 1);
    EXPECT_EQ(std::ranges::count(t.sessionHost->calls, "SetGndPin 0 1"), 0);
}

TEST_F(Session, ARefusedStartDoesNothingMore) {
    struct Case {
        Long startCheck, prepare;
        Calls calls;
        ErrorNumber error;
    };
    const Case cases[] = {
        {1, 0, {"StartCheck", "ReportStartFailure"}, {}},
        {0, 2, {"StartCheck", "PrepareChip 7"}, {}},
        {2, 2, {"StartCheck", "PrepareChip 7"}, {}},
        {0, 1, powerUp + Calls({"ReportStartFailure"}), {}},
        {256, 0, {"StartCheck"}, ErrorNumber::overflow},
        {0, -1, {"StartCheck", "PrepareChip 7"}, ErrorNumber::overflow},
    };
    request(3);
    for (const Case &c : cases) {
        clear();
        t.sessionHost->startCheck = c.startCheck;
        t.sessionHost->prepare = c.prepare;
        EXPECT_EQ(failure(), c.error);
        EXPECT_EQ(t.sessionHost->calls, c.calls);
        EXPECT_EQ(log(), "");
    }
}

TEST_F(Session, TheIdentifierTestDecidesWhetherOperationsRun) {
    using enum MessageBoxResult;
    struct Case {
        Integer maker, device;
        std::deque<bool> reports; ///< whether each poll brings one
        std::deque<MessageBoxResult> answers;
        std::string log;
    };
    const std::string ended, accepted = ">> 0.00Sec\n", matched = ">>Maker:1E   Device:950F\n" + accepted;
    const Case cases[] = {
        {0x1E, 0x95, {true}, {}, matched},
        {0x1E, 0x95, {false, false, true}, {retry, retry}, matched},
        {0, 0, {}, {}, accepted},
        {0x1E, 0, {true}, {ignore}, accepted},
        {0x1F, 0x95, {true}, {ignore}, accepted},
        {0x11E, 0x95, {true}, {ignore}, accepted},
        {0x1E, 0x96, {true}, {abort}, ended},
    };
    request(1);
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.maker) + " " + std::to_string(c.device));
        clear();
        expectIdentifier(c.maker, c.device);
        report(0x1E, 0x95, 0x0F);
        t.ui->answers = c.answers;
        std::deque<bool> reports = c.reports;
        t.sessionHost->onPoll = [&] {
            const bool came = reports.front();
            reports.pop_front();
            return came;
        };
        window.wmpu0();
        const Calls end =
            c.log == ended ? Calls{"EndOperation", "EndOperation"} : Calls{"SignalPass 0", "EndOperation"};
        EXPECT_EQ(t.sessionHost->calls, powerUp + Calls(c.reports.size(), "PollStatus 15") + end);
        EXPECT_EQ(t.ui->boxes.size(), c.answers.size());
        EXPECT_EQ(log(), c.log);
    }
}

TEST_F(Session, TheIdentifierQuestionShowsWhatWasRead) {
    expectIdentifier(0x1E, 0x95);
    report(0x01, 0x00, 0xAB);
    t.ui->answers = {MessageBoxResult::retry, MessageBoxResult::abort};
    int polls = 0;
    t.sessionHost->onPoll = [&] { return ++polls == 1; };
    window.wmpu0();
    ASSERT_EQ(t.ui->boxes.size(), 2U);
    EXPECT_EQ(t.ui->boxes[0].prompt, u"Maker:01   Device:00AB");
    EXPECT_EQ(t.ui->boxes[0].style, 50);
    EXPECT_EQ(t.ui->boxes[0].title, u"Warning! Device Code Error!");
    EXPECT_EQ(t.ui->boxes[1].prompt, u"Maker:FF   Device:FFFF") << "without a report";
}

TEST_F(Session, AStopDuringTheIdentifierTestSkipsTheOperations) {
    request(3);
    t.host.prgresult(0) = 2;
    expectIdentifier(0, 0);
    window.wmpu0();
    EXPECT_EQ(t.sessionHost->calls, powerUp + Calls({"EndOperation"}));

    clear();
    t.host.prgresult(0) = 2; // of an earlier run: without the test nobody looks at it
    t.host.chipidtestmode(0) = Boolean(false);
    window.wmpu0();
    EXPECT_EQ(t.sessionHost->calls.back(), "EndOperation");
    EXPECT_EQ(log(), ">>Now op3 ...\n>>op3 OK\n>> 0.00Sec\n");
}

TEST_F(Session, RunsTheRequestedOperations) {
    using enum MessageBoxResult;
    struct Case {
        Byte operation;
        std::vector<Byte> sequence;
        std::deque<Byte> results;
        std::deque<MessageBoxResult> answers;
        bool passes;
        std::string log;
    };
    const Case cases[] = {
        {0, {}, {}, {}, true, ">>Now op6 ...\n>>op6 OK\n"},
        {1, {8, 9}, {}, {}, true, ""},
        {2, {8, 9}, {1}, {}, false, ">>Now op2 ...\n>>op2 failed\n"},
        {19, {}, {255}, {}, false, ">>Now op19 ...\n"},
        {4, {}, {1}, {}, false, ">>Now op4 ...\n>>op4 failed\n"},
        {0, {7, 3}, {}, {}, true, ">>Now op7 ...\n>>op7 OK\n>>Now op3 ...\n>>op3 OK\n"},
        {0, {7, 3}, {1}, {}, false, ">>Now op7 ...\n>>op7 failed\n"},
        {0, {7, 3}, {2}, {}, false, ">>Now op7 ...\nStopped\n"},
        {0, {7, 3}, {3}, {}, false, ">>Now op7 ...\nBroken\n"},
        {0, {7, 3}, {4}, {}, false, ">>Now op7 ...\n"},
        {0, {4, 3}, {1}, {ok}, true, ">>Now op4 ...\n>>op4 failed\n>>Now op3 ...\n>>op3 OK\n"},
        {0, {4, 3}, {1}, {cancel}, false, ">>Now op4 ...\n>>op4 failed\n"},
        {0, {4, 3}, {2}, {}, false, ">>Now op4 ...\nStopped\n"},
        {0, {4}, {1}, {ok}, false, ">>Now op4 ...\n>>op4 failed\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        clear();
        requestSequence(c.sequence);
        request(c.operation);
        results = c.results;
        t.ui->answers = c.answers;
        window.wmpu0();
        EXPECT_EQ(log(), c.log + ">> 0.00Sec\n");
        const Calls &calls = t.sessionHost->calls;
        const Calls end = {c.passes ? "SignalPass 0" : "SignalFail 0", "EndOperation"};
        EXPECT_EQ(Calls(calls.end() - 2, calls.end()), end);
        EXPECT_EQ(t.ui->boxes.size(), c.answers.size());
    }
}

TEST_F(Session, TheContinueQuestionIsTheHosts) {
    requestSequence({4});
    results = {1};
    window.wmpu0();
    ASSERT_EQ(t.ui->boxes.size(), 1U);
    EXPECT_EQ(t.ui->boxes[0].prompt, u"Go on?");
    EXPECT_EQ(t.ui->boxes[0].style, 33);
    EXPECT_EQ(t.ui->boxes[0].title, u"Not blank");
}

TEST_F(Session, TheHostSeesTheAnnouncementWhileTheWindowYields) {
    request(3);
    t.host.prgresult(0) = 1;
    t.host.prgmode(1) = t.host.prgmode(2) = 9;
    carryOut = [&] {
        EXPECT_EQ(t.host.prgresult(0), 0);
        EXPECT_EQ(t.host.prgmode(1), 1);
        EXPECT_EQ(t.host.prgmode(2), 0);
        EXPECT_EQ(log(), ">>Now op3 ...\n");
        EXPECT_TRUE(window.loaded());
        EXPECT_EQ(window.caption(), u"Now op3 ...");
    };
    window.wmpu0();
    EXPECT_EQ(t.ui->yields, 1);
    EXPECT_FALSE(window.loaded());
}

TEST_F(Session, RequestsAreReadAgainAfterEachOperation) {
    requestSequence({});
    carryOut = [&] { // after operation 6: a sequence; after that: one operation
        if (t.ui->yields == 1) requestSequence({7});
        if (t.ui->yields == 2) request(3);
    };
    window.wmpu0();
    EXPECT_EQ(log(), ">>Now op6 ...\n>>op6 OK\n>>Now op7 ...\n>>op7 OK\n>>Now op3 ...\n>>op3 OK\n>> 0.00Sec\n");
}

TEST_F(Session, ALongLogIsClearedBeforeTheNextOperation) {
    request(3);
    for (const std::size_t length : {500U, 501U}) {
        storeText(t.host.MainRtstr, 0, std::u16string(length, u'x'));
        window.wmpu0();
        EXPECT_EQ(log().starts_with("x"), length == 500) << length;
    }
}

TEST_F(Session, OperationFiveReplacesTheLogByItsOutput) {
    request(5);
    storeText(t.host.MainRtstr, 0, u"old\n");
    storeText(t.host.MainRtstr, 1, u"output\n");
    results = {1};
    window.wmpu0();
    EXPECT_EQ(log(), "First\nSecond\noutput\n>>op5 failed\n>> 0.00Sec\n");
    EXPECT_EQ(readText(t.host.MainRtstr, 1), u"");
}

TEST_F(Session, ElapsedTimeRunsOverMidnight) {
    struct Case {
        float start, end;
        std::string elapsed;
    };
    request(3);
    for (const Case &c : {Case{100.0F, 101.25F, "1.25"}, Case{86399.5F, 0.75F, "1.25"}, Case{5.0F, 5.0F, "0.00"}}) {
        clear();
        t.clock->now = c.start;
        carryOut = [&] { t.clock->now = c.end; };
        window.wmpu0();
        EXPECT_TRUE(log().ends_with(">> " + c.elapsed + "Sec\n")) << log();
    }
}

TEST_F(Session, TheStopButtonRequestsAStop) {
    requestSequence({7, 3});
    t.host.Language(0) = 3000;
    carryOut = [&] {
        const Control *stop = window.find("pexit");
        ASSERT_NE(stop, nullptr);
        EXPECT_EQ(stop->caption(), u"停止");
        EXPECT_TRUE(window.click(*stop));
    };
    window.wmpu0();
    EXPECT_EQ(t.host.prgresult(0), 2);
    EXPECT_EQ(log(), ">>Now op7 ...\nStopped\n>> 0.00Sec\n");
}

TEST_F(Session, TheLoadedWindowCarriesTheLanguagesCaptions) {
    window.load();
    EXPECT_EQ(window.caption(), u"Information");
    EXPECT_EQ(window.find("pexit")->caption(), u"Stop");
    EXPECT_EQ(window.clientArea()->width, 5985);
}

TEST_F(Session, AFailingHostCallEndsTheRunThere) {
    expectIdentifier(0x1E, 0x95);
    report(0x1E, 0x95, 0x0F);
    request(3);
    window.wmpu0();
    const Calls all = t.sessionHost->calls;
    for (const std::string &failing : all) {
        if (failing == "yield") continue;
        clear();
        Calls expected(all.begin(), std::ranges::find(all, failing));
        t.sessionHost->onCall = [&](const std::string &call) {
            if (call == failing) raise(ErrorNumber::automation);
        };
        EXPECT_EQ(failure(), ErrorNumber::automation) << failing;
        EXPECT_EQ(t.sessionHost->calls, expected);
        EXPECT_FALSE(window.loaded());
    }
}

TEST_F(Session, OddBlockValuesEndOrderly) {
    struct Case {
        std::function<void()> prepare;
        ErrorNumber error;
        int yields;
    };
    const Case cases[] = {
        {[&] { request(20); }, ErrorNumber::subscript, 0},               // an operation without a caption
        {[&] { t.host.wautonum(0) = 255; }, ErrorNumber::subscript, 11}, // a sequence longer than its block
        {[&] { t.host.Language(0) = 3001; }, ErrorNumber::resourceNotFound, 0},
        {[&] { carryOut = [&] { t.apartment.blocks().UnmapSharedBlocks(); }; }, ErrorNumber::subscript, 1},
    };
    for (const Case &c : cases) {
        clear();
        requestSequence({});
        t.host.Language(0) = 0;
        t.ui->yields = 0;
        t.host.prgmode(1) = 9;
        c.prepare();
        EXPECT_EQ(failure(), c.error);
        EXPECT_EQ(t.ui->yields, c.yields);
        EXPECT_EQ(t.host.prgmode(1), c.yields == 0 ? 0 : 1);
        EXPECT_FALSE(window.loaded());
    }
}

TEST_F(Session, ARunInsideARunIsRefusedAndDisturbsNothing) {
    t.host.modeltype(0) = 50;
    requestSequence({7, 3});
    Boolean usbenable;
    carryOut = [&] { EXPECT_THROW(t.mpu.runMpu6Prg(usbenable), Error); };
    t.mpu.runMpu6Prg(usbenable);
    EXPECT_EQ(log(), ">>Now op7 ...\n>>op7 OK\n>>Now op3 ...\n>>op3 OK\n>> 0.00Sec\n");
    EXPECT_EQ(std::ranges::count(t.sessionHost->calls, "StartCheck"), 1);
}

} // namespace
} // namespace kx3
