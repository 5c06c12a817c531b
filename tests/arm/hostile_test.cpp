// Another process may change the blocks at any moment: a session still ends, and so does the next one. (Blocks that
// hold anything from the start on are the fuzzers' business.)
#include "rig/apartment.h"
#include "rig/blocks.h"
#include "rig/folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

namespace kx3::test {
namespace {

TEST(HostileBlocks, ValuesMayChangeAtAnyMoment) {
    for (const Integer model : {model32f, modelArm}) {
        const Workplace workplace;
        TestApartment t;
        t.attach(Device{.model = model});
        t.sessionHost->onPoll = [&] { return t.host.ibuf1(0) = 100, true; };
        t.io.onBulkRead = [](Byte *data, Long count, Byte *state) {
            std::fill_n(data, count, Byte{'a'}); // as the algorithm is
            *state = 2;
        };
        SavedBlocks saved(t.host);
        std::vector<Block> targets = allBlocks(t.host);
        // Not the device buffer, and not the handles of texts, which belong to one thread.
        targets.pop_back();
        std::erase_if(targets, [](const Block &block) { return block.texts != nullptr; });
        std::atomic<bool> hasWritten = false;
        {
            const std::jthread writer([&](const std::stop_token &stop) {
                for (std::minstd_rand random(1); !stop.stop_requested(); hasWritten = true) {
                    const std::span<std::byte> target = targets[random() % targets.size()].bytes;
                    target[random() % target.size()] = static_cast<std::byte>(random());
                }
            });
            for (int i = 0; i < 300 || !hasWritten; ++i) {
                saved.restore();
                try {
                    t.run(static_cast<Byte>(i % 12));
                } catch (const Error &) { // a call that fails is in order
                }
            }
        }
        saved.restore();
        t.run(3);
        EXPECT_TRUE(t.log().ends_with("Sec\n")) << "the next session in peace";
    }
}

} // namespace
} // namespace kx3::test
