// Algorithm files that are damaged: rejected with the text for it and nothing done, or programmed right.
#include "rig/simulated.h"
#include "support/unreadable_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace kx3sim {
namespace {

using namespace kx3::test;

constexpr Byte autoSequence = 0;
constexpr std::size_t longest = 0x6000;

class AlgorithmFiles : public testing::TestWithParam<kx3::Integer> {
  protected:
    AlgorithmFiles() { EXPECT_EQ(plugIn.run(autoSequence), Signal::pass); }

    /// Erase the chip, program it with other data and verify; true when that passed, false when the file
    /// was rejected.
    bool programs() {
        const Bytes before = plugIn.chip();
        std::rotate(image.begin(), image.begin() + 1, image.end());
        plugIn.setBuffer(image);
        const bool passed = plugIn.run(autoSequence) == Signal::pass;
        if (!passed) {
            EXPECT_TRUE(plugIn.log().starts_with("Read algo file error!\n")) << plugIn.log();
        }
        EXPECT_TRUE(plugIn.chip() == (passed ? image : before));
        EXPECT_EQ(plugIn.host.prgmode(1), 0);
        return passed;
    }
    void write(std::size_t length, Byte first = 'a') {
        std::vector<char> bytes(length, 'a');
        if (!bytes.empty()) bytes[0] = static_cast<char>(first);
        spill(file, bytes);
    }

    PlugIn plugIn{{.addresses = 0x40, .block = 0x40, .model = GetParam()}};
    Bytes image = plugIn.buffer();
    const std::filesystem::path file =
        GetParam() == model32f ? "algo4/family/device.alg" : "algo/family/device.bin"; // below the current directory
};

TEST_P(AlgorithmFiles, CutAtEveryLength) {
    write(longest + 2);
    for (std::size_t length = longest + 2; length-- > 0;) {
        std::filesystem::resize_file(file, length);
        ASSERT_EQ(programs(), length >= 1 && length <= longest) << length << " bytes";
    }
}

TEST_P(AlgorithmFiles, EveryBitOfTheHeaderFlipped) {
    constexpr std::size_t header = 16;
    for (std::size_t bit = 0; bit < header * 8; ++bit) {
        std::vector<char> bytes(0x200, 1);
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        spill(file, bytes);
        EXPECT_EQ(programs(), bit != 0) << "bit " << bit; // a first byte 0 is no algorithm
    }
}

TEST_P(AlgorithmFiles, WhatIsNoReadableFileIsRejected) {
    std::filesystem::remove(file);
    kx3::test::forEachUnreadableFile(file, [this] { EXPECT_FALSE(programs()); });
    write(100);
    EXPECT_TRUE(programs());
}

TEST_P(AlgorithmFiles, ChangingWhileItIsRead) {
    int passed = 0;
    int sessions = 0;
    {
        const std::jthread writer([this](const std::stop_token &stop) {
            for (std::size_t length = 1; !stop.stop_requested(); length = length * 5 % (longest + 7))
                write(length, static_cast<Byte>(length % 3));
        });
        constexpr int enough = 300;
        for (; sessions < enough || passed == 0 || passed == sessions; ++sessions)
            passed += programs() ? 1 : 0;
    }
    write(100);
    EXPECT_TRUE(programs());
}

INSTANTIATE_TEST_SUITE_P(Twins, AlgorithmFiles, testing::Values(model32f, modelArm),
                         [](const auto &test) { return "model" + std::to_string(test.param); });

} // namespace
} // namespace kx3sim
