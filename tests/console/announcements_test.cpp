#include "announcements.h"

#include <array>
#include <gtest/gtest.h>

namespace kx3console {
namespace {

TEST(Announcements, AreTheStepsOfASequenceEachTakenOnce) {
    std::array<std::uint8_t, 3> result{};
    std::array<std::uint8_t, 4> mode{};
    std::array<std::uint8_t, 4> length{3};
    std::array<std::uint8_t, 11> sequence{8, 4, 3};
    Announcements announcements{{result, mode, length, sequence}};
    EXPECT_FALSE(announcements.take());
    for (int run = 0; run < 2; ++run) {
        for (int step = 0; step < 3; ++step) {
            mode[1] = 1;
            EXPECT_EQ(announcements.take(), sequence[static_cast<std::size_t>(step)]) << run;
            EXPECT_FALSE(announcements.take());
        }
        announcements.restart();
    }
}

} // namespace
} // namespace kx3console
