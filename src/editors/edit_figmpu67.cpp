#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;

enum : Byte { register0, register1, register2, register3 };

constexpr FrameSpec frames[] = {{"Frame1", u"Option Register 0"},
                                {"Frame2", u"Option Register 1"},
                                {"Frame3", u"Option Register 2"},
                                {"Frame4", u"Option Register 3"}};

// Every mode hides or renames the rows that bear the name of their label array.
constexpr Caption rows0[] = {{u"Label1:", none}, {u"Label1:", none}, {u"Label1:", none}, {u"HWBS:", none},
                             {u"LOCK:", lock},   {u"ISP_S0:", none}, {u"ISP_S1:", none}, {u"ISP_S2:", none}};
constexpr auto rows1 =
    rowsOf(none, u"BO1S0O:", u"BO1S1O:", u"Label2:", u"Label2:", u"Label2:", u"HWBS2:", u"BO0REO:", u"BO1REO:");
constexpr auto rows2 =
    rowsOf(none, u"HWPS0:", u"HWPS1:", u"HWPS2:", u"HWWIDL:", u"WRENO:", u"HWENW:", u"NSWDT:", u"WDSFWP:");
constexpr auto row3 = rowsOf(none, u"Label4:");
constexpr auto rows3 = rowsOf(none, u"IAPLB0:", u"IAPLB1:", u"IAPLB2:", u"IAPLB3:", u"IAPLB4:", u"IAPLB5:", u"IAPLB6:");
constexpr auto portRow = rowsOf(none, u"P36EN:");

constexpr Rows rows[] = {
    {.frame = register0, .control = {"Combo1", 0}, .label = {"Label1", 0}, .captions = rows0, .offset = 0},
    {.frame = register1, .control = {"Combo2", 0}, .label = {"Label2", 0}, .captions = rows1, .offset = 1},
    {.frame = register2, .control = {"Combo3", 0}, .label = {"Label3", 0}, .captions = rows2, .offset = 2},
    {.modes = {23},
     .frame = register3,
     .control = {"Combo4", 0},
     .label = {"Label4", 0},
     .captions = row3,
     .offset = 3,
     .visible = false},
    {.modes = {24, 25},
     .frame = register3,
     .control = {"Combo4", 0},
     .label = {"Label4", 0},
     .captions = portRow,
     .offset = 4,
     .bit = 7},
    {.frame = register3, .control = {"Combo4", 1}, .label = {"Label4", 1}, .captions = rows3, .offset = 3, .bit = 1},
};

constexpr ByteRange bytes[] = {{.first = 0, .count = 4}, {.first = 4, .count = 1, .written = {24, 25}}};

constexpr FixedBits fixedBits[] = {
    ones({23}, 0, 0x03),     zeros({23}, 0, 0x04),     zeros({23}, 1, 0x1C),
    ones({24, 25}, 0, 0x07), zeros({24, 25}, 1, 0x0C), ones({24, 25}, 1, 0x93),
    ones({}, 3, 0x01),       ones({24, 25}, 4, 0x4A),  zeros({24, 25}, 4, 0x35),
};

constexpr Change changes[] = {
    hideRows({}, "Combo1", 0, 2),
    hideRows({23}, "Combo2", 2, 4),
    hideRows({24, 25}, "Combo2", 0, 4),
    hideRows({24, 25}, "Combo2", 7, 7),
    renameFrame({24, 25}, "Frame4", u"Option Register 3/4"),
};

} // namespace

constexpr EditorDescription edit_figmpu67({.name = "edit_figmpu67",
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .changes = changes});

} // namespace kx3
