#include "geometry.h"

#include <gtest/gtest.h>

namespace kx3console {
namespace {

constexpr std::int64_t model32f = 80;
constexpr std::int64_t modelArm = 60;
constexpr std::int64_t selection = 0x40;

const struct {
    const char *what;
    DeviceGeometry device;
    bool served;
} cases[] = {

    {"32f bytes: one transfer a block", {model32f, selection, 0x40000, 1, 0xC000}, true},
    {"32f bytes: two transfers a block", {model32f, selection, 0x40000, 1, 0x18000}, true},
    {"32f bytes: block no multiple", {model32f, selection, 0x40000, 1, 0x10000}, false},
    {"32f bytes: block smaller than a transfer", {model32f, selection, 0x40000, 1, 0x8000}, false},
    {"32f bytes: one odd block", {model32f, selection, 0x1234, 1, 0x1234}, true},
    {"32f bytes: one block larger than the device", {model32f, selection, 0x8000, 1, 0x9000}, true},
    {"32f bytes: one block of 171 transfers", {model32f, selection, 0x800000, 1, 0x800000}, true},
    {"32f bytes: one block of 172 transfers", {model32f, selection, 171 * 0xC000 + 256, 1, 0x1000000}, false},
    {"32f words: half a transfer", {model32f, selection, 0x20000, 2, 0x6000}, true},
    {"32f words: a whole transfer", {model32f, selection, 0x20000, 2, 0xC000}, false},
    {"32f words: one block of one transfer", {model32f, selection, 0x6000, 2, 0x8000}, true},
    {"32f words: one block of two transfers", {model32f, selection, 0x6001, 2, 0x8000}, false},
    {"arm bytes: small blocks", {modelArm, selection, 0x40000, 1, 0x8000}, true},
    {"arm bytes: large blocks", {modelArm, selection, 0x40000, 1, 0x20000}, true},
    {"arm bytes: program transfers do not fit", {modelArm, selection, 0x40000, 1, 0x18000}, false},
    {"arm bytes: one block of 171 transfers", {modelArm, selection, 171 * 0x8000, 1, 0x1000000}, true},
    {"arm bytes: one block of 172 transfers", {modelArm, selection, 172 * 0x8000, 1, 0x1000000}, false},
    {"arm words: half a transfer", {modelArm, selection, 0x20000, 2, 0x4000}, true},
    {"arm words: a whole transfer", {modelArm, selection, 0x20000, 2, 0x8000}, false},
    {"arm words: one block of one transfer", {modelArm, selection, 0x4000, 2, 0x4000}, true},
    {"arm words: one block of two transfers", {modelArm, selection, 0x5000, 2, 0x5000}, false},
    {"a large device with an end that is not verified", {model32f, selection, 0x18001, 1, 0xC000}, false},
    {"a small device of any size", {model32f, selection, 0xC001, 1, 0xC000}, true},
    {"larger than the device buffer", {model32f, selection, 0x40000000, 2, 0x6000}, false},
    {"no ARM driver", {modelArm, 0x41, 0x12345, 1, 1}, true},
};

TEST(Geometry, IsServedOrRefusedWithAdvice) {
    for (const auto &c : cases) {
        const auto problem = geometryProblem(c.device);
        EXPECT_EQ(!problem.has_value(), c.served) << c.what << (problem ? problem->message : "");
        EXPECT_EQ(!problem || problem->advice.empty(), c.served) << c.what;
    }
}

/// What the drivers' transfers add up to, counted one by one as the drivers make them.
bool movesEveryBlock(const DeviceGeometry &device, std::int64_t chunk, bool lastCountsBytes) {
    const std::int64_t end = device.size - 1;
    const std::int64_t last = end / device.blockSize;
    const std::int64_t rest = end % device.blockSize;
    for (std::int64_t block = 0; block <= last; ++block) {
        const bool isLast = block == last;
        const std::int64_t lastChunk =
            !isLast ? (device.blockSize - 1) / chunk : (lastCountsBytes ? rest * device.bytesPerAddress : rest) / chunk;
        std::int64_t moved = 0;
        for (std::int64_t k = 0; k <= lastChunk; ++k)
            moved += isLast && k == lastChunk ? device.bytesPerAddress * rest % chunk + device.bytesPerAddress : chunk;
        if (moved != (isLast ? rest + 1 : device.blockSize) * device.bytesPerAddress) return false;
    }
    return true;
}

TEST(Geometry, WhatIsServedMovesExactlyTheBytesOfEveryBlock) {
    int served = 0;
    for (const std::int64_t model : {modelArm, model32f})
        for (std::int64_t width = 1; width <= 2; ++width)
            for (std::int64_t size = 0x1000; size <= 0x60000; size += 0x1F00)
                for (std::int64_t block = 0x1000; block <= 0x60000; block += 0x1000) {
                    const DeviceGeometry device{model, selection, size, width, block};
                    if (geometryProblem(device)) continue;
                    ++served;
                    const std::int64_t read = model == modelArm ? 0x8000 : 0xC000;
                    const std::int64_t program = model == modelArm && block >= 0x10000 ? 0x10000 : read;
                    ASSERT_TRUE(movesEveryBlock(device, read, false)) << size << " in " << block;
                    ASSERT_TRUE(movesEveryBlock(device, program, true)) << size << " in " << block;
                }
    EXPECT_GT(served, 100);
}

TEST(Geometry, AdviceNamesASizeThatWorks) {
    for (const std::int64_t model : {modelArm, model32f})
        for (std::int64_t width = 1; width <= 2; ++width) {
            DeviceGeometry device{model, selection, 0x40000, width, 0x5000};
            const auto problem = geometryProblem(device);
            ASSERT_TRUE(problem);
            const std::size_t at = problem->advice.find("block_size = ");
            ASSERT_NE(at, std::string::npos);
            device.blockSize = std::stoll(problem->advice.substr(at + 13), nullptr, 16);
            EXPECT_FALSE(geometryProblem(device)) << problem->advice;
        }
}

TEST(Geometry, DriverIsChosenByModelTypeAndSelection) {
    EXPECT_EQ(driverName(74, 0), "arm_prg_32f");
    EXPECT_EQ(driverName(73, 0x40), "arm_prg");
    EXPECT_EQ(driverName(40, 0xC0), "arm_prg");
    EXPECT_EQ(driverName(73, 0x41), "");
    EXPECT_EQ(driverName(39, 0x40), "");
}

} // namespace
} // namespace kx3console
