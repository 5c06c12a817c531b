#include "rig/folder.h"
#include "simulator/chip_file.h"
#include "simulator/failure.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

using kx3::test::slurp;
using kx3::test::spill;
using kx3::test::TemporaryFolder;

/// A chip with something in every field; its main memory ends inside a checksum group.
Chip sampleChip() {
    Chip chip(5003, 17, {0x1F, 3, {0x95, 0x0F, 0x01}});
    const Byte data[] = {1, 2, 3};
    chip.main.store(4095, data);
    chip.eeprom[16] = 9;
    chip.configuration[10] = 0x42;
    chip.isProtected = true;
    return chip;
}

kx6sim_status statusOfReading(const std::filesystem::path &path) {
    try {
        (void)readChipFile(path);
        return KX6SIM_OK;
    } catch (const Failure &failure) {
        EXPECT_NE(std::string(failure.what()).find(path.filename().string()), std::string::npos)
            << "names the file: " << failure.what();
        return failure.status();
    }
}

TEST(ChipFile, KeepsTheWholeChip) {
    const TemporaryFolder folder;
    const Chip chip = sampleChip();
    writeChipFile(folder / "a.chip", chip);
    const Chip read = readChipFile(folder / "a.chip");

    std::vector<Byte> main(chip.main.size());
    chip.main.read(0, main);
    EXPECT_EQ(read.main.size(), chip.main.size());
    EXPECT_EQ(read.main.firstDifference(0, main), std::nullopt);
    EXPECT_EQ(read.eeprom, chip.eeprom);
    EXPECT_EQ(read.configuration, chip.configuration);
    EXPECT_TRUE(read.isProtected);
    EXPECT_EQ(read.identity.maker, 0x1F);
    EXPECT_EQ(std::vector<Byte>(read.identity.codes, read.identity.codes + 3), (std::vector<Byte>{0x95, 0x0F, 0x01}));
    EXPECT_EQ(folder.files(), 1U) << "no temporary file is left";
}

TEST(ChipFile, AnyDamageIsFound) {
    const TemporaryFolder folder;
    writeChipFile(folder / "a.chip", sampleChip());
    const std::vector<char> good = slurp(folder / "a.chip");

    for (std::size_t length = 0; length < good.size(); length += length < 200 ? 1 : 487) {
        spill(folder / "cut.chip", {good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_EQ(statusOfReading(folder / "cut.chip"), KX6SIM_FILE_INVALID) << length << " bytes";
    }
    for (std::size_t place = 0; place < good.size(); place += place < 150 ? 1 : 97)
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::vector<char> damaged = good;
            damaged[place] = static_cast<char>(static_cast<unsigned char>(damaged[place]) ^ (1U << bit));
            spill(folder / "bit.chip", damaged);
            EXPECT_EQ(statusOfReading(folder / "bit.chip"), KX6SIM_FILE_INVALID) << "byte " << place << " bit " << bit;
        }
    std::vector<char> longer = good;
    longer.push_back(0);
    spill(folder / "long.chip", longer);
    EXPECT_EQ(statusOfReading(folder / "long.chip"), KX6SIM_FILE_INVALID);
}

TEST(ChipFile, WhatIsNoFileIsSaidSo) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder.chip");
    EXPECT_EQ(statusOfReading(folder / "none.chip"), KX6SIM_FILE_MISSING);
    EXPECT_EQ(statusOfReading(folder / "folder.chip"), KX6SIM_FILE_UNREADABLE);
}

TEST(ChipFile, AFailedWriteLeavesTheOldFile) {
    const TemporaryFolder folder;
    writeChipFile(folder / "a.chip", sampleChip());
    const std::vector<char> before = slurp(folder / "a.chip");
    // Something that cannot be opened for writing stands where the temporary file would.
    std::filesystem::create_directories(folder / "a.chip.tmp/x");
    EXPECT_THROW(writeChipFile(folder / "a.chip", Chip(1, 0, {0, 1, {0}})), Failure);
    EXPECT_EQ(slurp(folder / "a.chip"), before);

    EXPECT_THROW(writeChipFile(folder / "no/such/folder.chip", sampleChip()), Failure);
}

} // namespace
} // namespace kx3sim
