#include "editors/description.h"
#include "editors/fuse_rows.h"

namespace kx3 {

namespace {

using enum Hazard;

enum : Byte { low, high, extended, calibration, locks };

constexpr FrameSpec frames[] = {{"Frame1", lowFuseFrame},
                                {"Frame2", highFuseFrame},
                                {"Frame3", extendedFuseFrame},
                                {"Frame4", calibrationFrame},
                                {"Frame5", lockFrame}};

constexpr auto lockRows = rowsOf(lock, u"LB1:", u"LB2:");

constexpr Rows rows[] = {
    {.frame = low, .control = {"Combo1", 0}, .label = {"Label1", 0}, .captions = lowFuseRows, .offset = 0},
    {.frame = high, .control = {"Combo2", 0}, .label = {"Label2", 0}, .captions = highFuseRows, .offset = 1},
    {.frame = extended, .control = {"Combo3", 0}, .label = {"Label3", 0}, .captions = extendedFuseRows, .offset = 2},
    {.frame = calibration,
     .kind = FieldKind::hexNumber,
     .control = {"Text1", 0},
     .label = {"Label4", 0},
     .captions = calibrationValueRow,
     .number = {{3}, 1},
     .readOnly = true,
     .enabled = false},
    {.frame = calibration,
     .kind = FieldKind::check,
     .control = {"Check1"},
     .captions = calibrationWriteRow,
     .offset = 4},
    {.frame = calibration,
     .kind = FieldKind::hexNumber,
     .control = {"Text1", 1},
     .label = {"Label4", 1},
     .captions = calibrationAddressRow,
     .number = {{5, 6}, 2},
     .lengthRule = {.longest = 4, .replacement = u"FFFF"},
     .enabled = false,
     .enabledBy = "Check1"},
    {.frame = locks, .control = {"Combo4", 0}, .label = {"Label5", 0}, .captions = lockRows, .offset = 7},
};

constexpr ByteRange bytes[] = {
    {.first = 0, .count = 3}, {.first = 3, .count = 1, .readOnly = true}, {.first = 4, .count = 4}};

constexpr FixedBits fixedBits[] = {
    ones({3}, 0, 0x0C),   ones({10}, 0, 0x20), ones({3, 4, 6}, 2, 0xFE),
    zeros({10}, 2, 0xE0), zeros({}, 4, 0xFE),  ones({}, 7, 0xFC),
};

constexpr Change changes[] = {
    hideRows({3, 4, 6}, "Combo3", 1, 4),
    hideRows({3}, "Combo1", 2, 3),
    hideRows({10}, "Combo1", 5, 5),
};

/// With these supply settings the serial programming interface cannot be shut or opened.
void lockProgrammingRow(EditorLayout &layout, const DeviceTraits &device) {
    if (device.figvol == 14 || device.figvol == 38) layout.field("Combo2", 5).enabled = false;
}

} // namespace

constexpr EditorDescription edit_figmpu63({.name = "edit_figmpu63",
                                           .base = AddressBase::twiceLength,
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .changes = changes,
                                           .adjust = lockProgrammingRow});

} // namespace kx3
