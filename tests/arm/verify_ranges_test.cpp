#include "arm/verify_ranges.h"
#include "base/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kx3 {
namespace {

/// The compared addresses in [0, 40000 hex) as "first-last " pairs.
std::string rangesOf(const VerifyParameters &device) {
    std::string text;
    (void)VerifyRanges::of(device).forEachRun(0, 0x40000, [&](std::int64_t from, std::int64_t to) {
        text += toUtf8(join(hex(static_cast<Long>(from)), u"-", hex(static_cast<Long>(to - 1)), u" "));
        return true;
    });
    return text;
}

TEST(VerifyRanges, OfEveryFamily) {
    struct Case {
        std::vector<Byte> families;
        std::string ranges;
        Long size = 0;
        Integer bvcch = 0;
        Byte option = 0;
        Integer pageLength = 0;
    };
    const Case cases[] = {
        // A gap from an address by option up to 1800.
        {{0x01}, "0-7FF 1800-3FFFF "},
        {{0x01}, "0-FFF 1800-3FFFF ", 0, 0, 1},
        {{0x01}, "0-3FFFF ", 0, 0, 2},
        {{0x01}, "1800-3FFFF ", 0, 0, 3},
        // Main memory by selector.
        {{0x05, 0x07, 0x08, 0x09, 0x0B}, "1000-10FF C000-FFFE ", 0, 1},
        {{0x05}, "1000-FFFE ", 0, 2},
        {{0x05}, "1000-10FF 2100-18FFF ", 0, 6},
        {{0x05}, "1000-10FF 2100-1FFFF ", 0, 9},
        {{0x05}, "1000-10FF ", 0, 10},
        {{0x05}, "1000-10FF ", 0, -1},
        {{0x11}, "1800-19FF E000-FFFE "},
        {{0x11}, "1800-19FF 5C00-8FFF ", 0x9000, 3},
        {{0x11}, "1800-19FF ", 0x9000, 4},
        {{0x13}, "1800-19FF 8000-FFFF ", 0x10000},
        {{0x13}, "1800-19FF 4400-1FFFF ", 0x20000},
        {{0x13}, "1800-19FF ", 0x4000},
        {{0x14}, "1800-19FF A000-FFFE ", 0x6000, 1},
        {{0x14}, "1800-19FF 4400-5FFF ", 0x6000, 4},
        {{0x15}, "1800-19FF 4000-FFFF ", 0x10000},
        {{0x15}, "1800-19FF C000-FFFF ", 0x10000, 0, 1},
        {{0x15}, "1800-19FF 8000-FFFF ", 0x10000, 0, 2},
        // Fixed ranges.
        {{0x1B}, "450-4FF 580-9FF E00-FDFF FFCC-FFFF "},
        {{0x1C, 0x1D}, "450-9FF E00-FDFF FFDA-FFFF "},
        {{0x21}, "20-4F 100-1EFF 1FF0-1FFF "},
        {{0x22}, "20-4F 100-3EFF 3FF0-3FFF "},
        {{0x23}, "20-4F 100-10FF 1FF0-1FFF "},
        {{0x24}, "1000-1EFF 1FF0-1FFF "},
        {{0x25}, "20-4F 100-8FF 1FF0-1FFF "},
        {{0x26}, "20-4F 100-12FF 1FF0-1FFF "},
        {{0x27, 0x28}, "B600-B7FF "},
        {{0x29}, "FE00-FFFF "},
        {{0x2A}, "F000-FFFF "},
        {{0x2B, 0x2C}, "B600-B7FF D000-FFFF "},
        {{0x33}, "F800-FFFF "},
        // Pages below 1100, and an area at the device's end.
        {{0x42}, "1000-10FF C000-FFFF ", 0x10000, 16, 0, 2},
        {{0x42}, "0-10FF ", 0x1000, 32, 0, 100},
        {{0x42}, "400-7FF 1000-10FF ", 0x800, 1, 0, 2},
        {{0x42}, "", 0x10000, -1, 0, -1},
        // The neighbours of all these compare everything.
        {{0x00, 0x06, 0x0A, 0x12, 0x1E, 0x20, 0x2D, 0x43, 0xFF}, "0-3FFFF "},
    };
    for (const Case &c : cases)
        for (const Byte family : c.families)
            EXPECT_EQ(rangesOf({family, c.size, c.bvcch, c.option, c.pageLength}), c.ranges)
                << int{family} << " size " << c.size << " selector " << c.bvcch << " option " << int{c.option};
}

} // namespace
} // namespace kx3
