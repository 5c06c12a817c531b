// Mapping named blocks, and attaching all 62 of them.
#include "blocks/sharemap.h"
#include "rig/apartment.h"

#include <gtest/gtest.h>

namespace kx3 {
namespace {

class NamedBlocks : public testing::Test {
  protected:
    NamedBlocks() { test::useOwnNamespace(); }

    clsMemMapped host, plugin;
    test::FakeUi ui;
    sharemap blocks;
};
using MemMapped = NamedBlocks;
using Sharemap = NamedBlocks;

Byte &firstByte(const clsMemMapped &mapping) { return *static_cast<Byte *>(mapping.BaseAddress()); }

TEST_F(MemMapped, AnExistingBlockKeepsItsSizeUntilAnotherIsOpened) {
    ASSERT_TRUE(host.OpenAndMapMemoryBlock("tamselA", 4097));
    firstByte(host) = 5;
    ASSERT_TRUE(plugin.OpenAndMapMemoryBlock("tamselA", 40));
    EXPECT_EQ(plugin.ViewSize(), 8192U);
    EXPECT_EQ(plugin.MappedSize(), 40);
    EXPECT_EQ(plugin.MappedFile(), "tamselA");
    firstByte(plugin) += 1;
    EXPECT_EQ(firstByte(host), 6);
    ASSERT_TRUE(host.OpenAndMapMemoryBlock("tamselB", 40) && plugin.OpenAndMapMemoryBlock("tamselB", 40));
    ASSERT_TRUE(plugin.OpenAndMapMemoryBlock("tamselA", 40));
    EXPECT_EQ(firstByte(plugin), 0) << "the first block had ended";
    EXPECT_TRUE(plugin.UnMapFile());
    EXPECT_FALSE(plugin.UnMapFile());
    EXPECT_EQ(plugin.BaseAddress(), nullptr);
    EXPECT_EQ(plugin.hFile(), 0);
    EXPECT_EQ(plugin.MappedFile(), "");
    EXPECT_EQ(plugin.MappedSize(), 0);
    EXPECT_EQ(plugin.ViewSize(), 0U);
}

TEST_F(MemMapped, ABlockThatCannotBeHadIsAFalseResult) {
    for (const Long size : {0, -1, INT32_MIN})
        EXPECT_FALSE(plugin.OpenAndMapMemoryBlock("tamselA", size)) << size;
    EXPECT_FALSE(plugin.OpenAndMapMemoryBlock("", 40));
    EXPECT_EQ(plugin.MappedFile(), "");
    ASSERT_TRUE(host.OpenAndMapMemoryBlock("tamselA", 40));
    EXPECT_TRUE(plugin.OpenAndMapMemoryBlock("tamselA", 0)) << "the size matters only to a new block";
}

TEST_F(MemMapped, FindnumGivesTheLowestFreeInstance) {
    std::vector<clsMemMapped> hosts(101);
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        EXPECT_EQ(clsMemMapped::findnum(), static_cast<Integer>(i));
        ASSERT_TRUE(hosts[i].OpenAndMapMemoryBlock("tamselibuf1" + std::to_string(i), 400));
    }
    EXPECT_EQ(clsMemMapped::findnum(), 101);
    hosts[7].UnMapFile();
    EXPECT_EQ(clsMemMapped::findnum(), 7);
}

TEST_F(Sharemap, NamesEndWithTheInstanceNumber) {
    const std::pair<Integer, std::string> cases[] = {
        {1, "tamselibuf11"}, {12, "tamselibuf112"}, {0, "tamselibuf10"}, {-3, "tamselibuf1-3"}};
    for (const auto &[instance, name] : cases) {
        blocks.MapSharedBlocks(instance, ui);
        EXPECT_EQ(blocks.ibuf1(0), 0) << "nobody held the former block any more";
        EXPECT_EQ(blocks.ibuf1.descriptor().cLocks, 1U);
        blocks.ibuf1(0) = 9;
        ASSERT_TRUE(host.OpenAndMapMemoryBlock(name, 40));
        EXPECT_EQ(firstByte(host), 9) << name;
    }
    blocks.MapDeviceBuffer(3000, ui);
    blocks.ibuffer(0) = 1;
    blocks.ibuffer66(0) = 2;
    ASSERT_TRUE(host.OpenAndMapMemoryBlock("tamselibuffer", 40) && plugin.OpenAndMapMemoryBlock("tamselibuffer66", 40));
    EXPECT_EQ(firstByte(host), 1);
    EXPECT_EQ(firstByte(plugin), 2);
    EXPECT_TRUE(ui.boxes.empty());
}

TEST_F(Sharemap, ReleasingKeepsTheOtherGroup) {
    blocks.UnmapSharedBlocks();
    blocks.UnmapDeviceBuffer();
    EXPECT_EQ(blocks.prgmode.count(), 0U) << "there was nothing to release";
    blocks.MapSharedBlocks(1, ui);
    blocks.MapDeviceBuffer(3000, ui);
    blocks.prgmode(0) = 5;
    blocks.UnmapDeviceBuffer();
    EXPECT_EQ(blocks.ibuffer.count(), 1U);
    EXPECT_EQ(blocks.ibuffer66.count(), 1U);
    EXPECT_EQ(blocks.prgmode(0), 5);
    blocks.MapDeviceBuffer(2500, ui);
    blocks.UnmapSharedBlocks();
    EXPECT_EQ(blocks.prgmode.count(), 1U);
    EXPECT_EQ(blocks.prgmode(0), 0);
    EXPECT_EQ(blocks.ibuffer.count(), 2500U);
}

TEST_F(Sharemap, ABlockTooSmallForItsArrayIsReportedAndTheNextAttached) {
    ASSERT_TRUE(host.OpenAndMapMemoryBlock("tamselibuf21", 61440));
    firstByte(host) = 9;
    blocks.MapSharedBlocks(1, ui);
    ASSERT_EQ(ui.boxes.size(), 1U);
    EXPECT_EQ(ui.boxes[0].prompt, u"Unable to create memory mapped file");
    EXPECT_EQ(ui.boxes[0].style, messageBoxOkOnly);
    EXPECT_FALSE(ui.boxes[0].title);
    EXPECT_EQ(blocks.ibuf2.count(), 1U);
    EXPECT_EQ(blocks.ibuf2(0), 0);
    EXPECT_EQ(blocks.usbpip0readresult.count(), 2U);
    ASSERT_TRUE(host.UnMapFile() && host.OpenAndMapMemoryBlock("tamselibuf21", 40));
    EXPECT_EQ(firstByte(host), 0) << "nobody held the block any more";
    const auto expectReport = [this](Long size) {
        ui.boxes.clear();
        blocks.MapDeviceBuffer(size, ui);
        EXPECT_EQ(ui.boxes.size(), 1U) << size;
        EXPECT_EQ(blocks.ibuffer.count(), 1U) << size;
        EXPECT_EQ(blocks.ibuffer66.count(), 15U) << size;
    };
    for (const Long size : {0, -1, INT32_MIN})
        expectReport(size);
    ASSERT_TRUE(plugin.OpenAndMapMemoryBlock("tamselibuffer", 40));
    expectReport(-1);
}

} // namespace
} // namespace kx3
