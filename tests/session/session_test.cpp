#include "host/error_of.h"
#include "rig/apartment.h"
#include "session/usbmpu6prg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace kx3 {
namespace {

using test::errorOf;
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

    void request(Byte operation, const std::vector<Byte> &sequence = {}) {
        t.host.prgresult(1) = operation;
        t.host.wautonum(0) = static_cast<Byte>(sequence.size());
        for (std::size_t i = 0; i < sequence.size(); ++i)
            t.host.autoprg(static_cast<Long>(i)) = sequence[i];
    }
    void expectIdentifier(Integer maker, Integer device) {
        t.host.chipidtestmode(0) = Boolean(true);
        t.host.compid(0) = maker;
        t.host.typeid_(0) = device;
        const Byte reported[] = {0x1E, 0x95, 0x0F};
        std::ranges::copy(reported, t.host.ibuf1.range(3, 3).begin());
    }

    std::optional<ErrorNumber> failure() {
        return errorOf([&] { window.wmpu0(); });
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
    Byte result = 0; ///< of the next operation; those after it pass
    std::function<void()> carryOut = [this] { t.host.prgresult(0) = std::exchange(result, Byte{0}); };
};

TEST_F(Session, PowersUpAnnouncesSignalsAndEnds) {
    request(3);
    window.wmpu0();
    EXPECT_EQ(t.sessionHost->calls, powerUp + Calls({"yield", "SignalPass 0", "EndOperation"}));
    EXPECT_EQ(log(), ">>Now op3 ...\n>>op3 OK\n>> 0.00Sec\n");
    EXPECT_EQ(t.host.ubuflg(0), 0x3FF0);
    EXPECT_TRUE(t.ui->boxes.empty());
}

TEST_F(Session, ARefusedStartDoesNothingMore) {
    struct Case {
        Long startCheck, prepare;
        Calls calls;
        std::optional<ErrorNumber> error = std::nullopt;
    };
    const Case cases[] = {
        {1, 0, {"StartCheck", "ReportStartFailure"}},
        {0, 2, {"StartCheck", "PrepareChip 7"}},
        {0, 1, powerUp + Calls({"ReportStartFailure"})},
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
        std::vector<std::u16string> questions;
    };
    const std::string ended, accepted = ">> 0.00Sec\n", matched = ">>Maker:1E   Device:950F\n" + accepted;
    const std::u16string read = u"Maker:1E   Device:950F", nothing = u"Maker:FF   Device:FFFF";
    const Case cases[] = {
        {0x1E, 0x95, {true}, {}, matched, {}},
        {0x1E, 0x95, {false, false, true}, {retry, retry}, matched, {nothing, nothing}},
        {0, 0, {}, {}, accepted, {}},
        {0x1E, 0, {true}, {ignore}, accepted, {read}},
        {0x1F, 0x95, {true}, {ignore}, accepted, {read}},
        {0x11E, 0x95, {true}, {ignore}, accepted, {read}},
        {0x1E, 0x96, {true}, {abort}, ended, {read}},
    };
    request(1);
    t.host.bgndpin(1) = 0;
    Calls oneGroundPin = powerUp;
    std::erase(oneGroundPin, "SetGndPin 34 1");
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.maker) + " " + std::to_string(c.device));
        clear();
        expectIdentifier(c.maker, c.device);
        t.ui->answers = c.answers;
        t.sessionHost->onPoll = [reports = c.reports]() mutable {
            const bool came = reports.front();
            reports.pop_front();
            return came;
        };
        window.wmpu0();
        const Calls end =
            c.log == ended ? Calls{"EndOperation", "EndOperation"} : Calls{"SignalPass 0", "EndOperation"};
        EXPECT_EQ(t.sessionHost->calls, oneGroundPin + Calls(c.reports.size(), "PollStatus 15") + end);
        EXPECT_EQ(log(), c.log);
        ASSERT_EQ(t.ui->boxes.size(), c.questions.size());
        for (std::size_t i = 0; i < c.questions.size(); ++i) {
            EXPECT_EQ(t.ui->boxes[i].prompt, c.questions[i]);
            EXPECT_EQ(t.ui->boxes[i].style, messageBoxAbortRetryIgnoreExclamation);
            EXPECT_EQ(t.ui->boxes[i].title, u"Warning! Device Code Error!");
        }
    }
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
        Byte result; ///< of the first operation; the others pass
        bool passes;
        std::string log;
        std::deque<MessageBoxResult> answers = {};
    };
    const std::string passed3 = ">>Now op3 ...\n>>op3 OK\n";
    const Case cases[] = {
        {0, {}, 0, true, ">>Now op6 ...\n>>op6 OK\n"},
        {1, {8, 9}, 0, true, ""},
        {2, {8, 9}, 1, false, ">>Now op2 ...\n>>op2 failed\n"},
        {19, {}, 255, false, ">>Now op19 ...\n"},
        {4, {}, 1, false, ">>Now op4 ...\n>>op4 failed\n"},
        {0, {7, 3}, 0, true, ">>Now op7 ...\n>>op7 OK\n" + passed3},
        {0, {7, 3}, 1, false, ">>Now op7 ...\n>>op7 failed\n"},
        {0, {7, 3}, 2, false, ">>Now op7 ...\nStopped\n"},
        {0, {7, 3}, 3, false, ">>Now op7 ...\nBroken\n"},
        {0, {4, 3}, 1, true, ">>Now op4 ...\n>>op4 failed\n" + passed3, {ok}},
        {0, {4, 3}, 1, false, ">>Now op4 ...\n>>op4 failed\n", {cancel}},
        {0, {4, 3}, 2, false, ">>Now op4 ...\nStopped\n"},
        {0, {4}, 1, false, ">>Now op4 ...\n>>op4 failed\n", {ok}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        clear();
        request(c.operation, c.sequence);
        result = c.result;
        t.ui->answers = c.answers;
        window.wmpu0();
        EXPECT_EQ(log(), c.log + ">> 0.00Sec\n");
        EXPECT_EQ(t.sessionHost->calls.at(t.sessionHost->calls.size() - 2), c.passes ? "SignalPass 0" : "SignalFail 0");
        EXPECT_EQ(t.ui->boxes.size(), c.answers.size());
        for (const test::FakeUi::Box &box : t.ui->boxes) {
            EXPECT_EQ(box.prompt, u"Go on?");
            EXPECT_EQ(box.style, messageBoxOkCancelQuestion);
            EXPECT_EQ(box.title, u"Not blank");
        }
    }
}

