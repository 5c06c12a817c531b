#include "geometry.h"

#include <gtest/gtest.h>
#include <string>

namespace kx3console {
namespace {

/// A device of that model type, size and block size in addresses, and bytes of an address.
Profile device(int model, std::int64_t size, std::int64_t width, std::int64_t blockSize) {
    Profile profile = plainDevice({});
    profile.value(ProfileKey::model_type) = std::int64_t{model};
    profile.value(ProfileKey::size) = size;
    profile.value(ProfileKey::bytes_per_address) = width;
    profile.value(ProfileKey::block_size) = blockSize;
    return profile;
}

constexpr int model32f = 80;
constexpr int modelArm = 60;

TEST(Geometry, IsServedOrRefusedWithAdvice) {
    const struct {
        const char *what;
        Profile device;
        bool served;
    } cases[] = {
        {"32f: one odd block", device(model32f, 0x1234, 1, 0x1234), true},
        {"32f: one block larger than the device", device(model32f, 0x8000, 1, 0x9000), true},
        {"32f: one block of 171 transfers", device(model32f, 0x800000, 1, 0x800000), true},
        {"32f: one block of 172 transfers", device(model32f, 171 * 0xC000 + 256, 1, 0x1000000), false},
        {"32f words: one block of one transfer", device(model32f, 0x6000, 2, 0x8000), true},
        {"32f words: one block of two transfers", device(model32f, 0x6001, 2, 0x8000), false},
        {"arm: one block of 171 transfers", device(modelArm, 171 * 0x8000, 1, 0x1000000), true},
        {"arm: one block of 172 transfers", device(modelArm, 172 * 0x8000, 1, 0x1000000), false},
        {"an end that is not verified", device(model32f, 0x18001, 1, 0xC000), false},
        {"a small device of any size", device(model32f, 0xC001, 1, 0xC000), true},
        {"larger than the device buffer", device(model32f, 0x40000000, 2, 0x6000), false},
        {"no ARM driver", device(39, 0x12345, 1, 1), true},
    };
    for (const auto &c : cases) {
        const auto problem = geometryProblem(c.device);
        EXPECT_EQ(!problem, c.served) << c.what;
        EXPECT_EQ(!problem || problem->advice().empty(), c.served) << c.what;
    }
}

/// What the drivers' transfers add up to, counted one by one as the drivers make them.
bool movesEveryBlock(std::int64_t size, std::int64_t width, std::int64_t blockSize, std::int64_t chunk, bool program) {
    const std::int64_t last = (size - 1) / blockSize;
    const std::int64_t rest = (size - 1) % blockSize;
    for (std::int64_t block = 0; block <= last; ++block) {
        const bool isLast = block == last;
        const std::int64_t lastChunk = !isLast ? (blockSize - 1) / chunk : (program ? rest * width : rest) / chunk;
        std::int64_t moved = 0;
        for (std::int64_t k = 0; k <= lastChunk; ++k)
            moved += isLast && k == lastChunk ? width * rest % chunk + width : chunk;
        if (moved != (isLast ? rest + 1 : blockSize) * width) return false;
    }
    return true;
}

TEST(Geometry, WhatIsServedMovesExactlyTheBytesOfEveryBlockAndAdviceNamesASizeThatWorks) {
    int served = 0;
    for (const int model : {modelArm, model32f})
        for (std::int64_t width = 1; width <= 2; ++width)
            for (std::int64_t size = 0x1000; size <= 0x60000; size += 0x1F00)
                for (std::int64_t block = 0x1000; block <= 0x60000; block += 0x1000) {
                    const std::int64_t read = model == modelArm ? 0x8000 : 0xC000;
                    const std::int64_t program = model == modelArm && block >= 0x10000 ? 0x10000 : read;
                    const auto problem = geometryProblem(device(model, size, width, block));
                    ASSERT_EQ(!problem, movesEveryBlock(size, width, block, read, false) &&
                                            movesEveryBlock(size, width, block, program, true))
                        << size << " in " << block;
                    served += problem ? 0 : 1;
                    const std::size_t at = problem ? problem->advice().find("block_size = ") : std::string::npos;
                    if (at == std::string::npos) continue;
                    const std::int64_t better = std::stoll(problem->advice().substr(at + 13), nullptr, 16);
                    ASSERT_FALSE(geometryProblem(device(model, size, width, better))) << problem->advice();
                }
    EXPECT_GT(served, 100);
}

} // namespace
} // namespace kx3console
