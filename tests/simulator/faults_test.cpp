#include "simulator/failure.h"
#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <set>

namespace kx3sim {
namespace {

TEST(Faults, StrikeTheCallsThatTheTextNames) {
    FaultPlan plan("bulkwrite@3:fail,report@2+:missing,bulkread@1:pending=4,slow=2,bitflip@0x1234.5", 0);
    for (int call = 1; call <= 4; ++call) {
        EXPECT_EQ(plan.strike(FaultPoint::bulkWrite) != nullptr, call == 3) << call;
        EXPECT_EQ(plan.strike(FaultPoint::report) != nullptr, call >= 2) << call;
        EXPECT_EQ(plan.strike(FaultPoint::comWrite), nullptr);
    }
    const Fault *read = plan.strike(FaultPoint::bulkRead);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->kind, FaultKind::pending);
    EXPECT_EQ(read->value, 4U);
    EXPECT_EQ(plan.reportsPerPercent(), 2U);
    ASSERT_EQ(plan.bitFlips().size(), 1U);
    EXPECT_EQ(plan.bitFlips()[0].offset, 0x1234U);
    EXPECT_EQ(plan.bitFlips()[0].bit, 5U);
}

TEST(Faults, EveryFormIsAccepted) {
    for (const char *text : {"", "comwrite@1:fail", "bulkwrite@1:fail", "bulkread@1:fail", "bulkread@1:fail=3",
                             "bulkread@1:pending=2", "bulkread@1:corrupt", "report@1:missing", "report@1:compare=0x10",
                             "report@1:compare=0", "report@1:identity", "report@1:stop", "version@1:wrong",
                             "chipid@1+:wrong", "start@1:refuse", "prepare@1:refuse", "slow=1", "bitflip@0.0"})
        EXPECT_NO_THROW(FaultPlan(text, 0)) << text;
}

TEST(Faults, AMalformedItemIsNamed) {
    for (const char *item : {"bulkwrite",
                             "bulkwrite@:fail",
                             "bulkwrite@0:fail",
                             "bulkwrite@-1:fail",
                             "bulkwrite@1x:fail",
                             "bulkwrite@3",
                             "bulkwrite@3:",
                             "bulkwrite@3:corrupt",
                             "bulkwrite@3:fail=1",
                             "bulkwrte@3:fail",
                             "bulkread@1:pending",
                             "bulkread@1:pending=",
                             "bulkread@1:pending=0",
                             "report@1:compare",
                             "report@1:compare=0x100000000",
                             "report@++1:stop",
                             "bitflip@1.8",
                             "bitflip@.1",
                             "bitflip@1",
                             "bitflip@1.1.1",
                             "slow",
                             "slow=0",
                             "slow=",
                             "slwo=1",
                             " report@1:stop",
                             "report@1:stop ",
                             "report@99999999999:stop"}) {
        try {
            (void)FaultPlan(std::string("slow=1,") + item + ",report@1:stop", 0);
            ADD_FAILURE() << item << " was accepted";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status(), KX6SIM_BAD_ARGUMENT);
            EXPECT_NE(std::string(failure.what()).find('"' + std::string(item) + '"'), std::string::npos)
                << failure.what();
        }
    }
    EXPECT_THROW(FaultPlan("slow=1,", 0), Failure);
    EXPECT_THROW(FaultPlan(",", 0), Failure);
}

TEST(Faults, TheSeedDecidesTheSequence) {
    std::set<std::uint64_t> firsts;
    for (std::uint64_t seed = 0; seed < 16; ++seed) {
        FaultPlan one("", seed);
        FaultPlan same("", seed);
        firsts.insert(one.random());
        (void)same.random();
        EXPECT_EQ(one.random(), same.random());
    }
    EXPECT_EQ(firsts.size(), 16U);
}

} // namespace
} // namespace kx3sim
