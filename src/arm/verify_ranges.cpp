#include "arm/verify_ranges.h"

#include "base/checked.h"

#include <span>

namespace kx3 {

namespace {

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t beyondAll = std::numeric_limits<std::int64_t>::max();

/// A bound that is the device's size in addresses.
constexpr Long deviceSize = -1;

/// Addresses from `first` up to, but not including, `end`.
struct HalfOpen {
    Long first;
    Long end;
};

/// `range` holds when the family's selector has the value `selector`.
struct Choice {
    Long selector;
    HalfOpen range;
};

/// What a choice list is looked up by.
enum class Selector : Byte { none, bvcch, option, size };

/// Ranges that are the same for every device of a family, and at most one that a selector picks.
/// `otherwise` is picked when no choice fits.
struct FamilyRow {
    Byte firstFamily;
    Byte lastFamily;
    std::array<HalfOpen, 4> fixed;
    Selector selector = Selector::none;
    std::span<const Choice> choices{};
    HalfOpen otherwise{0, 0};
};

constexpr Choice mainMemory5[] = {{0, {0xE000, 0xFFFF}},  {1, {0xC000, 0xFFFF}},  {2, {0x1100, 0xFFFF}},
                                  {3, {0x8000, 0xFFFF}},  {4, {0x4000, 0xFFFF}},  {5, {0x2100, 0xFFFF}},
                                  {6, {0x2100, 0x19000}}, {7, {0x3100, 0x1A000}}, {8, {0x3100, 0x20000}},
                                  {9, {0x2100, 0x20000}}};
constexpr Choice mainMemory11[] = {
    {0, {0xE000, 0xFFFF}}, {1, {0xC000, 0xFFFF}}, {2, {0x8000, 0xFFFF}}, {3, {0x5C00, deviceSize}}};
constexpr Choice mainMemory13[] = {{0x10000, {0x8000, deviceSize}}};
constexpr Choice mainMemory14[] = {{0, {0x8000, 0xFFFF}},
                                   {1, {0xA000, 0xFFFF}},
                                   {2, {0xC000, 0xFFFF}},
                                   {3, {0xE000, 0xFFFF}},
                                   {4, {0x4400, deviceSize}}};
constexpr Choice mainMemory15[] = {{1, {0xC000, deviceSize}}, {2, {0x8000, deviceSize}}};

constexpr FamilyRow family5{0x05, 0x05, {{{0x1000, 0x1100}}}, Selector::bvcch, mainMemory5};
constexpr FamilyRow sameAs(FamilyRow row, Byte first, Byte last) {
    row.firstFamily = first;
    row.lastFamily = last;
    return row;
}

// Families whose closed ranges ended at an address here end one beyond it.
constexpr std::array familyRows{
    family5,
    sameAs(family5, 0x07, 0x09),
    sameAs(family5, 0x0B, 0x0B),
    FamilyRow{0x11, 0x11, {{{0x1800, 0x1A00}}}, Selector::bvcch, mainMemory11},
    FamilyRow{0x13, 0x13, {{{0x1800, 0x1A00}}}, Selector::size, mainMemory13, {0x4400, deviceSize}},
    FamilyRow{0x14, 0x14, {{{0x1800, 0x1A00}}}, Selector::bvcch, mainMemory14},
    FamilyRow{0x15, 0x15, {{{0x1800, 0x1A00}}}, Selector::option, mainMemory15, {0x4000, deviceSize}},
    FamilyRow{0x1B, 0x1B, {{{0x450, 0x500}, {0x580, 0xA00}, {0xE00, 0xFE00}, {0xFFCC, 0x10000}}}},
    FamilyRow{0x1C, 0x1D, {{{0x450, 0x600}, {0x600, 0xA00}, {0xE00, 0xFE00}, {0xFFDA, 0x10000}}}},
    FamilyRow{0x21, 0x21, {{{0x20, 0x50}, {0x100, 0x1F00}, {0x1FF0, 0x2000}}}},
    FamilyRow{0x22, 0x22, {{{0x20, 0x50}, {0x100, 0x3F00}, {0x3FF0, 0x4000}}}},
    FamilyRow{0x23, 0x23, {{{0x20, 0x50}, {0x100, 0x1100}, {0x1FF0, 0x2000}}}},
    FamilyRow{0x24, 0x24, {{{0x1000, 0x1F00}, {0x1FF0, 0x2000}}}},
    FamilyRow{0x25, 0x25, {{{0x20, 0x50}, {0x100, 0x900}, {0x1FF0, 0x2000}}}},
    FamilyRow{0x26, 0x26, {{{0x20, 0x50}, {0x100, 0x1300}, {0x1FF0, 0x2000}}}},
    FamilyRow{0x27, 0x28, {{{0xB600, 0xB800}}}},
    FamilyRow{0x29, 0x29, {{{0xFE00, 0x10000}}}},
    FamilyRow{0x2A, 0x2A, {{{0xF000, 0x10000}}}},
    FamilyRow{0x2B, 0x2C, {{{0xB600, 0xB800}, {0xD000, 0x10000}}}},
    FamilyRow{0x33, 0x33, {{{0xF800, 0x10000}}}},
};

/// Family 1 leaves out a range instead: from a limit that the option gives up to this address.
constexpr Byte familyWithGap = 0x01;
constexpr Long gapEnd = 0x1800;
/// Family 42: pages below one address, and an area at the device's end.
constexpr Byte familyWithPages = 0x42;
constexpr Long pagesEnd = 0x1100;
constexpr Long pageUnit = 0x80;
constexpr Long endAreaUnit = 0x400;

Long gapStart(Byte option) {
    constexpr std::array<Long, 3> starts{0x800, 0x1000, gapEnd};
    return option < starts.size() ? starts[option] : 0;
}

Long selectorValue(Selector selector, const VerifyParameters &device) {
    switch (selector) {
    case Selector::none: break;
    case Selector::bvcch: return device.bvcch;
    case Selector::option: return device.option;
    case Selector::size: return device.size;
    }
    return 0;
}

HalfOpen selectedRange(const FamilyRow &row, const VerifyParameters &device) {
    const Long value = selectorValue(row.selector, device);
    const auto chosen = std::find_if(row.choices.begin(), row.choices.end(),
                                     [value](const Choice &choice) { return choice.selector == value; });
    HalfOpen range = chosen == row.choices.end() ? row.otherwise : chosen->range;
    if (range.end == deviceSize) range.end = device.size;
    return range;
}

} // namespace

void VerifyRanges::add(std::int64_t first, std::int64_t end) {
    if (first < end) ranges_.at(used_++) = {first, end};
}

void VerifyRanges::sortAndMerge() {
    std::sort(ranges_.begin(), ranges_.begin() + static_cast<std::ptrdiff_t>(used_),
              [](const Range &a, const Range &b) { return a.first < b.first; });
    std::size_t kept = 0;
    for (std::size_t i = 1; i < used_; ++i) {
        if (ranges_[i].first <= ranges_[kept].end)
            ranges_[kept].end = std::max(ranges_[kept].end, ranges_[i].end);
        else
            ranges_[++kept] = ranges_[i];
    }
    if (used_ != 0) used_ = kept + 1;
}

VerifyRanges VerifyRanges::of(const VerifyParameters &device) {
    VerifyRanges ranges;
    const auto *row = std::find_if(familyRows.begin(), familyRows.end(), [&](const FamilyRow &candidate) {
        return candidate.firstFamily <= device.family && device.family <= candidate.lastFamily;
    });
    if (row != familyRows.end()) {
        for (const HalfOpen &fixed : row->fixed)
            ranges.add(fixed.first, fixed.end);
        const HalfOpen selected = selectedRange(*row, device);
        ranges.add(selected.first, selected.end);
    } else if (device.family == familyWithPages) {
        ranges.add((Checked(pagesEnd) - Checked(device.pageLength) * pageUnit).value(), pagesEnd);
        ranges.add((Checked(device.size) - Checked(device.bvcch) * endAreaUnit).value(), device.size);
    } else if (device.family == familyWithGap) {
        ranges.add(lowest, gapStart(device.option));
        ranges.add(gapEnd, beyondAll);
    } else {
        ranges.add(lowest, beyondAll);
    }
    ranges.sortAndMerge();
    return ranges;
}

} // namespace kx3