TEST_F(Session, TheHostSeesTheAnnouncementWhileTheWindowYields) {
    window.load();
    EXPECT_EQ(window.caption(), u"Information");
    EXPECT_EQ(window.clientArea()->width, 5985);
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
    request(0);
    carryOut = [&] { // after operation 6: a sequence; after that: one operation
        if (t.ui->yields == 1) request(0, {7});
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
    result = 1;
    window.wmpu0();
    EXPECT_EQ(log(), "First\nSecond\noutput\n>>op5 failed\n>> 0.00Sec\n");
    EXPECT_EQ(readText(t.host.MainRtstr, 1), u"");
}

TEST_F(Session, ElapsedTimeRunsOverMidnight) {
    const std::tuple<float, float, std::string> cases[] = {{100.0F, 101.25F, "1.25"}, {86399.5F, 0.75F, "1.25"}};
    request(3);
    for (const auto &[start, end, elapsed] : cases) {
        t.clock->now = start;
        carryOut = [&, after = end] { t.clock->now = after; };
        window.wmpu0();
        EXPECT_TRUE(log().ends_with(">> " + elapsed + "Sec\n")) << log();
    }
}

TEST_F(Session, TheStopButtonRequestsAStop) {
    request(0, {7, 3});
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

TEST_F(Session, AFailingHostCallEndsTheRunThere) {
    expectIdentifier(0x1E, 0x95);
    request(3);
    window.wmpu0();
    const Calls all = t.sessionHost->calls;
    for (const std::string &failing : all) {
        if (failing == "yield") continue;
        clear();
        t.sessionHost->onCall = [&](const std::string &call) {
            if (call == failing) raise(ErrorNumber::automation);
        };
        EXPECT_EQ(failure(), ErrorNumber::automation) << failing;
        EXPECT_EQ(t.sessionHost->calls, Calls(all.begin(), std::ranges::find(all, failing)));
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
        request(0);
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

} // namespace
} // namespace kx3
