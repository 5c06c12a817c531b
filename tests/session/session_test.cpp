// The session window beyond what the cases as data hold: the identifier that a device reports, the window itself, and
// a host that changes its mind while the window yields.
#include "host/error_of.h"
#include "rig/apartment.h"
#include "session/usbmpu6prg.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

using Calls = std::vector<std::string>;

/// A host that has prepared a session and passes every operation.
class Session : public testing::Test {
  protected:
    Session() {
        t.attach(1000);
        t.host.figmode(0) = 7;
        t.host.chipidtestmode(0) = Boolean(true);
        for (Long i = 0; i < 20; ++i)
            storeText(t.host.MainmnuPrg, i, u"op" + decimal(i));
        storeText(t.host.prgnote, 4, u"Stopped");
        storeText(t.host.prgnote, 9, u"Maker:");
        storeText(t.host.prgnote, 10, u"Device:");
        request(1);
    }
    void request(Byte operation, const std::vector<Byte> &sequence = {}) {
        t.host.prgresult(1) = operation;
        t.host.wautonum(0) = static_cast<Byte>(sequence.size());
        std::ranges::copy(sequence, t.host.autoprg.range(0, 11).begin());
    }
    /// The host object's calls behind the power-up.
    Calls run() {
        t.sessionHost->calls.clear();
        t.ui->boxes.clear();
        storeText(t.host.MainRtstr, 0, {});
        window.wmpu0();
        constexpr std::ptrdiff_t powerUp = 7; // calls with one ground pin
        return {t.sessionHost->calls.begin() + powerUp, t.sessionHost->calls.end()};
    }

    TestApartment t;
    usbmpu6prg window{t.apartment.context()};
};

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
        {0x1E, 0, {true}, {ignore}, accepted, {read}},
        {0x1F, 0x95, {true}, {ignore}, accepted, {read}},
        {0x11E, 0x95, {true}, {ignore}, accepted, {read}},
        {0x1E, 0x96, {true}, {abort}, ended, {read}},
    };
    const Byte reported[] = {0x1E, 0x95, 0x0F};
    std::ranges::copy(reported, t.host.ibuf1.range(3, 3).begin());
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.maker) + " " + std::to_string(c.device));
        t.host.compid(0) = c.maker;
        t.host.typeid_(0) = c.device;
        t.ui->answers = c.answers;
        t.sessionHost->onPoll = [reports = c.reports]() mutable {
            const bool came = reports.front();
            reports.pop_front();
            return came;
        };
        Calls expected(c.reports.size(), "PollStatus 15");
        expected.push_back(c.log == ended ? "EndOperation" : "SignalPass 0");
        expected.push_back("EndOperation");
        EXPECT_EQ(run(), expected);
        EXPECT_EQ(t.log(), c.log);
        ASSERT_EQ(t.ui->boxes.size(), c.questions.size());
        for (std::size_t i = 0; i < c.questions.size(); ++i) {
            EXPECT_EQ(t.ui->boxes[i].prompt, c.questions[i]);
            EXPECT_EQ(t.ui->boxes[i].style, messageBoxAbortRetryIgnoreExclamation);
            EXPECT_EQ(t.ui->boxes[i].title, u"Warning! Device Code Error!");
        }
    }
}

TEST_F(Session, AnAnswerThatIsNoByteEndsTheRunThere) {
    const std::tuple<Long, Long, Calls> cases[] = {{256, 0, {"StartCheck"}}, {0, -1, {"StartCheck", "PrepareChip 7"}}};
    for (const auto &[startCheck, prepare, calls] : cases) {
        t.sessionHost->calls.clear();
        t.sessionHost->startCheck = startCheck;
        t.sessionHost->prepare = prepare;
        EXPECT_EQ(errorOf([&] { window.wmpu0(); }), ErrorNumber::overflow);
        EXPECT_EQ(t.sessionHost->calls, calls);
    }
}

TEST_F(Session, TheWindowShowsTheOperationAndAStopButton) {
    request(0, {7, 3});
    t.host.Language(0) = 3000;
    t.ui->onYield = [&] {
        EXPECT_EQ(window.caption(), u"op7");
        EXPECT_EQ(window.clientArea()->width, 5985);
        const Control *stop = window.find("pexit");
        ASSERT_NE(stop, nullptr);
        EXPECT_EQ(stop->caption(), u"停止");
        EXPECT_TRUE(window.click(*stop));
    };
    run();
    EXPECT_FALSE(window.loaded());
    EXPECT_EQ(t.log(), ">>op7\nStopped\n>> 0.00Sec\n");
    window.load();
    EXPECT_EQ(window.caption(), u"信息");
}

TEST_F(Session, RequestsAreReadAgainAfterEachOperation) {
    request(0);
    t.ui->onYield = [&] { // after operation 6: a sequence; after that: one operation
        if (t.ui->yields == 1) request(0, {7});
        if (t.ui->yields == 2) request(3);
        t.clock->now = 1.25F; // of the next day
    };
    t.clock->now = 86399.5F;
    run();
    EXPECT_EQ(t.log(), ">>op6\n>>op6\n>>op7\n>>op7\n>>op3\n>>op3\n>> 1.75Sec\n");
}

} // namespace
} // namespace kx3::test
