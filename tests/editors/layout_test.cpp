// The tables behind the editors are whole: every bit of every byte has exactly one owner.
#include "editors/editor_driver.h"
#include "editors/layout.h"

#include <bit>
#include <set>

namespace kx3::test {
namespace {

constexpr StateWords words{.enable = u"Enable", .disable = u"Disable"};

std::vector<DeviceTraits> devices() {
    std::vector<DeviceTraits> all;
    for (const Byte mode : editorModes)
        for (const Integer pins : {Integer{8}, Integer{9}, Integer{14}, Integer{48}, Integer{64}})
            for (const Long tlength : {8192, 32768, 40000, 131072})
                all.push_back({mode, tlength, pins, 14});
    return all;
}

class Layout : public ::testing::Test {
  protected:
    template <class Check> static void forEveryDevice(Check check) {
        for (const DeviceTraits &device : devices()) {
            SCOPED_TRACE(testing::Message() << "mode " << int(device.prgmode) << " pins " << device.chippin
                                            << " length " << device.tlength);
            const auto layout = editorLayout(device, words);
            ASSERT_TRUE(layout);
            check(*layout);
        }
    }
};

TEST_F(Layout, EveryWrittenBitIsAFieldOrFixedAndNoTwoFieldsOverlap) {
    forEveryDevice([](const EditorLayout &layout) {
        std::vector<int> owned(layout.bytes.size());
        for (const Field &field : layout.fields) {
            for (const Long offset : field.bytes()) {
                int &byte = owned[layout.byteAt(offset)];
                EXPECT_EQ(byte & field.mask(), 0) << field.control.name << " overlaps at " << offset;
                byte |= field.mask();
            }
        }
        for (std::size_t i = 0; i < layout.bytes.size(); ++i) {
            const ConfigByte &byte = layout.bytes[i];
            if (byte.written) {
                EXPECT_EQ(owned[i] | byte.fixedMask, 0xFF) << "byte " << byte.offset;
            }
            EXPECT_EQ(byte.fixedValue & ~byte.fixedMask, 0) << "byte " << byte.offset;
        }
    });
}

TEST_F(Layout, NoShownFieldIsWithoutEffect) {
    forEveryDevice([](const EditorLayout &layout) {
        for (const Field &field : layout.fields) {
            if (!layout.isShown(field)) continue;
            EXPECT_FALSE(field.caption.empty()) << field.control.name;
            ASSERT_GT(field.byteCount, 0) << field.control.name;
            if (field.readOnly) continue;
            const ConfigByte &byte = layout.bytes[layout.byteAt(field.offsets[0])];
            EXPECT_TRUE(byte.written);
            EXPECT_EQ(byte.fixedMask & field.mask(), 0) << field.control.name << " is forced";
        }
    });
}

TEST_F(Layout, ListsHaveAnItemForEveryValue) {
    forEveryDevice([](const EditorLayout &layout) {
        for (const Field &field : layout.fields) {
            if (field.kind != FieldKind::list) continue;
            const std::size_t count = field.items->size();
            if (field.coding == Coding::plain || field.coding == Coding::inverted) {
                EXPECT_TRUE(count == std::size_t{1} << field.width || (count == 0 && !field.enabled))
                    << field.control.name;
            }
            if (field.width != 3 || field.coding != Coding::plain) continue;
            for (std::size_t i = 0; i < count; ++i) { // "[101] ..." stands at index 5
                const std::string digits = {'[', char('0' + (i >> 2)), char('0' + (i >> 1 & 1)), char('0' + (i & 1)),
                                            ']'};
                EXPECT_TRUE(toUtf8((*field.items)[i]).starts_with(digits)) << toUtf8((*field.items)[i]);
            }
        }
    });
}

TEST_F(Layout, ControlsAreNamedOnceAndStandInTheirFrames) {
    forEveryDevice([](const EditorLayout &layout) {
        std::set<std::pair<std::string_view, Integer>> names;
        std::size_t frame = 0;
        for (const Field &field : layout.fields) {
            EXPECT_TRUE(names.emplace(field.control.name, field.control.index).second) << field.control.name;
            if (!field.label.name.empty()) {
                EXPECT_TRUE(names.emplace(field.label.name, field.label.index).second) << field.label.name;
            }
            EXPECT_GE(field.frame, frame) << "fields come frame by frame";
            frame = field.frame;
            if (!field.enabledBy.empty()) {
                EXPECT_TRUE(names.contains({field.enabledBy, noIndex}));
            }
        }
    });
}

TEST_F(Layout, FieldsThatCanLockTheUserOutAreFlagged) {
    const struct {
        Byte mode;
        const char *control;
        Integer index;
        Hazard hazard;
    } cases[] = {
        {3, "Combo2", 7, Hazard::resetPin},    {13, "Combo2", 6, Hazard::programming},
        {18, "Combo2", 6, Hazard::resetPin},   {62, "Combo1", 5, Hazard::programming},
        {62, "Combo2", 3, Hazard::debug},      {62, "Combo2", 0, Hazard::none},
        {13, "Combo4", 5, Hazard::lock},       {12, "Combo1", 0, Hazard::resetPin},
        {12, "Combo2", 1, Hazard::lock},       {50, "Combo6", 0, Hazard::programming},
        {50, "Combo8", 3, Hazard::lock},       {50, "Text1", noIndex, Hazard::none},
        {1, "Check1", 2, Hazard::lock},        {2, "Check1", 1, Hazard::lock},
        {23, "Combo1", 4, Hazard::lock},       {22, "Combo3", noIndex, Hazard::debug},
        {26, "Combo2", noIndex, Hazard::lock}, {51, "Combo1", 1, Hazard::lock},
        {47, "Text1", 10, Hazard::writeOnce},  {64, "Text1", 6, Hazard::lock},
        {64, "Text1", 4, Hazard::debug},       {3, "Combo1", 0, Hazard::none},
    };
    for (const auto &c : cases) {
        auto layout = editorLayout({c.mode, 2048, 20, 0}, words);
        ASSERT_TRUE(layout);
        EXPECT_EQ(layout->field(c.control, c.index).hazard, c.hazard) << int(c.mode) << ' ' << c.control << c.index;
    }
}

TEST(LayoutModes, ModesWithoutAnEditorHaveNoLayout) {
    for (const Byte mode : {Byte{0}, Byte{5}, Byte{11}, Byte{42}, Byte{63}, Byte{65}, Byte{255}})
        EXPECT_FALSE(editorLayout({mode, 2048, 20, 0}, words)) << int(mode);
}

} // namespace
} // namespace kx3::test
