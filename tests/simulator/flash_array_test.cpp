#include "simulator/flash_array.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

constexpr std::size_t sector = FlashArray::sectorBytes;
/// Two whole sectors and a short one.
constexpr std::size_t size = 2 * sector + 100;

std::vector<Byte> contents(const FlashArray &flash) {
    std::vector<Byte> bytes(flash.size());
    flash.read(0, bytes);
    return bytes;
}

TEST(FlashArray, ProgrammingAndErasingTouchExactlyTheRange) {
    /// First byte and count: all, one byte, a sector, across sectors, the last byte, nothing, the short sector.
    const std::pair<std::size_t, std::size_t> ranges[] = {{0, size},     {5, 1},      {sector, sector}, {sector - 3, 7},
                                                          {size - 1, 1}, {sector, 0}, {2 * sector, 100}};
    for (const auto &[offset, count] : ranges) {
        SCOPED_TRACE(std::to_string(offset) + '+' + std::to_string(count));
        const auto filled = [&, first = static_cast<std::ptrdiff_t>(offset), length = count](Byte around, Byte inside) {
            std::vector<Byte> bytes(size, around);
            std::fill_n(bytes.begin() + first, length, inside);
            return bytes;
        };
        FlashArray flash(size);
        EXPECT_EQ(flash.program(offset, std::vector<Byte>(count, 0x5A)), std::nullopt);
        EXPECT_EQ(contents(flash), filled(FlashArray::erased, 0x5A));
        EXPECT_EQ(flash.firstProgrammed(0, size), count == 0 ? std::nullopt : std::optional(offset));
        flash.store(0, std::vector<Byte>(size, 0));
        flash.erase(offset, count);
        EXPECT_EQ(contents(flash), filled(0, FlashArray::erased));
    }
}

TEST(FlashArray, ProgrammingOnlyTurnsOnesIntoZeros) {
    FlashArray flash(size);
    const Byte first[] = {0xF0, 0x0F, 0xFF};
    const Byte wanted[] = {0x50, 0x1F, 0x00};
    EXPECT_EQ(flash.program(sector - 1, first), std::nullopt);
    EXPECT_EQ(flash.program(sector - 1, wanted), sector) << "0F cannot become 1F";
    EXPECT_EQ(flash[sector - 1], 0x50);
    EXPECT_EQ(flash[sector], 0x0F);
    EXPECT_EQ(flash[sector + 1], 0xFF) << "nothing behind the failing byte is programmed";
}

TEST(FlashArray, FindsEveryDifferenceAlsoInErasedSectors) {
    FlashArray flash(size);
    std::vector<Byte> wanted(size, FlashArray::erased);
    for (const std::size_t place : {std::size_t{0}, sector - 1, sector, size - 1}) {
        wanted[place] = 0xFE;
        EXPECT_EQ(flash.firstDifference(0, wanted), place);
        flash.flipBit(place, 0);
        EXPECT_EQ(flash.firstDifference(0, wanted), std::nullopt);
        flash.eraseAll();
        wanted[place] = FlashArray::erased;
    }
}

TEST(FlashArray, AdoptsAWholeImageOnlyWhenErasedAndLargeEnough) {
    Storage image;
    image.reserve(size + 1);
    std::fill_n(image.bytes.get(), size + 1, Byte{7});
    const Byte *memory = image.bytes.get();

    FlashArray programmed(size);
    programmed.flipBit(size - 1, 3);
    EXPECT_FALSE(programmed.adopt(image));
    FlashArray larger(size + 2);
    EXPECT_FALSE(larger.adopt(image));
    EXPECT_EQ(image.bytes.get(), memory);

    FlashArray flash(size);
    EXPECT_TRUE(flash.adopt(image));
    EXPECT_EQ(contents(flash), std::vector<Byte>(size, 7));
    EXPECT_NE(image.bytes.get(), memory);
}

} // namespace
} // namespace kx3sim
