#include "arm/verify_ranges.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace kx3 {
namespace {

/// The compared addresses in [0, 40000 hex) as "first-last" pairs.
std::string rangesOf(const VerifyParameters &device) {
    std::string text;
    (void)VerifyRanges::of(device).forEachRun(0, 0x40000, [&](std::int64_t from, std::int64_t to) {
        char pair[32];
        std::snprintf(pair, sizeof pair, "%s%X-%X", text.empty() ? "" : " ", static_cast<unsigned>(from),
                      static_cast<unsigned>(to - 1));
        text += pair;
        return true;
    });
    return text;
}

TEST(VerifyRanges, OfEveryFamily) {
    struct Case {
        Byte family;
        Long size;
        Integer bvcch;
        Byte option;
        Integer pageLength;
        std::string ranges;
    };
    const Case cases[] = {
        // A gap from an address by option up to 1800.
        {0x01, 0x8000, 0, 0, 0, "0-7FF 1800-3FFFF"},
        {0x01, 0x8000, 0, 1, 0, "0-FFF 1800-3FFFF"},
        {0x01, 0x8000, 0, 2, 0, "0-3FFFF"},
        {0x01, 0x8000, 0, 3, 0, "1800-3FFFF"},
        {0x01, 0x8000, 0, 255, 0, "1800-3FFFF"},
        // Main memory by selector.
        {0x05, 0x10000, 0, 0, 0, "1000-10FF E000-FFFE"},
        {0x07, 0x10000, 1, 0, 0, "1000-10FF C000-FFFE"},
        {0x08, 0x10000, 2, 0, 0, "1000-FFFE"},
        {0x09, 0x10000, 3, 0, 0, "1000-10FF 8000-FFFE"},
        {0x0B, 0x10000, 4, 0, 0, "1000-10FF 4000-FFFE"},
        {0x05, 0x10000, 5, 0, 0, "1000-10FF 2100-FFFE"},
        {0x05, 0x20000, 6, 0, 0, "1000-10FF 2100-18FFF"},
        {0x05, 0x20000, 7, 0, 0, "1000-10FF 3100-19FFF"},
        {0x05, 0x20000, 8, 0, 0, "1000-10FF 3100-1FFFF"},
        {0x05, 0x20000, 9, 0, 0, "1000-10FF 2100-1FFFF"},
        {0x05, 0x20000, 10, 0, 0, "1000-10FF"},
        {0x05, 0x20000, -1, 0, 0, "1000-10FF"},
        {0x11, 0x9000, 0, 0, 0, "1800-19FF E000-FFFE"},
        {0x11, 0x9000, 1, 0, 0, "1800-19FF C000-FFFE"},
        {0x11, 0x9000, 2, 0, 0, "1800-19FF 8000-FFFE"},
        {0x11, 0x9000, 3, 0, 0, "1800-19FF 5C00-8FFF"},
        {0x11, 0x9000, 4, 0, 0, "1800-19FF"},
        {0x13, 0x10000, 0, 0, 0, "1800-19FF 8000-FFFF"},
        {0x13, 0x8000, 0, 0, 0, "1800-19FF 4400-7FFF"},
        {0x13, 0x20000, 0, 0, 0, "1800-19FF 4400-1FFFF"},
        {0x13, 0x4000, 0, 0, 0, "1800-19FF"},
        {0x14, 0x6000, 0, 0, 0, "1800-19FF 8000-FFFE"},
        {0x14, 0x6000, 1, 0, 0, "1800-19FF A000-FFFE"},
        {0x14, 0x6000, 2, 0, 0, "1800-19FF C000-FFFE"},
        {0x14, 0x6000, 3, 0, 0, "1800-19FF E000-FFFE"},
        {0x14, 0x6000, 4, 0, 0, "1800-19FF 4400-5FFF"},
        {0x14, 0x6000, 5, 0, 0, "1800-19FF"},
        {0x15, 0x10000, 0, 0, 0, "1800-19FF 4000-FFFF"},
        {0x15, 0x10000, 0, 1, 0, "1800-19FF C000-FFFF"},
        {0x15, 0x10000, 0, 2, 0, "1800-19FF 8000-FFFF"},
        {0x15, 0x10000, 0, 3, 0, "1800-19FF 4000-FFFF"},
        // Fixed ranges.
        {0x1B, 0, 0, 0, 0, "450-4FF 580-9FF E00-FDFF FFCC-FFFF"},
        {0x1C, 0, 0, 0, 0, "450-9FF E00-FDFF FFDA-FFFF"},
        {0x1D, 0, 0, 0, 0, "450-9FF E00-FDFF FFDA-FFFF"},
        {0x21, 0, 0, 0, 0, "20-4F 100-1EFF 1FF0-1FFF"},
        {0x22, 0, 0, 0, 0, "20-4F 100-3EFF 3FF0-3FFF"},
        {0x23, 0, 0, 0, 0, "20-4F 100-10FF 1FF0-1FFF"},
        {0x24, 0, 0, 0, 0, "1000-1EFF 1FF0-1FFF"},
        {0x25, 0, 0, 0, 0, "20-4F 100-8FF 1FF0-1FFF"},
        {0x26, 0, 0, 0, 0, "20-4F 100-12FF 1FF0-1FFF"},
        {0x27, 0, 0, 0, 0, "B600-B7FF"},
        {0x28, 0, 0, 0, 0, "B600-B7FF"},
        {0x29, 0, 0, 0, 0, "FE00-FFFF"},
        {0x2A, 0, 0, 0, 0, "F000-FFFF"},
        {0x2B, 0, 0, 0, 0, "B600-B7FF D000-FFFF"},
        {0x2C, 0, 0, 0, 0, "B600-B7FF D000-FFFF"},
        {0x33, 0, 0, 0, 0, "F800-FFFF"},
        // Pages below 1100, and an area at the device's end.
        {0x42, 0x10000, 16, 0, 2, "1000-10FF C000-FFFF"},
        {0x42, 0x10000, 0, 0, 0, ""},
        {0x42, 0x1000, 32, 0, 100, "0-10FF"},
        {0x42, 0x10000, -1, 0, -1, ""},
        // The neighbours of all these compare everything.
        {0x00, 0, 0, 0, 0, "0-3FFFF"},
        {0x06, 0, 0, 0, 0, "0-3FFFF"},
        {0x0A, 0, 0, 0, 0, "0-3FFFF"},
        {0x12, 0, 0, 0, 0, "0-3FFFF"},
        {0x1E, 0, 0, 0, 0, "0-3FFFF"},
        {0x20, 0, 0, 0, 0, "0-3FFFF"},
        {0x2D, 0, 0, 0, 0, "0-3FFFF"},
        {0x43, 0, 0, 0, 0, "0-3FFFF"},
        {0xFF, 0, 0, 0, 0, "0-3FFFF"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(rangesOf({c.family, c.size, c.bvcch, c.option, c.pageLength}), c.ranges)
            << std::hex << int{c.family} << " size " << c.size << " selector " << c.bvcch << " option "
            << int{c.option};
}

TEST(VerifyRanges, AStretchIsCutToTheRanges) {
    const VerifyRanges ranges = VerifyRanges::of({0x21, 0x2000, 0, 0, 0});
    std::vector<std::pair<std::int64_t, std::int64_t>> runs;
    const auto collect = [&](std::int64_t from, std::int64_t to) {
        runs.emplace_back(from, to);
        return runs.size() < 2;
    };
    EXPECT_TRUE(ranges.forEachRun(0x50, 0x100, collect));
    EXPECT_TRUE(ranges.forEachRun(0x40, 0x100, collect));
    EXPECT_FALSE(ranges.forEachRun(0x4F, 0x2000, collect)) << "ends when the caller says so";
    const decltype(runs) expected{{0x40, 0x50}, {0x4F, 0x50}};
    EXPECT_EQ(runs, expected);
}

} // namespace
} // namespace kx3
