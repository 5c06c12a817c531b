#include "rig/folder.h"
#include "simulator/chip_file.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

using kx3::test::slurp;
using kx3::test::spill;

class ChipFile : public testing::Test {
  protected:
    /// A chip with something in every field; its main memory ends inside a checksum group.
    ChipFile() {
        const Byte data[] = {1, 2, 3};
        chip.main.store(4095, data);
        chip.eeprom.store(15, {data, 2});
        chip.configuration.store(10, data);
        chip.isProtected = true;
        writeChipFile(file, chip);
    }
    /// Status of reading a file with these bytes, whose message must name the file.
    kx6sim_status readBytes(const std::vector<char> &bytes) {
        spill(file, bytes);
        return read(file);
    }
    static kx6sim_status read(const std::filesystem::path &path) {
        try {
            (void)readChipFile(path);
            return KX6SIM_OK;
        } catch (const Failure &failure) {
            EXPECT_NE(std::string(failure.what()).find(path.filename().string()), std::string::npos) << failure.what();
            return failure.status();
        }
    }

    const kx3::test::TemporaryFolder folder;
    const std::filesystem::path file = folder / "a.chip";
    Chip chip{5003, 17, {0x1F, 3, {0x95, 0x0F, 0x01}}};
};

TEST_F(ChipFile, KeepsTheWholeChipInBytesThatDoNotChange) {
    const Chip copy = readChipFile(file);
    writeChipFile(folder / "copy.chip", copy);
    EXPECT_EQ(slurp(folder / "copy.chip"), slurp(file));
    EXPECT_EQ(folder.files(), 2U) << "no temporary file is left";

    const std::vector<char> bytes = slurp(file);
    const std::string header(
        "KX3CHIP\x1A\1\0\0\0\x40\0\0\0\x8B\x13\0\0\0\0\0\0\x11\0\0\0\0\0\0\0\x40\0\0\0\1\3\x1F\x95\x0F\1", 42);
    EXPECT_EQ(std::string(bytes.data(), header.size()), header);
    EXPECT_EQ(bytes[64 + 11], 2);
    EXPECT_EQ(bytes[128 + 4097], 3);
    EXPECT_EQ(bytes[128 + 5003 + 16], 2);
}

TEST_F(ChipFile, AnyDamageIsFound) {
    const std::vector<char> good = slurp(file);
    for (std::size_t place = 0; place < good.size(); place += place < 150 ? 1 : 97) {
        EXPECT_EQ(readBytes({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(place)}), KX6SIM_FILE_INVALID);
        std::vector<char> damaged = good;
        damaged[place] = static_cast<char>(damaged[place] ^ (1 << place % 8));
        EXPECT_EQ(readBytes(damaged), KX6SIM_FILE_INVALID) << "byte " << place;
    }
    std::vector<char> longer = good;
    longer.push_back(0);
    EXPECT_EQ(readBytes(longer), KX6SIM_FILE_INVALID);
    EXPECT_EQ(readBytes(good), KX6SIM_OK);
    EXPECT_EQ(read(folder / "none.chip"), KX6SIM_FILE_MISSING);
    EXPECT_EQ(read(folder / ""), KX6SIM_FILE_UNREADABLE);
}

TEST_F(ChipFile, AFailedWriteLeavesTheOldFile) {
    const std::vector<char> before = slurp(file);
    // Something that cannot be opened for writing stands where the temporary file would.
    std::filesystem::create_directories(folder / "a.chip.tmp/x");
    EXPECT_THROW(writeChipFile(file, Chip(1, 0, {0, 1, {0}})), Failure);
    EXPECT_EQ(slurp(file), before);
    EXPECT_THROW(writeChipFile(folder / "no/such/folder.chip", chip), Failure);
}

} // namespace
} // namespace kx3sim
