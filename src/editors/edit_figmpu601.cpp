#include "editors/config_address.h"
#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;
using Text = std::u16string_view;

constexpr FrameSpec frames[] = {{"Frame1", u"Config Register"}};

constexpr auto eepromRangeRow = rowsOf(none, u"EEPROM mapped at :");
constexpr Caption securityWatchdogRows[] = {{u"EEPROM Security :", lock}, {u" COP WTD System :", none}};
constexpr auto eepromRow = rowsOf(none, u" On Chip EEPROM :");
constexpr Text eepromRanges[] = {u"0800--0FFF", u"1800--1FFF", u"2800--2FFF", u"3800--3FFF",
                                 u"4800--4FFF", u"5800--5FFF", u"6800--6FFF", u"7800--7FFF",
                                 u"8800--8FFF", u"9800--9FFF", u"A800--AFFF", u"B800--BFFF",
                                 u"C800--CFFF", u"D800--DFFF", u"E800--EFFF", u"F800--FFFF"};

constexpr Rows rows[] = {
    {.control = {"Combo1", 0},
     .label = {"Label2", 0},
     .captions = eepromRangeRow,
     .offset = configByteAddress,
     .bit = 4,
     .width = 4,
     .items = Items::texts,
     .texts = eepromRanges},
    {.control = {"Combo1", 1},
     .label = {"Label2", 1},
     .captions = securityWatchdogRows,
     .offset = configByteAddress,
     .bit = 3,
     .bitStep = -1,
     .items = Items::plainStates},
    {.control = {"Combo1", 3},
     .label = {"Label2", 3},
     .captions = eepromRow,
     .offset = configByteAddress,
     .bit = 0,
     .coding = Coding::inverted,
     .items = Items::plainStates},
};

constexpr ByteRange bytes[] = {{.first = configByteAddress, .count = 1}};
constexpr FixedBits fixedBits[] = {ones({}, configByteAddress, 0x02)};

} // namespace

constexpr EditorDescription edit_figmpu601({.name = "edit_figmpu601",
                                            .base = AddressBase::bufferStart,
                                            .mirrored = true,
                                            .frames = frames,
                                            .rows = rows,
                                            .bytes = bytes,
                                            .fixedBits = fixedBits});

} // namespace kx3
