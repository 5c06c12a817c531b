#include "address_ranges.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace kx3console {
namespace {

TEST(AddressRanges, AgreeWithASetOfAddresses) {
    std::mt19937 random(1);
    const auto below = [&random](unsigned limit) { return static_cast<std::uint64_t>(random() % limit); };
    for (int round = 0; round < 200; ++round) {
        AddressRanges ranges;
        std::set<std::uint64_t> addresses;
        for (int step = 0; step < 30; ++step) {
            const std::uint64_t first = below(90);
            const AddressRange range{first, first + below(8)};
            const auto common = ranges.overlap(range);
            const auto expected = addresses.lower_bound(range.first);
            ASSERT_EQ(common.has_value(), expected != addresses.end() && *expected <= range.last);
            if (common) {
                ASSERT_EQ(common->first, *expected);
            }
            ranges.add(range);
            for (std::uint64_t address = range.first; address <= range.last; ++address)
                addresses.insert(address);
            ASSERT_EQ(ranges.size(), addresses.size());
            ASSERT_EQ(ranges.gaps({0, 99}).size(), 100 - addresses.size());
        }
    }
}

TEST(AddressRanges, NeighboursAreOneRun) {
    AddressRanges ranges;
    for (const AddressRange range : {AddressRange{0x10, 0x1F}, {0x30, 0x3F}, {0x20, 0x2F}, {0x50, 0x50}})
        ranges.add(range);
    EXPECT_EQ(ranges.text(), "0x10-0x3F, 0x50");
    EXPECT_EQ(ranges.text(1), "0x10-0x3F and 1 more");
    EXPECT_EQ(ranges.gaps({0, 0x60}).text(), "0x0-0xF, 0x40-0x4F, 0x51-0x60");
    EXPECT_TRUE(ranges.gaps({0x12, 0x3F}).empty());
}

} // namespace
} // namespace kx3console
