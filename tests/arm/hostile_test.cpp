// Whatever stands in the blocks, a session ends in order.
#include "arm_rig.h"
#include "rig/blocks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

namespace kx3::test {
namespace {

TEST(HostileBlocks, EverySessionEndsWithItsLastLine) {
    const Bytes fault{50, 0xFA, 0x32, 0xFF, 0xFF, 0xFF, 0x7F, 1, 2, 3, 4};
    const Reports scripts[] = {{{10, 0, 0x3C, 0}, {255, 0, 0x3C, 2}, {100, 0, 0x28}}, {fault}, {{1}, {2, 0x1E}}};
    /// The lowest byte of an element and all others: small and extreme numbers, families, no handle.
    constexpr std::pair<int, int> values[] = {{0, 0},    {1, 0},       {0x1B, 0},    {0x2E, 0},
                                              {0x42, 0}, {0xFF, 0xFF}, {0xFF, 0x7F}, {0, 0x80}};
    std::size_t turn = 0;
    for (const Integer model : {model32f, modelArm}) {
        ArmRig rig({.model = model});
        rig.host.chipidtestmode(0) = Boolean(true);
        SavedBlocks saved(rig.host);
        const auto endsInOrder = [&](Byte operation, std::span<std::byte> element, std::pair<int, int> value) {
            saved.restore();
            rig.runs.assign(3, scripts[turn++ % std::size(scripts)]);
            rig.ui->answers = {MessageBoxResult::ignore};
            std::ranges::fill(element, static_cast<std::byte>(value.second));
            element[0] = static_cast<std::byte>(value.first);
            const std::string log = rig.run(operation);
            EXPECT_TRUE(log.ends_with("Sec\n") || log.ends_with(">>Device Code Error!\n")) << log;
            EXPECT_EQ(rig.host.prgmode(1), 0);
        };
        for (const Block &block : allBlocks(rig.host)) {
            const bool isLog = block.root == "MainRtstr";
            const bool selectsTheDriver = block.root == "modeltype" || block.root == "selmode";
            if (!block.isSmall() || isLog || selectsTheDriver) continue;
            const std::size_t last =
                std::min<std::size_t>(block.bytes.size() / block.elementBytes, block.texts != nullptr ? 12 : 3);
            for (std::size_t i = 0; i < last; ++i)
                for (const auto &value : values)
                    for (const Byte operation : {Byte{0}, Byte{2}, Byte{3}, Byte{5}, Byte{6}, Byte{9}}) {
                        if (block.texts != nullptr && value.second != 0xFF) continue;
                        SCOPED_TRACE(std::string(block.root) + std::to_string(i) + '=' + std::to_string(value.first) +
                                     " operation " + std::to_string(operation));
                        endsInOrder(operation, block.bytes.subspan(i * block.elementBytes, block.elementBytes), value);
                    }
        }
    }
}

TEST(HostileBlocks, ValuesMayChangeAtAnyMoment) {
    constexpr Byte finished = 100, readComplete = 2;
    for (const Integer model : {model32f, modelArm}) {
        ArmRig t({.model = model});
        t.sessionHost->onCall = [](const std::string &) {};
        t.sessionHost->onPoll = [&] {
            t.host.ibuf1(0) = finished;
            return true;
        };
        t.io.onComWrite = t.io.onBulkWrite = [](const Byte *, Long) { return Integer{0}; };
        t.io.onBulkRead = [](Byte *data, Long count, Byte *state) {
            std::fill_n(data, count, Byte{0x55});
            *state = readComplete;
        };
        t.ui->onYield = [&] { t.host.usbpip2readresult(0) = readComplete; };
        SavedBlocks saved(t.host);
        std::vector<Block> targets = allBlocks(t.host);
        targets.pop_back(); // the device buffer
        std::erase_if(targets,
                      [](const Block &block) { return block.texts != nullptr; }); // no other thread may touch handles
        {
            std::atomic<bool> written = false;
            std::jthread writer([&written, &targets](const std::stop_token &stop) {
                std::minstd_rand random(1);
                while (!stop.stop_requested()) {
                    const std::span<std::byte> target = targets[random() % targets.size()].bytes;
                    target[random() % target.size()] = static_cast<std::byte>(random());
                    written = true;
                }
            });
            for (int i = 0; i < 300 || !written; ++i) {
                saved.restore();
                t.host.prgresult(1) = static_cast<Byte>(i % 12);
                Boolean usbenable;
                try {
                    t.mpu.runMpu6Prg(usbenable);
                } catch (const Error &) { // a call that fails is in order
                }
            }
        }
        saved.restore();
        EXPECT_TRUE(t.run(3).ends_with("Sec\n")) << "the next session in peace";
    }
}

} // namespace
} // namespace kx3::test
