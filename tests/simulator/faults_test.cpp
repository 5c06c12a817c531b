#include "simulator/failure.h"
#include "simulator/faults.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

TEST(Faults, StrikeTheCallsThatTheTextNames) {
    FaultPlan plan("bulkwrite@3:fail,report@2+:missing,bulkread@1:pending=4,report@9:compare=0,slow=2,bitflip@0x1234.5",
                   0);
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

TEST(Faults, AMalformedItemIsNamed) {
    for (const char *item :
         {"bulkwrite", "bulkwrite@0:fail", "bulkwrite@1x:fail", "bulkwrite@3:corrupt", "bulkwrite@3:fail=1",
          "bulkwrte@3:fail", "bulkread@1:pending", "bulkread@1:pending=0", "report@1:compare=x",
          "report@1:compare=0x100000000", "report@++1:stop", "bitflip@1.8", "bitflip@.1", "bitflip@1", "slow=0",
          "slwo=1", "bitflip@1.1.1", "bulkwrite@3", "report@99999999999:stop"}) {
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
}

TEST(Faults, TheSeedDecidesTheSequence) {
    FaultPlan one("", 1);
    FaultPlan same("", 1);
    FaultPlan other("", 2);
    const std::uint64_t first = one.random();
    EXPECT_EQ(first, same.random());
    EXPECT_NE(first, one.random());
    EXPECT_NE(first, other.random());
}

} // namespace
} // namespace kx3sim
