// Whatever stands in the blocks, a session ends in order.
#include "arm_rig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <random>
#include <thread>
#include <type_traits>

namespace kx3 {
namespace {

using namespace test;

/// A way to spoil one element.
struct Spoiler {
    std::string name;
    std::function<void(sharemap &)> spoil;
};

template <class T, class Values>
void addAll(std::vector<Spoiler> &spoilers, const char *name, Array<T> BlockArrays::*block, Long count,
            const Values &values) {
    for (Long i = 0; i < count; ++i)
        for (const T value : values)
            spoilers.push_back({name + std::to_string(i) + '=' + std::to_string(value),
                                [=](sharemap &blocks) { (blocks.*block)(i) = value; }});
}

void addHandles(std::vector<Spoiler> &spoilers, const char *name, Array<String> BlockArrays::*block, Long count) {
    for (Long i = 0; i < count; ++i)
        spoilers.push_back(
            {name + std::to_string(i), [=](sharemap &blocks) { (blocks.*block)(i).handle = 0xDEADBEEF; }});
}

std::vector<Spoiler> allSpoilers() {
    using Limits = std::numeric_limits<Double>;
    const std::vector<Byte> bytes{0, 1, 2, 0x1B, 0x2E, 0x42, 255};
    const std::vector<Integer> integers{-32768, -1, 0, 1, 32767};
    const std::vector<Long> longs{INT32_MIN, -1, 0, 1, 0xFFFF, 0x10001, INT32_MAX};
    const std::vector<Double> doubles{-1, 0.5, 255.5, 1e300, -1e300, Limits::infinity(), Limits::quiet_NaN()};
    std::vector<Spoiler> all;
    addAll(all, "prgresult", &BlockArrays::prgresult, 1, bytes);
    addAll(all, "prgmode", &BlockArrays::prgmode, 3, bytes);
    addAll(all, "wordmode", &BlockArrays::wordmode, 1, bytes);
    addAll(all, "rambknum", &BlockArrays::rambknum, 1, bytes);
    addAll(all, "woption", &BlockArrays::woption, 1, bytes);
    addAll(all, "wsign", &BlockArrays::wsign, 3, bytes);
    addAll(all, "figvol", &BlockArrays::figvol, 2, bytes);
    addAll(all, "modeltype", &BlockArrays::modeltype, 3, std::vector<Integer>{74, 255, 32767});
    addAll(all, "bvcc", &BlockArrays::bvcc, 1, integers);
    addAll(all, "bvcch", &BlockArrays::bvcch, 1, integers);
    addAll(all, "pagelength", &BlockArrays::pagelength, 1, integers);
    addAll(all, "compid", &BlockArrays::compid, 1, integers);
    addAll(all, "typeid", &BlockArrays::typeid_, 1, integers);
    addAll(all, "tlength", &BlockArrays::tlength, 1, longs);
    addAll(all, "ramlg", &BlockArrays::ramlg, 1, longs);
    addAll(all, "buflength", &BlockArrays::buflength, 1, longs);
    addAll(all, "Language", &BlockArrays::Language, 1, longs);
    addAll(all, "wlverifyvcc", &BlockArrays::wlverifyvcc, 1, longs);
    addAll(all, "wltbigendbuf", &BlockArrays::wltbigendbuf, 3, doubles);
    addHandles(all, "algorithm", &BlockArrays::algorithm, 3);
    addHandles(all, "prgnote", &BlockArrays::prgnote, 12);
    addHandles(all, "MainmnuPrg", &BlockArrays::MainmnuPrg, 10);
    return all;
}

/// The elements of the blocks, but for the large ones and the log.
class SavedBlocks {
  public:
    explicit SavedBlocks(sharemap &blocks) {
#define KX3_BLOCK(member, root, type, count, bytes) save(blocks.member, root);
#include "host/memory/block_table.inc"
#undef KX3_BLOCK
    }
    void restore() const {
        for (const std::function<void()> &step : steps_)
            step();
    }

