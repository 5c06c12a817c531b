#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;

constexpr FrameSpec frames[] = {{"Frame1", u"Configuration bytes"}, {"Frame2", u"Lock bit byte"}};

constexpr Caption configRows[] = {{u"RSTDISBL:", resetPin}, {u"WDTON:", none}, {u"CKOUT:", none}};
constexpr auto brownOutRows = rowsOf(none, u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:");
constexpr auto lockRows = rowsOf(lock, u"NVLB1:", u"NVLB2:");

constexpr Rows rows[] = {
    {.frame = 0, .control = {"Combo1", 0}, .label = {"Label1", 0}, .captions = configRows, .offset = 0},
    {.frame = 0, .control = {"Combo1", 3}, .label = {"Label1", 3}, .captions = brownOutRows, .offset = 0, .bit = 4},
    {.frame = 1, .control = {"Combo2", 0}, .label = {"Label2", 0}, .captions = lockRows, .offset = 1},
};

constexpr ByteRange bytes[] = {{.first = 0, .count = 2}};
constexpr FixedBits fixedBits[] = {ones({}, 0, 0x88), ones({}, 1, 0xFC)};

/// Packages below 14 pins show no brown-out level; below 9 pins there is none, and its bits are 1.
void adjustToPackage(EditorLayout &layout, const DeviceTraits &device) {
    constexpr Byte brownOutBits = 0x70;
    if (device.chippin < 14)
        for (Integer row = 3; row <= 5; ++row)
            layout.field("Combo1", row).visible = false;
    if (device.chippin < 9) {
        layout.bytes.front().fixedMask |= brownOutBits;
        layout.bytes.front().fixedValue |= brownOutBits;
    }
}

} // namespace

constexpr EditorDescription edit_figmpu64({.name = "edit_figmpu64",
                                           .startPosition = StartPosition::centerOwner,
                                           .base = AddressBase::twiceLength,
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .adjust = adjustToPackage});

} // namespace kx3
