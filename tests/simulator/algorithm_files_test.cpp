// Algorithm files that are damaged: rejected with the text for it and nothing done, or programmed right.
#include "rig/simulated.h"
#include "support/unreadable_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace kx3sim {
namespace {

using namespace kx3::test;

TEST(AlgorithmFiles, AreRejectedOrProgramWell) {
    constexpr std::size_t longest = 0x6000;
    for (const kx3::Integer model : {model32f, modelArm}) {
        const char *file = model == model32f ? "algo4/family/device.alg" : "algo/family/device.bin";
        PlugIn plugIn({.addresses = 0x40, .block = 0x40, .model = model});
        EXPECT_EQ(plugIn.run(0), Signal::pass);
        Bytes image = plugIn.buffer();
        /// Whether other data can be programmed with the file.
        const auto programs = [&] {
            const Bytes before = plugIn.chip();
            std::rotate(image.begin(), image.begin() + 1, image.end());
            plugIn.setBuffer(image);
            const bool passed = plugIn.run(0) == Signal::pass;
            EXPECT_TRUE(passed || plugIn.log().starts_with("Read algo file error!\n")) << plugIn.log();
            EXPECT_EQ(plugIn.chip(), passed ? image : before);
            return passed;
        };
        std::vector<char> bytes(longest + 2, 1);
        spill(file, bytes);
        for (std::size_t length = longest + 2; length-- > 0;) {
            std::filesystem::resize_file(file, length);
            ASSERT_EQ(programs(), length >= 1 && length <= longest) << length << " bytes";
        }
        bytes.resize(0x200);
        for (std::size_t bit = 0; bit < 128; ++bit) {
            std::vector<char> flipped = bytes;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            spill(file, flipped);
            EXPECT_EQ(programs(), bit != 0) << "a first byte 0 is no algorithm";
        }
        std::filesystem::remove(file);
        forEachUnreadableFile(file, [&] { EXPECT_FALSE(programs()); });
        {
            const std::jthread writer([&](const std::stop_token &stop) {
                for (std::size_t length = 1; !stop.stop_requested(); length = length * 5 % (longest + 7))
                    spill(file, std::vector<char>(length, static_cast<char>(length % 3)));
            });
            for (int run = 0; run < 300; ++run)
                (void)programs();
        }
        spill(file, bytes);
        EXPECT_TRUE(programs());
    }
}

} // namespace
} // namespace kx3sim
