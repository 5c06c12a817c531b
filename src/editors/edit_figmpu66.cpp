#include "base/text.h"
#include "editors/description.h"

namespace kx3 {

namespace {

using enum Hazard;
using Text = std::u16string_view;

constexpr FrameSpec frames[] = {{"Frame1", u"Write Lock Protection Bits "}};

// The blanks in front belong to the captions.
constexpr auto bootRow = rowsOf(lock, u"Boot Block Lock :");
constexpr auto sizeRow = rowsOf(lock, u"      Lock Size :");
constexpr auto debugRow = rowsOf(debug, u"Debug Lock Bit :");
constexpr auto flashReadRow = rowsOf(programming, u"SPI Read Flash :");
constexpr Text bootStates[] = {u"writeable", u"write protected"};
constexpr Text debugStates[] = {u"Enable debug commands", u"Disable debug commands"};
constexpr Text flashReadStates[] = {u"Enable SPI commands", u"Disable SPI commands"};

constexpr Text sizes128k[] = {u"0 k", u"2 k", u"4 k", u"8 k", u"16 k", u"32 k", u"64 k", u"128 k"};
constexpr Text sizes64k[] = {u"0 k", u"1 k", u"2 k", u"4 k", u"8 k", u"16 k", u"32 k", u"64 k"};
constexpr Text sizes32kHalf[] = {u"0 k", u"0.5 k", u"1 k", u"2 k", u"4 k", u"8 k", u"16 k", u"32 k"};
constexpr Text sizes32k[] = {u"0 k", u"1 k", u"2 k", u"4 k", u"8 k", u"16 k", u"24 k", u"32 k"};

constexpr int debugMode = 22;
constexpr int flashReadMode = 26;

constexpr Rows rows[] = {
    {.control = {"Combo1"},
     .label = {"Label1"},
     .captions = bootRow,
     .bit = 4,
     .coding = Coding::inverted,
     .items = Items::texts,
     .texts = bootStates},
    {.control = {"Combo2"},
     .label = {"Label2"},
     .captions = sizeRow,
     .bit = 1,
     .width = 3,
     .coding = Coding::inverted,
     .items = Items::texts},
    {.modes = {debugMode},
     .control = {"Combo3"},
     .label = {"Label3"},
     .captions = debugRow,
     .coding = Coding::inverted,
     .items = Items::texts,
     .texts = debugStates},
    {.modes = {flashReadMode},
     .control = {"Combo3"},
     .label = {"Label3"},
     .captions = flashReadRow,
     .coding = Coding::inverted,
     .items = Items::texts,
     .texts = flashReadStates},
};

constexpr ByteRange bytes[] = {{.first = 0, .count = 1}};
constexpr FixedBits fixedBits[] = {zeros({}, 0, 0xE0)};

/// `length` / 1024 with a blank in the place of the sign and "k" behind.
std::u16string kilobytes(Long length) {
    std::u16string text = join(u" ", decimal(length / 1024));
    Long rest = length % 1024;
    if (rest != 0) text += u'.';
    for (; rest != 0; rest = rest * 10 % 1024)
        text += static_cast<char16_t>(u'0' + rest * 10 / 1024);
    return text + u'k';
}

/// Lock sizes of eight steps; none for a size that is not known.
Texts lockSizes(const DeviceTraits &device) {
    if (device.prgmode == flashReadMode) return sizes32kHalf;
    switch (device.tlength) {
    case 131072: return sizes128k;
    case 65536: return sizes64k;
    case 32768: return device.chippin == 48 ? Texts(sizes32kHalf) : Texts(sizes32k);
    default: return {};
    }
}

/// Small images are locked as a whole; an image without known sizes keeps its bits.
void fillSizes(EditorLayout &layout, const DeviceTraits &device) {
    Field &size = layout.field("Combo2");
    if (device.prgmode == debugMode && device.tlength < 32768) {
        size.coding = Coding::wholeSize;
        size.items =
            std::make_shared<ItemList::element_type>(ItemList::element_type{u"0 k", kilobytes(device.tlength)});
        return;
    }
    size.items = itemList(lockSizes(device));
    size.enabled = !size.items->empty();
}

} // namespace

constexpr EditorDescription edit_figmpu66({.name = "edit_figmpu66",
                                           .frames = frames,
                                           .rows = rows,
                                           .bytes = bytes,
                                           .fixedBits = fixedBits,
                                           .adjust = fillSizes});

} // namespace kx3
