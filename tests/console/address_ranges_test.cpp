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

} // namespace
} // namespace kx3console
