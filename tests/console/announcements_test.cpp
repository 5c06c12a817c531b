#include "announcements.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace kx3console {
namespace {

/// The blocks as the session window leaves them before its yields.
class AnnouncementsTest : public testing::Test {
  protected:
    std::vector<int> taken(std::size_t steps) {
        std::vector<int> operations;
        for (std::size_t i = 0; i < steps; ++i) {
            mode[1] = 1;
            operations.push_back(announcements.take().value_or(0xFF));
        }
        return operations;
    }

    std::array<std::uint8_t, 3> result{};
    std::array<std::uint8_t, 4> mode{};
    std::array<std::uint8_t, 4> length{};
    std::array<std::uint8_t, 11> sequence{8, 4, 3};
    Announcements announcements{{result, mode, length, sequence}};
};

TEST_F(AnnouncementsTest, ASequenceIsItsStepsInOrderInEveryRun) {
    length[0] = 3;
    EXPECT_EQ(taken(3), (std::vector{8, 4, 3}));
    announcements.restart();
    EXPECT_EQ(taken(2), (std::vector{8, 4}));
}

TEST_F(AnnouncementsTest, ASequenceWithoutStepsIsTheDevicesOwn) { EXPECT_EQ(taken(1), std::vector{6}); }

TEST_F(AnnouncementsTest, ASingleOperationIsTheRequestedOne) {
    length[0] = 3;
    result[1] = 5;
    EXPECT_EQ(taken(1), std::vector{5});
}

TEST_F(AnnouncementsTest, OneAnnouncementIsTakenOnce) {
    EXPECT_FALSE(announcements.take());
    mode[1] = 1;
    EXPECT_TRUE(announcements.take());
    EXPECT_FALSE(announcements.take());
}

} // namespace
} // namespace kx3console
