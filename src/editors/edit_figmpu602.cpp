#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;

constexpr FrameSpec frames[] = {{"Frame1", u"CCFG register"}};

constexpr Caption leftRows[] = {
    {u"BL_CONFIG:", programming}, {u"ERASE_CONF:", lock}, {u"CCFG_TI_OPTIONS:", none}, {u"CCFG_TAP_DAP_0:", debug}};
constexpr Caption rightRows[] = {{u"CCFG_TAP_DAP_1:", debug}, {u"IMAGE_VALID_CONF:", none}, {u"CCFG_PROT_31_0:", lock}};

constexpr Rows rows[] = {
    {.kind = FieldKind::hexWord,
     .control = {"Text1", 0},
     .label = {"Label1", 0},
     .captions = leftRows,
     .offset = -40,
     .lengthRule = {.maxLength = 8}},
    {.kind = FieldKind::hexWord,
     .control = {"Text1", 4},
     .label = {"Label2", 0},
     .captions = rightRows,
     .offset = -24,
     .lengthRule = {.maxLength = 8}},
};

constexpr ByteRange bytes[] = {{.first = -40, .count = 28}};

} // namespace

constexpr EditorDescription
    edit_figmpu602({.name = "edit_figmpu602", .buttonArray = true, .frames = frames, .rows = rows, .bytes = bytes});

} // namespace kx3
