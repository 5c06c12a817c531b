#include "editors/config_address.h"
#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;
using Text = std::u16string_view;

constexpr FrameSpec frames[] = {{"Frame1", u""}};

// The blanks in front belong to the captions.
constexpr auto watchdogRow = rowsOf(none, u"  COP WTD System :");
constexpr auto romRow = rowsOf(none, u"     On Chip ROM :");
constexpr auto eepromRangeRow = rowsOf(none, u" EEPROM mapped at:");
constexpr auto eepromRow = rowsOf(none, u"  On Chip EEPROM :");
constexpr Text eepromRanges[] = {u"0E00--0FFF", u"1E00--1FFF", u"2E00--2FFF", u"3E00--3FFF",
                                 u"4E00--4FFF", u"5E00--5FFF", u"6E00--6FFF", u"7E00--7FFF",
                                 u"8E00--8FFF", u"9E00--9FFF", u"AE00--AFFF", u"BE00--BFFF",
                                 u"CE00--CFFF", u"DE00--DFFF", u"EE00--EFFF", u"FE00--FFFF"};

constexpr ModeSet romModes = {39, 40, 43, 44};
constexpr ModeSet rangeModes = {41};

constexpr Rows rows[] = {
    {.control = {"Combo1", 0},
     .label = {"Label1", 0},
     .captions = watchdogRow,
     .offset = configByteAddress,
     .bit = 2,
     .items = Items::plainStates},
    {.modes = romModes,
     .control = {"Combo1", 1},
     .label = {"Label1", 1},
     .captions = romRow,
     .offset = configByteAddress,
     .bit = 1,
     .coding = Coding::inverted,
     .items = Items::plainStates},
    {.modes = rangeModes,
     .control = {"Combo1", 1},
     .label = {"Label1", 1},
     .captions = eepromRangeRow,
     .offset = configByteAddress,
     .bit = 4,
     .width = 4,
     .items = Items::texts,
     .texts = eepromRanges},
    {.control = {"Combo1", 2},
     .label = {"Label1", 2},
     .captions = eepromRow,
     .offset = configByteAddress,
     .bit = 0,
     .coding = Coding::inverted,
     .items = Items::plainStates},
};

constexpr ByteRange bytes[] = {{.first = configByteAddress, .count = 1}};

constexpr FixedBits fixedBits[] = {
    ones(romModes, configByteAddress, 0x08),
    zeros(romModes, configByteAddress, 0xF0),
    ones(rangeModes, configByteAddress, 0x0A),
};

} // namespace

constexpr EditorDescription edit_figmpu68({.name = "edit_figmpu68",
                                           .base = AddressBase::bufferStart,
                                           .mirrored = true,
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits});

} // namespace kx3
