#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;
using Text = std::u16string_view;

enum : Byte { register0, register1, register2, register7 };

// The blanks at the end belong to the captions.
constexpr FrameSpec frames[] = {{"Frame1", u"Option Register 0 "},
                                {"Frame2", u"Option Register 1 "},
                                {"Frame3", u"Option Register 2 "},
                                {"Frame4", u"Option Register 7"}};

constexpr auto notUsed = rowsOf(none, u"");

constexpr auto bootRows1 =
    rowsOf(none, u"HWBS2(Eable RST force MCU to boot from ISP)", u"HWBS(Eable boot from ISP when Power-up)");
constexpr auto lockRow1 = rowsOf(lock, u"LOCK(Eable code and ID is locked)");
constexpr auto oscillatorRow1 = rowsOf(none, u"OSCDN(Eable The oscillator is reduced)");
constexpr auto clockRows1 = rowsOf(none, u"ENRCO(Eable the internal oscillator)", u"EN6T(Eable MCU runs at 6T mode) ");
constexpr auto watchdogRows1 = rowsOf(none, u"WDSFWP(Eable WDTCR will be write-protected)",
                                      u"HWENW(Eable WDT when power-up) ", u"HWWIDL(Enable WDT stops counting)");

constexpr Caption bootLockRows2[] = {{u"HWBS(Eable boot from ISP when Power-up)", none},
                                     {u"LOCK(Eable code and ID is locked)", lock}};
constexpr auto clockRows2 = rowsOf(none, u"BODRE", u"HWBS2(Eable RST force MCU to boot from ISP)",
                                   u"OSCDN(Eable The oscillator is reduced) ", u"ENRCO");
constexpr auto watchdogRows2 =
    rowsOf(none, u"WDSFWP", u"WDTRCO(Eable WDT running)", u"HWENW(Eable WDT prescaler when power-up) ");
constexpr auto watchdogIdleRow2 = rowsOf(none, u"HWWIDL");

constexpr auto ispStartRow = rowsOf(none, u"ISP start address:");
constexpr Text ispStarts1[] = {u"[000] 1200(3.5K)", u"[001] 1400(3K)", u"[010] 1600(2.5K)", u"[011] 1800(2K)",
                               u"[100] 1A00(1.5K)", u"[101] 1C00(1K)", u"[110] 1E00(0.5K)", u"[111] NO ISP"};
constexpr Text ispStarts2[] = {u"[000] F000(4K)", u"[001] F200(3.5K)", u"[010] F400(3K)", u"[011] F600(2.5K)",
                               u"[100] F800(2K)", u"[101] FA00(1.5K)", u"[110] FC00(1K)", u"[111] NO ISP"};
constexpr auto prescalerRow = rowsOf(none, u"WDT Prescalar:");
constexpr Text prescalers[] = {u"[000] Fosc/2",  u"[001] Fosc/4",  u"[010] Fosc/8",   u"[011] Fosc/16",
                               u"[100] Fosc/32", u"[101] Fosc/64", u"[110] Fosc/128", u"[111] Fosc/256"};
constexpr auto boundaryRow = rowsOf(none, u"IAP boundary:");

/// Check boxes from `control`(`first`) on, active low: row i is bit `bit` + i * `step`.
constexpr Rows checks(ModeSet modes, Byte frame, ControlName first, Captions captions, Byte bit, int step) {
    return {.modes = modes,
            .frame = frame,
            .kind = FieldKind::check,
            .control = first,
            .captions = captions,
            .offset = frame,
            .bit = bit,
            .bitStep = step,
            .coding = Coding::inverted};
}

/// A check box that the mode's register has no bit for.
constexpr Rows unusedCheck(ModeSet modes, Byte frame, ControlName control) {
    return {.modes = modes,
            .frame = frame,
            .kind = FieldKind::check,
            .control = control,
            .captions = notUsed,
            .width = 0,
            .visible = false};
}

constexpr Rows ispStart(ModeSet modes, Texts starts) {
    return {.modes = modes,
            .frame = register0,
            .control = {"Combo1"},
            .label = {"Label1"},
            .captions = ispStartRow,
            .offset = 0,
            .bit = 5,
            .width = 3,
            .items = Items::texts,
            .texts = starts};
}

/// The one box that takes any key; its digits are tested on OK alone.
constexpr Rows boundary(ModeSet modes, Byte width) {
    return {.modes = modes,
            .frame = register7,
            .kind = FieldKind::hexNumber,
            .control = {"Text1"},
            .label = {"Label3"},
            .captions = boundaryRow,
            .width = width,
            .number = {{3}, 1},
            .hexKeys = false};
}

constexpr Rows rows[] = {
    checks({1}, register0, {"Check1", 0}, bootRows1, 4, -1),
    checks({1}, register0, {"Check1", 2}, lockRow1, 0, 1),
    ispStart({1}, ispStarts1),
    checks({1}, register1, {"Check2", 0}, oscillatorRow1, 4, 1),
    checks({1}, register1, {"Check2", 1}, clockRows1, 1, -1),
    unusedCheck({1}, register1, {"Check2", 3}),
    checks({1}, register2, {"Check3", 0}, watchdogRows1, 7, -2),
    unusedCheck({1}, register2, {"Check3", 3}),

    checks({2}, register0, {"Check1", 0}, bootLockRows2, 3, 1),
    unusedCheck({2}, register0, {"Check1", 2}),
    ispStart({2}, ispStarts2),
    checks({2}, register1, {"Check2", 0}, clockRows2, 6, -1),
    checks({2}, register2, {"Check3", 0}, watchdogRows2, 7, -1),
    checks({2}, register2, {"Check3", 3}, watchdogIdleRow2, 3, 1),

    {.frame = register2,
     .control = {"Combo2"},
     .label = {"Label2"},
     .captions = prescalerRow,
     .offset = 2,
     .width = 3,
     .items = Items::texts,
     .texts = prescalers},
    boundary({1}, 0),
    boundary({2}, 8),
};

constexpr ByteRange bytes[] = {{.first = 0, .count = 3}, {.first = 3, .count = 1, .read = {2}}};

constexpr FixedBits fixedBits[] = {
    ones({1}, 0, 0x06), ones({1}, 1, 0xEC),  ones({1}, 2, 0x50), ones({2}, 0, 0x07),
    ones({2}, 1, 0x85), zeros({2}, 1, 0x02), ones({2}, 2, 0x10),
};

constexpr Change changes[] = {hideRows({1}, "Frame4")};

} // namespace

constexpr EditorDescription edit_figmpu62({.name = "edit_figmpu62",
                                           .title = textUserCodeTitle,
                                           .startPosition = StartPosition::centerOwner,
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .changes = changes});

} // namespace kx3
