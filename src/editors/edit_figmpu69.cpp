#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;

constexpr FrameSpec frames[] = {{"Frame1", u"OTP register"}};

constexpr auto readRows = rowsOf(writeOnce, u"FMPRE0:", u"FMPRE1:", u"FMPRE2:", u"FMPRE3:");
constexpr auto programRows = rowsOf(writeOnce, u"FMPPE0:", u"FMPPE1:", u"FMPPE2:", u"FMPPE3:");
constexpr auto userRows = rowsOf(writeOnce, u"USER_REG0:", u"USER_REG1:", u"USER_DBG:");
constexpr auto soleReadRow = rowsOf(writeOnce, u"FMPRE:");
constexpr auto soleProgramRow = rowsOf(writeOnce, u"FMPPE:");
constexpr auto moreUserRows = rowsOf(writeOnce, u"USER_REG2:", u"USER_REG3:");

constexpr ModeSet twoWords = {45};
constexpr ModeSet allWords = {46, 47, 48, 49};

/// Boxes of one 32-bit word each, from `offset` on.
constexpr Rows words(ModeSet modes, Integer box, ControlName label, Captions captions, Long offset) {
    return {.modes = modes,
            .kind = FieldKind::hexWord,
            .control = {"Text1", box},
            .label = label,
            .captions = captions,
            .offset = offset,
            .lengthRule = {.maxLength = 8}};
}

/// Boxes that the mode has no words for.
constexpr Rows unusedBoxes(ModeSet modes, Integer box, ControlName label, Captions captions) {
    Rows boxes = words(modes, box, label, captions, 0);
    boxes.width = 0;
    boxes.visible = false;
    return boxes;
}

constexpr Rows rows[] = {
    words(twoWords, 0, {"Label1", 0}, soleReadRow, 0),
    unusedBoxes(twoWords, 1, {"Label1", 1}, Captions(readRows).subspan(1)),
    words(twoWords, 4, {"Label2", 0}, soleProgramRow, 4),
    unusedBoxes(twoWords, 5, {"Label2", 1}, Captions(programRows).subspan(1)),
    unusedBoxes(twoWords, 8, {"Label3", 0}, userRows),

    words(allWords, 0, {"Label1", 0}, readRows, -36),
    words(allWords, 4, {"Label2", 0}, programRows, -20),
    words(allWords, 8, {"Label3", 0}, userRows, -48),
};

constexpr ByteRange bytes[] = {
    {.first = 0, .count = 8, .read = twoWords},
    {.first = -48, .count = 44, .read = allWords},
};

// Hidden boxes are written back as loaded.
constexpr Change changes[] = {
    rename({47}, "Text1", 2, moreUserRows), hideRows({47, 49}, "Text1", 6, 7), hideRows({48}, "Text1", 1, 3),
    hideRows({48}, "Text1", 5, 7),          hideRows({49}, "Text1", 2, 3),
};

} // namespace

constexpr EditorDescription edit_figmpu69(
    {.name = "edit_figmpu69", .buttonArray = true, .frames = frames, .rows = rows, .bytes = bytes, .changes = changes});

} // namespace kx3
