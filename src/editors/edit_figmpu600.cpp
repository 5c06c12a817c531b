#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;

enum : Byte { whole, byte0, byte1, byte2, byte4, byte5, locks };

// There is no fuse byte 3; the bytes lie behind one another all the same.
constexpr FrameSpec frames[] = {
    {"Frame1", u"Fuses and Lock Bits"}, {"Frame2", u"Fuse Byte 0", whole}, {"Frame3", u"Fuse Byte 1", whole, 4},
    {"Frame4", u"Fuse Byte 2", whole},  {"Frame5", u"Fuse Byte 4", whole}, {"Frame6", u"Fuse Byte 5", whole},
    {"Frame7", u"Lock Bits", whole},
};

constexpr auto identityRow = rowsOf(none, u"JTAGUID:");
constexpr auto windowPeriodRows = rowsOf(none, u"WDWPER3:", u"WDWPER2:", u"WDWPER1:", u"WDWPER0:");
constexpr auto periodRows = rowsOf(none, u"WDPER3:", u"WDPER2:", u"WDPER1:", u"WDPER0:");
constexpr auto bootRow = rowsOf(none, u"BOOTRST:");
constexpr auto brownOut1Row = rowsOf(none, u"BODPD1:");
constexpr auto brownOut0Row = rowsOf(none, u"BODPD0:");
constexpr Caption byte4Rows[] = {
    {u"JTAGEN:", programming}, {u"WDLOCK:", none}, {u"SUT0:", none}, {u"SUT1:", none}, {u"RSTDISBL:", resetPin}};
constexpr auto byte5Rows =
    rowsOf(none, u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:", u"EESAVE:", u"BODACT0:", u"BODACT1:");
constexpr auto lockRows =
    rowsOf(lock, u"LB0:", u"LB1:", u"BLBAT0:", u"BLBAT1:", u"BLBA0:", u"BLBA1:", u"BLBB0:", u"BLBB1:");

constexpr Rows rows[] = {
    {.frame = byte0,
     .kind = FieldKind::hexNumber,
     .control = {"Text1"},
     .label = {"Label1"},
     .captions = identityRow,
     .number = {{0}, 1},
     .lengthRule = {.maxLength = 2}},
    {.frame = byte1,
     .control = {"Combo1", 0},
     .label = {"Label2", 0},
     .captions = windowPeriodRows,
     .offset = 1,
     .bit = 7,
     .bitStep = -1},
    {.frame = byte1,
     .control = {"Combo2", 0},
     .label = {"Label3", 0},
     .captions = periodRows,
     .offset = 1,
     .bit = 3,
     .bitStep = -1},
    {.frame = byte2, .control = {"Combo3"}, .label = {"Label4"}, .captions = bootRow, .offset = 2, .bit = 6},
    {.frame = byte2, .control = {"Combo4"}, .label = {"Label5"}, .captions = brownOut1Row, .offset = 2, .bit = 1},
    {.frame = byte2, .control = {"Combo5"}, .label = {"Label6"}, .captions = brownOut0Row, .offset = 2, .bit = 0},
    {.frame = byte4, .control = {"Combo6", 0}, .label = {"Label7", 0}, .captions = byte4Rows, .offset = 3},
    {.frame = byte5, .control = {"Combo7", 0}, .label = {"Label8", 0}, .captions = byte5Rows, .offset = 4},
    {.frame = locks, .control = {"Combo8", 0}, .label = {"Label9", 0}, .captions = lockRows, .offset = 5},
};

constexpr ByteRange bytes[] = {{.first = 0, .count = 6}};
constexpr FixedBits fixedBits[] = {ones({}, 2, 0xBC), ones({}, 3, 0xE0), ones({}, 4, 0xC0)};

} // namespace

constexpr EditorDescription
    edit_figmpu600({.name = "edit_figmpu600", .frames = frames, .rows = rows, .bytes = bytes, .fixedBits = fixedBits});

} // namespace kx3
