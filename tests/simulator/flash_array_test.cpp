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

struct RangeCase {
    const char *name;
    std::size_t offset;
    std::size_t count;
};

class Ranges : public testing::TestWithParam<RangeCase> {};
INSTANTIATE_TEST_SUITE_P(FlashArray, Ranges,
                         testing::Values(RangeCase{"all", 0, size}, RangeCase{"oneByte", 5, 1},
                                         RangeCase{"wholeSector", sector, sector},
                                         RangeCase{"acrossSectors", sector - 3, 7}, RangeCase{"lastByte", size - 1, 1},
                                         RangeCase{"nothing", sector, 0}, RangeCase{"shortSector", 2 * sector, 100}),
                         [](const auto &test) { return test.param.name; });

TEST_P(Ranges, ProgrammingAndErasingTouchExactlyTheRange) {
    const auto [name, offset, count] = GetParam();
    const std::vector<Byte> data(count, 0x5A);
    FlashArray flash(size);
    std::vector<Byte> expected(size, FlashArray::erased);

    EXPECT_EQ(flash.program(offset, data), std::nullopt);
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(offset), count, 0x5A);
    EXPECT_EQ(contents(flash), expected);
    EXPECT_EQ(flash.firstProgrammed(0, size), count == 0 ? std::nullopt : std::optional(offset));
    EXPECT_EQ(flash.firstDifference(0, expected), std::nullopt);

    const std::vector<Byte> zeros(size, 0);
    flash.store(0, zeros);
    flash.erase(offset, count);
    expected.assign(size, 0);
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(offset), count, FlashArray::erased);
    EXPECT_EQ(contents(flash), expected);
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
