#include "notes/notes.h"

#include "base/checked.h"
#include "blocks/sharemap.h"
#include "outside/ui.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace kx3 {

namespace {

using Text = std::optional<std::u16string>; ///< empty: nothing to show for this device

constexpr std::u16string_view CR = u"\r";

/// A text of the notes' own, in its two wordings.
struct Wording {
    std::u16string_view english;
    std::u16string_view chinese;
};

/// The selected device and the user's language, as the notes see them.
struct Device {
    explicit Device(const Context &theContext)
        : context(theContext), length(context.blocks.tlength(0)), size(context.blocks.bvcch(0)),
          page(context.blocks.pagelength(0)), mode(context.blocks.prgmode(0)), option(context.blocks.woption(0)),
          chinese(context.blocks.Language(0) == simplifiedChinese) {}

    [[nodiscard]] std::u16string_view say(const Wording &wording) const {
        return chinese ? wording.chinese : wording.english;
    }

    const Context &context;
    Checked length; ///< of the device's data in the buffer
    Checked size;   ///< `bvcch`(0): an area's size, or a selector
    Checked page;
    Byte mode;
    Byte option;
    bool chinese;
};

constexpr Wording epromAt = {u"  EPROM is located in buffer", u"  EPROM 位于缓冲区的地址是"};
constexpr Wording eepromAt = {u"  EEPROM is located in buffer", u"  EEPROM 位于缓冲区的地址是"};
constexpr Wording userEpromAt = {u"  USER EPROM is located in buffer", u"  USER EPROM 位于缓冲区的地址是"};
constexpr Wording userEpromPartsAt = {u"  USER EPROM is located in buffer 20h --- 4Fh and ",
                                      u"  USER EPROM 位于缓冲区的地址是 20h --- 4Fh 和 "};
constexpr Wording userVectorsAt = {u"  USER VECTORS is located in buffer", u"  USER VECTORS 位于缓冲区的地址是"};
constexpr Wording configAt103F = {u"  Config is located in buffer 103FH", u"  Config 位于缓冲区的地址是 103FH"};
constexpr Wording configAt003F = {u"  Config is located in buffer 003FH", u"  Config 位于缓冲区的地址是 003FH"};
constexpr Wording highEprom = {u"  EPROM is located in buffer D000H--FFFFH",
                               u"  EPROM 位于缓冲区的地址是 D000H--FFFFH"};
constexpr Wording twoEproms = {u"  EPROM is located in buffer 9000H--AFFFH and D000H--FFFFH",
                               u"  EPROM 位于缓冲区的地址是 9000H--AFFFH 和 D000H--FFFFH"};
constexpr Wording unreadableBits = {u"  The CONFIG register's EE3--EE0 and EEON bits can not to be read use programmer",
                                    u"编程器不能读出 CONFIG 寄存器的 EE3--EE0 和 EEON 位"};

std::u16string digits(Checked address) { return hex(address.value()); }

/// First line of a note about one area: where it begins and ends.
std::u16string area(const Device &device, const Wording &name, std::u16string_view first, std::u16string_view last) {
    return join(CR, device.say(name), u" ", first, u"h ---", last, u"h");
}

/// A further line, with an empty line before it.
std::u16string line(const Device &device, const Wording &wording) { return join(CR, CR, device.say(wording)); }

Text memoryTable(const Device &device) {
    const Checked words = device.length - device.size;
    const auto text = [&](TextId id) { return device.context.text(id); };
    return join(u"                ", text(textDeviceBufferHeading), CR, CR,              //
                text(textProgramMemory), u"000H---", digits(words - 1), u"H    000H---", //
                digits(2 * words - 1), u"H   ", CR, CR,                                  //
                text(textDataMemory), u"000H---0", digits(2 * device.size - 1), u"H   ", //
                digits(2 * words), u"H---", digits(2 * device.size + 2 * words - 1), u"H   ", CR, CR);
}

/// Main memory from `first` up to but not including `end`.
Text mainMemory(Checked first, Checked end) {
    return join(u"Note:",
                u" Information memory is located in buffer 1800h --- 19FFh and Main memory is located in buffer", u" ",
                digits(first), u"h ---", digits(end - 1), u"h");
}

Text mainMemoryByLength(const Device &device) {
    return mainMemory(device.length == 0x10000 ? 0x8000 : 0x4400, device.length);
}

Text mainMemoryBySelector(const Device &device) {
    constexpr Long starts[] = {0x8000, 0xA000, 0xC000, 0xE000};
    const Long selector = device.size.value();
    if (selector < 0 || selector >= std::ssize(starts)) return std::nullopt;
    return mainMemory(starts[selector], 0x10000);
}

Text mainMemoryByOption(const Device &device) {
    const Long first = device.option == 1 ? 0xC000 : device.option == 2 ? 0x8000 : 0x4000;
    return mainMemory(first, device.length);
}

/// What tells the devices with two flash and two EEPROM areas apart.
struct TwoFlashVariant {
    Byte mode;
    std::u16string_view flash2;
    std::u16string_view vectors;
    std::u16string_view ending; ///< of the English security text
};

constexpr TwoFlashVariant twoFlashVariants[] = {
    {0x1B, u"   FLASH2:          450h - 4FFh,580-5FF, E00h - 7FFFh .", u"   User vectors:   FFCCh - FFFFh .",
     u" be filled with correct data."},
    {0x1C, u"   FLASH2:          450h - 5FFh, E00h - 7FFFh .", u"   User vectors:   FFDAh - FFFFh .",
     u" be filled with correct data."},
    {0x1D, u"   FLASH2:          450h - 5FFh, E00h - 7FFFh .", u"   User vectors:   FFD2-FFD3, FFDAh - FFFFh .",
     u" be filled with correct data. "},
};

std::u16string securityText(const Device &device, const TwoFlashVariant &variant) {
    if (device.chinese)
        return join(u" 该芯片有八位保密位，位于OxFFF6-OxFFFD,", u"如果要正确读", CR, //
                    u"出已加密的芯片，须在保密位", u"上填充正确的数据。");
    return join(u" This device has 8-byte security feature at OxFFF6-OxFFFD,", CR,
                u"to read a programmed  device with the security feature ,", CR, u"must", variant.ending);
}

Text twoFlashAreas(const Device &device) {
    const auto *variant = std::ranges::find(twoFlashVariants, device.mode, &TwoFlashVariant::mode);
    if (variant == std::end(twoFlashVariants)) return std::nullopt;
    return join(variant->flash2, CR,                        //
                u"   EEPROM2:      600h - 7FFh .", CR,      //
                u"   EEPROM1:      800h - 9FFh .", CR,      //
                u"   FLASH1:          8000h - FDFFh .", CR, //
                variant->vectors, CR, CR, securityText(device, *variant));
}

/// The user vectors are the last 16 bytes of the device's data.
std::u16string userVectors(const Device &device) {
    return join(line(device, userVectorsAt), u" ", digits(device.length - 16), u"h --- ", digits(device.length - 1),
                u"h");
}

Text userEpromByMode(const Device &device) {
    struct Variant {
        Byte mode;
        Long end;
    };
    constexpr Variant variants[] = {{0x21, 0x1F00}, {0x22, 0x3F00}, {0x23, 0x1100}, {0x25, 0x900}, {0x26, 0x1300}};
    const auto *variant = std::ranges::find(variants, device.mode, &Variant::mode);
    if (variant == std::end(variants)) return std::nullopt;
    return join(area(device, userEpromPartsAt, u"100", hex(variant->end - 1)), userVectors(device));
}

Text userEprom(const Device &device) { return join(area(device, userEpromAt, u"1000", u"1EFF"), userVectors(device)); }

Text eepromAndConfig(const Device &device) {
    constexpr Byte modeWithUnreadableBits = 0x29;
    if (device.mode == modeWithUnreadableBits)
        return join(area(device, eepromAt, u"FE00", u"FFFF"), line(device, configAt103F), line(device, unreadableBits));
    return join(area(device, eepromAt, u"B600", u"B7FF"), line(device, configAt103F));
}

Text epromAndConfig(const Device &device) {
    return join(area(device, epromAt, u"F000", u"FFFF"), line(device, configAt003F));
}

Text eepromEpromAndConfig(const Device &device) {
    return join(area(device, eepromAt, u"B600", u"B7FF"), line(device, highEprom), line(device, configAt103F));
}

Text eepromTwoEpromsAndConfig(const Device &device) {
    return join(area(device, eepromAt, u"B600", u"B7FF"), line(device, twoEproms), line(device, configAt103F));
}

Text oneTimeRegister(const Device & /*device*/) {
    return join(CR, u"the chip's register can only be written one time, once change of register, it will never change "
                    u"again. ");
}

Text flashEepromAndSignature(const Device &device) {
    const Checked flashEnd = device.length - device.size - device.page;
    const Checked eepromEnd = device.length - device.page;
    return join(CR, u"Flash is located in buffer ", u"0", u"h ---", digits(flashEnd - 1), u"h", CR, CR, //
                u"EEPROM is located in buffer ", digits(flashEnd), u"h ---", digits(eepromEnd - 1), u"h", CR, CR,
                u"User Signature Row is located in buffer ", digits(eepromEnd), u"h ---", digits(device.length - 1),
                u"h", CR);
}

Text highEepromAndConfig(const Device &device) {
    return join(area(device, eepromAt, u"F800", u"FFFF"), CR, device.say(configAt103F));
}

Text configRegisters(const Device & /*device*/) {
    return join(CR, u" The CCFG registers are located in buffer from 1FFA8h to 1FFFFh,and CCFG bits can only be change "
                    u"from 1 to 0.");
}

enum class Look : std::uint8_t {
    plain, ///< neither icon nor title of its own
    note,  ///< information icon and the title "Note!"
};

struct Note {
    Byte number;
    Look look;
    Text (*text)(const Device &device);
};

constexpr Note notes[] = {
    {61, Look::note, memoryTable},
    {62, Look::plain, mainMemoryByLength},
    {63, Look::plain, mainMemoryBySelector},
    {64, Look::plain, mainMemoryByOption},
    {65, Look::note, twoFlashAreas},
    {66, Look::note, userEpromByMode},
    {67, Look::note, userEprom},
    {68, Look::note, eepromAndConfig},
    {69, Look::note, epromAndConfig},
    {70, Look::note, eepromEpromAndConfig},
    {71, Look::note, eepromTwoEpromsAndConfig},
    {72, Look::note, oneTimeRegister},
    {73, Look::note, flashEepromAndSignature},
    {74, Look::note, highEepromAndConfig},
    {75, Look::note, configRegisters},
};

void show(const Context &context, Look look, std::u16string_view text) {
    if (look == Look::plain)
        context.ui.messageBox(text, messageBoxOkOnly, std::nullopt);
    else
        context.ui.messageBox(text, messageBoxInformation, context.text(textNoteTitle));
}

} // namespace

void mpu6warn(const Context &context, Byte &no) {
    constexpr Byte numberMask = 0x7F;
    no &= numberMask;
    const auto *note = std::ranges::find(notes, no, &Note::number);
    if (note == std::end(notes)) return;
    if (const Text text = note->text(Device(context))) show(context, note->look, *text);
}

} // namespace kx3
