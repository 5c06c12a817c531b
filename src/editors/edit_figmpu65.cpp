#include "editors/description.h"
#include "editors/fuse_rows.h"

namespace kx3 {

namespace {

using enum Hazard;
using Text = std::u16string_view;

enum : Byte { low, high, extended, calibration, locks };

constexpr FrameSpec frames[] = {{"Frame1", lowFuseFrame},
                                {"Frame2", highFuseFrame},
                                {"Frame3", extendedFuseFrame},
                                {"Frame4", calibrationFrame},
                                {"Frame5", lockFrame}};

// Rows 5 and 6 bear captions only in the modes that show them.
constexpr auto extendedRows = rowsOf(none, u"SELFPRGEN:", u"BODACT0:", u"BODACT1:", u"BODPD0:", u"BODPD1:", u"", u"");
constexpr auto lowerExtendedRows = Captions(extendedRows).first(3);
constexpr auto upperExtendedRows = Captions(extendedRows).subspan(3);
constexpr auto lockRows = rowsOf(lock, u"LB1:", u"LB2:", u"BLB01:", u"BLB02:", u"BLB11:", u"BLB12:");
constexpr auto calibrationClockRow = rowsOf(none, u"Calib byte value for:");
constexpr Text calibrationClocks[] = {u"1 MHz", u"2 MHz", u"4 MHz", u"8 MHz"};

// In these modes the upper four extended rows lie one bit higher, above a bit that is not used.
constexpr ModeSet gapModes = {58, 59};
constexpr ModeSet straightModes = {13, 14, 15, 18, 30, 31, 32, 55, 56, 60, 61, 62};

constexpr Rows rows[] = {
    {.frame = low, .control = {"Combo1", 0}, .label = {"Label1", 0}, .captions = lowFuseRows, .offset = 0},
    {.frame = high, .control = {"Combo2", 0}, .label = {"Label2", 0}, .captions = highFuseRows, .offset = 1},
    {.frame = extended, .control = {"Combo3", 0}, .label = {"Label3", 0}, .captions = lowerExtendedRows, .offset = 2},
    {.modes = straightModes,
     .frame = extended,
     .control = {"Combo3", 3},
     .label = {"Label3", 3},
     .captions = upperExtendedRows,
     .offset = 2,
     .bit = 3},
    {.modes = gapModes,
     .frame = extended,
     .control = {"Combo3", 3},
     .label = {"Label3", 3},
     .captions = upperExtendedRows,
     .offset = 2,
     .bit = 4},
    {.frame = calibration,
     .kind = FieldKind::hexNumber,
     .control = {"Text1", 0},
     .label = {"Label4", 0},
     .captions = calibrationValueRow,
     .number = {{3}, 1},
     .readOnly = true,
     .enabled = false},
    {.frame = calibration,
     .control = {"Combo5"},
     .label = {"Label6"},
     .captions = calibrationClockRow,
     .offset = 8,
     .width = 8,
     .coding = Coding::indexOrFirst,
     .items = Items::texts,
     .texts = calibrationClocks},
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
     .number = {{5, 6, 9}, 3},
     .lengthRule = {.longest = 6, .replacement = u"0"},
     .enabled = false,
     .enabledBy = "Check1"},
    {.frame = locks, .control = {"Combo4", 0}, .label = {"Label5", 0}, .captions = lockRows, .offset = 7},
};

constexpr ByteRange bytes[] = {
    {.first = 0, .count = 3}, {.first = 3, .count = 1, .readOnly = true}, {.first = 4, .count = 6}};

constexpr FixedBits fixedBits[] = {
    zeros({13, 62}, 2, 0xC0), ones({14}, 2, 0xFC),     ones({15, 30, 31, 32, 60, 61}, 2, 0xF8),
    ones({18}, 2, 0xF0),      ones({55, 56}, 2, 0xC0), ones({58, 59}, 2, 0x08),
    zeros({}, 4, 0xFE),       ones({}, 7, 0xC0),
};

constexpr auto brownOutEnable = rowsOf(none, u"BODEN:", u"BODLEVEL:");
constexpr Caption oscillatorLow[] = {{u"OSCSEL0:", none}, {u"OSCSEL1:", none}, {u"SUT0:", none},
                                     {u"SUT1:", none},    {u"SUT2:", none},    {u"SPIEN:", programming},
                                     {u"EESAVE:", none},  {u"WDTON:", none}};
constexpr Caption bootHighClockOption[] = {{u"BOOTRST:", none},       {u"BOOTSZ0:", none}, {u"BOOTSZ1:", none},
                                           {u"EESAVE:", none},        {u"CKOPT:", none},   {u"SPIEN:", programming},
                                           {u"JTAGEN:", programming}, {u"OCDEN:", debug}};
constexpr Caption bootHighJtag[] = {{u"BOOTRST:", none},       {u"BOOTSZ0:", none}, {u"BOOTSZ1:", none},
                                    {u"EESAVE:", none},        {u"WDTON:", none},   {u"SPIEN:", programming},
                                    {u"JTAGEN:", programming}, {u"OCDEN:", debug}};
constexpr Caption bootHigh[] = {{u"BOOTRST:", none}, {u"BOOTSZ0:", none}, {u"BOOTSZ1:", none},
                                {u"EESAVE:", none},  {u"WDTON:", none},   {u"SPIEN:", programming}};
constexpr Caption bootHighWire[] = {{u"BOOTRST:", none}, {u"BOOTSZ0:", none},     {u"BOOTSZ1:", none},
                                    {u"EESAVE:", none},  {u"WDTON:", none},       {u"SPIEN:", programming},
                                    {u"DWEN:", debug},   {u"RSTDISBL:", resetPin}};
constexpr Caption bootHighShort[] = {
    {u"BOOTRST:", none}, {u"BOOTSZ0:", none}, {u"BOOTSZ1:", none}, {u"DWEN:", debug}, {u"DUVRDINIT:", none}};
constexpr auto resetRow = rowsOf(resetPin, u"RSTDISBL:");
constexpr auto compatibilityExtended = rowsOf(none, u"WDTON:", u"M103C:");
constexpr auto brownOutExtended = rowsOf(none, u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:");
constexpr auto hardwareBootExtended = rowsOf(none, u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:", u"HWBE:");
constexpr auto powerStageExtended =
    rowsOf(none, u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:", u"PSCRVB:", u"PSCRVA:", u"PSCRB:");
constexpr auto bootPowerStageExtended =
    rowsOf(none, u"BOOTRST:", u"BOOTSZ0:", u"BOOTSZ1:", u"PSCRV:", u"PSC0RB:", u"PSC1RB:", u"PSC2RB:");
constexpr auto bootExtended = rowsOf(none, u"BOOTRST:", u"BOOTSZ0:", u"BOOTSZ1:");

constexpr Change changes[] = {
    // As the form starts, in every mode.
    hideRows({}, "Combo3", 5, 6),
    disableRow({}, "Combo2", 5),
    // Low byte.
    rename({13, 14}, "Combo1", 6, brownOutEnable),
    rename({62}, "Combo1", 0, oscillatorLow),
    // High byte.
    rename({13, 14}, "Combo2", 0, bootHighClockOption),
    rename({15, 30, 31, 32}, "Combo2", 0, bootHighJtag),
    rename({18}, "Combo2", 0, bootHigh),
    rename({18}, "Combo2", 6, resetRow),
    rename({55, 56}, "Combo2", 0, bootHighWire),
    rename({62}, "Combo2", 0, bootHighShort),
    hideRows({62}, "Combo2", 5, 7),
    enableRow({30, 31, 55, 56, 58, 60, 61}, "Combo2", 5),
    disableRow({31}, "Combo2", 6),
    // Extended byte.
    hideRows({13, 62}, "Frame3"),
    rename({14}, "Combo3", 0, compatibilityExtended),
    hideRows({14}, "Combo3", 2, 4),
    rename({15, 30, 31, 32}, "Combo3", 0, brownOutExtended),
    rename({18}, "Combo3", 0, hardwareBootExtended),
    hideRows({18}, "Combo3", 4, 4),
    rename({55, 56}, "Combo3", 0, powerStageExtended),
    showRows({55, 56}, "Combo3", 5, 5),
    rename({58, 59}, "Combo3", 0, bootPowerStageExtended),
    showRows({58, 59}, "Combo3", 5, 6),
    rename({60, 61}, "Combo3", 0, bootExtended),
    hideRows({15, 30, 31, 32, 60, 61}, "Combo3", 3, 4),
    // The calibration clock can be chosen in modes 13 and 14 alone.
    hideRows({15, 18, 30, 31, 32, 55, 56, 58, 59, 60, 61, 62}, "Combo5"),
};

/// Mode 18: row 6 is the debug port's fuse in the 64-pin package, the reset pin's in the others.
void adjustToPackage(EditorLayout &layout, const DeviceTraits &device) {
    if (device.prgmode == 18 && device.chippin == 64) layout.field("Combo2", 6).rename({u"JTAGEN:", programming});
}

} // namespace

constexpr EditorDescription edit_figmpu65({.name = "edit_figmpu65",
                                           .base = AddressBase::twiceLength,
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .changes = changes,
                                           .adjust = adjustToPackage});

} // namespace kx3