  private:
    template <class T> void save(Array<T> &block, std::string_view root) {
        const auto count = static_cast<Long>(block.count());
        constexpr Long mostElements = 300;
        if (count > mostElements || root == "MainRtstr") return;
        const std::span<T> elements = block.range(0, count);
        steps_.push_back([elements, copy = std::vector<T>(elements.begin(), elements.end())] {
            std::copy(copy.begin(), copy.end(), elements.begin());
        });
    }
    std::vector<std::function<void()>> steps_;
};

TEST(HostileBlocks, EverySessionEndsWithItsTimeLine) {
    const Bytes fault{50, 0xFA, 0x32, 0xFF, 0xFF, 0xFF, 0x7F, 1, 2, 3, 4};
    const Reports scripts[] = {{{10, 0, 0x3C, 0}, {255, 0, 0x3C, 2}, {100, 0, 0x28}}, {fault}, {{1}, {2, 0x1E}}};
    const std::vector<Spoiler> spoilers = allSpoilers();
    for (const Module module : {Module::arm32f, Module::arm}) {
        ArmRig rig(module);
        rig.t.host.chipidtestmode(0) = Boolean(true);
        const SavedBlocks saved(rig.t.host);
        for (const Byte operation : {Byte{0}, Byte{2}, Byte{3}, Byte{5}, Byte{6}, Byte{9}})
            for (const Spoiler &spoiler : spoilers)
                for (const Reports &script : scripts) {
                    SCOPED_TRACE(spoiler.name + " operation " + std::to_string(operation));
                    saved.restore();
                    rig.runs.assign(3, script);
                    rig.t.ui->answers = {MessageBoxResult::ignore};
                    spoiler.spoil(rig.t.host);
                    rig.run(operation);
                    EXPECT_TRUE(rig.log().ends_with("Sec\n")) << rig.log();
                    EXPECT_EQ(rig.t.host.prgmode(1), 0);
                    rig.packets.clear();
                }
    }
}

/// The bytes of every block but those of texts, whose handles no other thread may touch.
std::vector<std::span<Byte>> numericBytes(sharemap &blocks) {
    std::vector<std::span<Byte>> all;
    const auto add = [&all]<class T>(Array<T> &block) {
        if constexpr (!std::is_same_v<T, String>)
            all.emplace_back(reinterpret_cast<Byte *>(&block(0)), block.count() * sizeof(T));
    };
#define KX3_BLOCK(member, root, type, count, bytes) add(blocks.member);
#include "host/memory/block_table.inc"
#undef KX3_BLOCK
    return all;
}

TEST(HostileBlocks, ValuesMayChangeAtAnyMoment) {
    constexpr Byte finished = 100, readComplete = 2;
    for (const Module module : {Module::arm32f, Module::arm}) {
        ArmRig rig(module);
        TestApartment &t = rig.t;
        t.sessionHost->onCall = [](const std::string &) {};
        t.sessionHost->onPoll = [&] {
            t.host.ibuf1(0) = finished;
            return true;
        };
        t.io.onComWrite = t.io.onBulkWrite = [](Byte *, Long) { return Integer{0}; };
        t.io.onBulkRead = [](Byte *data, Long count, Byte *state) {
            std::fill_n(data, count, Byte{0x55});
            *state = readComplete;
        };
        t.ui->onYield = [&] { t.host.usbpip2readresult(0) = readComplete; };
        const SavedBlocks saved(t.host);
        {
            std::atomic<bool> written = false;
            std::jthread writer([&written, targets = numericBytes(t.host)](const std::stop_token &stop) {
                std::minstd_rand random(1);
                while (!stop.stop_requested()) {
                    const std::span<Byte> target = targets[random() % targets.size()];
                    target[random() % target.size()] = static_cast<Byte>(random());
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
        EXPECT_TRUE(rig.run(3).ends_with("Sec\n")) << "the next session in peace";
    }
}

} // namespace
} // namespace kx3
