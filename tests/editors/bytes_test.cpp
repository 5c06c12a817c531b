// Which bits OK forces, for every mode and every value of every byte.
#include "editors/editor_driver.h"

#include <algorithm>

namespace kx3::test {
namespace {

/// OK makes `offset` (value AND keep) OR force.
struct ByteEffect {
    Long offset;
    int keep;
    int force;
};

using Effects = std::vector<ByteEffect>;

struct Case {
    std::vector<int> modes;
    Long tlength;
    Integer pins;
    Long base; ///< index in the buffer that the offsets count from
    Effects effects;
    Byte (*special)(Byte) = nullptr; ///< what OK makes of the last byte instead
    bool mirrored = false;
};

Byte clockIndex(Byte value) { return value < 4 ? value : Byte{0}; }

Byte wholeSizeLock(Byte value) {
    const int size = value >> 1 & 7;
    return static_cast<Byte>((value & 0x11) | (size == 6 || size == 0 ? 0 : 0x0E));
}

Effects untouched(Long first, Long count) {
    Effects effects;
    for (Long k = 0; k < count; ++k)
        effects.push_back({first + k, 0xFF, 0});
    return effects;
}

Effects fuses63(ByteEffect low, ByteEffect extended) {
    return {low, {1, 0xFF, 0}, extended, {3, 0xFF, 0}, {4, 1, 0}, {5, 0xFF, 0}, {6, 0xFF, 0}, {7, 3, 0xFC}};
}

Effects fuses65(int keep, int force) {
    return {{0, 0xFF, 0}, {1, 0xFF, 0}, {2, keep, force}, {3, 0xFF, 0}, {4, 1, 0},
            {5, 0xFF, 0}, {6, 0xFF, 0}, {7, 0x3F, 0xC0},  {9, 0xFF, 0}, {8, 0xFF, 0}};
}

constexpr Long t = 2048;
const Case cases[] = {
    {{1}, t, 40, t, {{0, 0xF9, 0x06}, {1, 0x13, 0xEC}, {2, 0xAF, 0x50}, {3, 0xFF, 0}}},
    {{2}, t, 40, t, {{0, 0xF8, 0x07}, {1, 0x78, 0x85}, {2, 0xEF, 0x10}, {3, 0xFF, 0}}},
    {{3}, t, 20, 2 * t, fuses63({0, 0xFF, 0x0C}, {2, 0x01, 0xFE})},
    {{4, 6}, t, 20, 2 * t, fuses63({0, 0xFF, 0}, {2, 0x01, 0xFE})},
    {{10}, t, 20, 2 * t, fuses63({0, 0xFF, 0x20}, {2, 0x1F, 0})},
    {{12}, t, 14, 2 * t, {{0, 0x77, 0x88}, {1, 0x03, 0xFC}}},
    {{12}, t, 9, 2 * t, {{0, 0x77, 0x88}, {1, 0x03, 0xFC}}},
    {{12}, t, 8, 2 * t, {{0, 0x07, 0xF8}, {1, 0x03, 0xFC}}},
    {{13, 62}, t, 20, 2 * t, fuses65(0x3F, 0), clockIndex},
    {{14}, t, 20, 2 * t, fuses65(0x03, 0xFC), clockIndex},
    {{15, 30, 31, 32, 60, 61}, t, 20, 2 * t, fuses65(0x07, 0xF8), clockIndex},
    {{18}, t, 64, 2 * t, fuses65(0x0F, 0xF0), clockIndex},
    {{55, 56}, t, 20, 2 * t, fuses65(0x3F, 0xC0), clockIndex},
    {{58, 59}, t, 20, 2 * t, fuses65(0xF7, 0x08), clockIndex},
    {{22}, 131072, 48, 131072, {{0, 0x1F, 0}}},
    {{22}, 65536, 48, 65536, {{0, 0x1F, 0}}},
    {{22}, 32768, 48, 32768, {{0, 0x1F, 0}}},
    {{22}, 40000, 48, 40000, {{0, 0x1F, 0}}},
    {{22}, 8192, 48, 8192, {{0, 0x1F, 0}}, wholeSizeLock},
    {{26}, t, 48, t, {{0, 0x1F, 0}}},
    {{23}, t, 40, t, {{0, 0xF8, 0x03}, {1, 0xE3, 0}, {2, 0xFF, 0}, {3, 0xFE, 0x01}, {4, 0xFF, 0}}},
    {{24, 25}, t, 40, t, {{0, 0xF8, 0x07}, {1, 0x60, 0x93}, {2, 0xFF, 0}, {3, 0xFE, 0x01}, {4, 0x80, 0x4A}}},
    {{39, 40, 43, 44}, t, 40, 0, {{4159, 0x07, 0x08}}, nullptr, true},
    {{41}, t, 40, 0, {{4159, 0xF5, 0x0A}}, nullptr, true},
    {{51}, t, 40, 0, {{4159, 0xFD, 0x02}}, nullptr, true},
    {{45}, t, 40, t, untouched(0, 8)},
    {{46, 47, 48, 49}, t, 40, t, untouched(-48, 44)},
    {{50}, t, 40, t, {{0, 0xFF, 0}, {1, 0xFF, 0}, {2, 0x43, 0xBC}, {3, 0x1F, 0xE0}, {4, 0x3F, 0xC0}, {5, 0xFF, 0}}},
    {{64}, t, 40, t, untouched(-40, 28)},
};

class EditorBytes : public EditorTest, public ::testing::WithParamInterface<int> {
  protected:
    const Case &c = cases[GetParam()];

    static Byte effectOf(const Case &c, const ByteEffect &effect, Byte value) {
        if (c.special != nullptr && &effect == &c.effects.back()) return c.special(value);
        return static_cast<Byte>((value & effect.keep) | effect.force);
    }
    std::vector<Byte> expectedAfterOk(std::vector<Byte> bytes) const {
        for (const ByteEffect &effect : c.effects) {
            Byte &byte = bytes[static_cast<std::size_t>(c.base + effect.offset)];
            byte = effectOf(c, effect, byte);
        }
        return mirror(std::move(bytes));
    }
    std::vector<Byte> mirror(std::vector<Byte> bytes) const {
        if (c.mirrored) bytes[static_cast<std::size_t>(c.tlength)] = bytes[4159];
        return bytes;
    }
    void restore(const std::vector<Byte> &bytes) {
        std::copy(bytes.begin(), bytes.end(), plugin.host.ibuffer.range(0, static_cast<Long>(bytes.size())).begin());
    }
};

TEST_P(EditorBytes, OkForcesWhatItMustAndNothingElse) {
    plugin.attach(2 * c.tlength + 100);
    std::vector<Byte> start(plugin.host.ibuffer.count());
    for (std::size_t i = 0; i < start.size(); ++i)
        start[i] = static_cast<Byte>(i * 151 + (i >> 8));
    const auto ok = [](Person &person) { person.ok(); };
    for (const int mode : c.modes) {
        device(static_cast<Byte>(mode), c.tlength, c.pins);
        for (const ByteEffect &effect : c.effects) {
            for (int value = 0; value < 256; ++value) {
                SCOPED_TRACE(testing::Message() << "mode " << mode << " byte " << effect.offset << " = " << value);
                start[static_cast<std::size_t>(c.base + effect.offset)] = static_cast<Byte>(value);
                restore(start);
                open([](Person &person) { person.cancel(); });
                ASSERT_TRUE(image() == mirror(start)) << "Cancel changes nothing";
                restore(start);
                open(ok);
                ASSERT_TRUE(image() == expectedAfterOk(start)) << "OK";
                open(ok);
                ASSERT_TRUE(image() == expectedAfterOk(start)) << "OK twice is OK once";
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, EditorBytes, ::testing::Range(0, static_cast<int>(std::size(cases))),
                         [](const auto &parameter) {
                             const Case &c = cases[parameter.param];
                             return "Mode" + std::to_string(c.modes.front()) + "Size" + std::to_string(c.tlength) +
                                    "Pins" + std::to_string(c.pins);
                         });

// What a person's choices make of the bytes.

/// Deals with the form, then OK; the bytes at `address` are then `expected`.
struct Choice {
    const char *promise;
    Byte mode;
    Integer pins;
    Long address;
    std::vector<int> before;
    std::function<void(Person &)> script;
    std::vector<int> expected;
};

void allLists(Person &person, Long item) {
    for (const char *name : {"Combo1", "Combo2", "Combo3", "Combo4"})
        person.chooseAll(name, item);
}

void uncheckAll(Person &person, bool checked) {
    for (const Control &control : person.form.controls())
        if (control.kind() == ControlKind::checkBox) person.form.check(control, checked);
}

const Choice choices[] = {
    {"62 mode 1, nothing checked, last items",
     1,
     40,
     t,
     {0, 0, 0, 9},
     [](Person &p) { uncheckAll(p, false), p.choose("Combo1", noIndex, 7), p.choose("Combo2", noIndex, 7); },
     {255, 255, 255, 9}},
    {"62 mode 1, all checked, first items",
     1,
     40,
     t,
     {255, 255, 255, 9},
     [](Person &p) { uncheckAll(p, true), p.choose("Combo1", noIndex, 0), p.choose("Combo2", noIndex, 0); },
     {6, 236, 80, 9}},
    {"62 mode 2 stores the boundary",
     2,
     40,
     t,
     {0, 0, 0, 0},
     [](Person &p) { p.paste("Text1", noIndex, u"3C"); },
     {7, 133, 16, 60}},
    {"62 mode 2 stores the boundary's low byte",
     2,
     40,
     t,
     {0, 0, 0, 0},
     [](Person &p) { p.paste("Text1", noIndex, u"ABCD3f"); },
     {7, 133, 16, 63}},
    {"63 mode 3, all rows 1", 3, 20, 2 * t, {0}, [](Person &p) { allLists(p, 1); }, {255, 255, 255}},
    {"63 mode 3, all rows 0", 3, 20, 2 * t, {255}, [](Person &p) { allLists(p, 0); }, {12, 0, 254}},
    {"63 calibration address",
     4,
     20,
     2 * t,
     {1, 2, 3, 4, 0, 0, 0, 0},
     [](Person &p) { p.check("Check1", noIndex, true), p.paste("Text1", 1, u"1234"); },
     {1, 2, 255, 4, 1, 0x34, 0x12, 0xFC}},
    {"65 calibration address of 24 bits and its clock",
     13,
     20,
     2 * t,
     {0, 0, 0, 7, 1, 0, 0, 0, 0, 0},
     [](Person &p) { p.paste("Text1", 1, u"56789A"), p.choose("Combo5", noIndex, 3); },
     {0, 0, 0, 7, 1, 0x9A, 0x78, 0xC0, 3, 0x56}},
    {"66 all protected",
     26,
     48,
     t,
     {0x1F},
     [](Person &p) { p.choose("Combo1", noIndex, 1), p.choose("Combo2", noIndex, 7), p.choose("Combo3", noIndex, 1); },
     {0}},
    {"66 size item 3", 26, 48, t, {0xFF}, [](Person &p) { p.choose("Combo2", noIndex, 3); }, {25}},
    {"66 whole size of a small image", 22, 48, t, {0xFF}, [](Person &p) { p.choose("Combo2", noIndex, 1); }, {17}},
    {"67 mode 24, P36EN at 1",
     24,
     40,
     t,
     {0, 0, 0, 0, 0},
     [](Person &p) { p.choose("Combo4", 0, 1); },
     {7, 147, 0, 1, 202}},
    {"67 mode 25, P36EN at 0",
     25,
     40,
     t,
     {0, 0, 0, 0xFF, 0xFF},
     [](Person &p) { p.choose("Combo4", 0, 0); },
     {7, 147, 0, 0xFF, 74}},
    {"68, all at item 0", 39, 40, 4159, {0}, [](Person &p) { p.chooseAll("Combo1", 0); }, {11}},
    {"68, all at item 1", 39, 40, 4159, {0}, [](Person &p) { p.chooseAll("Combo1", 1); }, {12}},
    {"68 mode 41, all at item 0", 41, 40, 4159, {0xFF}, [](Person &p) { p.chooseAll("Combo1", 0); }, {11}},
    {"68 mode 41, last range",
     41,
     40,
     4159,
     {0},
     [](Person &p) { p.chooseAll("Combo1", 1), p.choose("Combo1", 1, 15); },
     {254}},
    {"601, last range",
     51,
     40,
     4159,
     {0},
     [](Person &p) { p.chooseAll("Combo1", 0), p.choose("Combo1", 0, 15); },
     {243}},
    {"600, rows in falling order",
     50,
     40,
     t,
     {0, 0},
     [](Person &p) { p.choose("Combo1", 0, 1), p.choose("Combo2", 3, 1), p.paste("Text1", noIndex, u"f"); },
     {15, 0x81}},
    {"602, most significant digits first",
     64,
     40,
     t - 40,
     {0, 0, 0, 0},
     [](Person &p) { p.paste("Text1", 0, u"12345678"); },
     {0x78, 0x56, 0x34, 0x12}},
    {"69 mode 45, second box",
     45,
     40,
     t,
     {1, 2, 3, 4, 5, 6, 7, 8},
     [](Person &p) { p.paste("Text1", 4, u"aBcDeF00"); },
     {1, 2, 3, 4, 0, 0xEF, 0xCD, 0xAB}},
    {"69 mode 47, user register 2",
     47,
     40,
     t - 36 + 8,
     {1, 2, 3, 4},
     [](Person &p) { p.paste("Text1", 2, u"01020304"); },
     {4, 3, 2, 1}},
    {"69 mode 48, user debug word",
     48,
     40,
     t - 40,
     {1, 2, 3, 4},
     [](Person &p) { p.paste("Text1", 10, u"01020304"); },
     {4, 3, 2, 1}},
};

TEST_F(EditorTest, ChoicesBecomeBytes) {
    for (const Choice &choice : choices) {
        SCOPED_TRACE(choice.promise);
        device(choice.mode, t, choice.pins);
        for (std::size_t i = 0; i < choice.before.size(); ++i)
            plugin.host.ibuffer(choice.address + static_cast<Long>(i)) = static_cast<Byte>(choice.before[i]);
        open([&](Person &person) {
            choice.script(person);
            person.ok();
        });
        EXPECT_EQ(peek(choice.address, static_cast<Long>(choice.expected.size())), choice.expected);
    }
}

// Which bit each row shows.

/// Elements of `control` from 0 on, or the control itself, show `bits` of the byte at `address`.
struct BitRows {
    std::vector<int> modes;
    const char *control;
    Long address;
    std::vector<int> bits;
    Integer first = 0;
    bool inverted = false; ///< a bit that is 1 shows item 0, or checks the box
};

const std::vector<int> eight = {0, 1, 2, 3, 4, 5, 6, 7};
const std::vector<int> modes65 = {13, 14, 15, 18, 30, 31, 32, 55, 56, 58, 59, 60, 61, 62};
const BitRows bitRows[] = {
    {{1}, "Check1", t, {4, 3, 0}, 0, true},
    {{1}, "Check2", t + 1, {4, 1, 0}, 0, true},
    {{1}, "Check3", t + 2, {7, 5, 3}, 0, true},
    {{2}, "Check1", t, {3, 4}, 0, true},
    {{2}, "Check2", t + 1, {6, 5, 4, 3}, 0, true},
    {{2}, "Check3", t + 2, {7, 6, 5, 3}, 0, true},
    {{3, 4, 6, 10}, "Combo1", 2 * t, eight},
    {{3, 4, 6, 10}, "Combo2", 2 * t + 1, eight},
    {{10}, "Combo3", 2 * t + 2, {0, 1, 2, 3, 4}},
    {{3, 4, 6, 10}, "Check1", 2 * t + 4, {0}, noIndex},
    {{3, 4, 6, 10}, "Combo4", 2 * t + 7, {0, 1}},
    {{12}, "Combo1", 2 * t, {0, 1, 2, 4, 5, 6}},
    {{12}, "Combo2", 2 * t + 1, {0, 1}},
    {modes65, "Combo1", 2 * t, eight},
    {modes65, "Combo2", 2 * t + 1, eight},
    {{14, 15, 18, 55, 56}, "Combo3", 2 * t + 2, {0, 1, 2, 3, 4, 5}},
    {{58, 59}, "Combo3", 2 * t + 2, {0, 1, 2, 4, 5, 6, 7}},
    {modes65, "Check1", 2 * t + 4, {0}, noIndex},
    {modes65, "Combo4", 2 * t + 7, {0, 1, 2, 3, 4, 5}},
    {{22, 26}, "Combo1", t, {4}, noIndex, true},
    {{22, 26}, "Combo3", t, {0}, noIndex, true},
    {{23, 24, 25}, "Combo1", t, eight},
    {{23, 24, 25}, "Combo2", t + 1, eight},
    {{23, 24, 25}, "Combo3", t + 2, eight},
    {{24, 25}, "Combo4", t + 4, {7}},
    {{23, 24, 25}, "Combo4", t + 3, {1, 2, 3, 4, 5, 6, 7}, 1},
    {{39, 41}, "Combo1", 4159, {2}},
    {{40, 43, 44}, "Combo1", 4159, {1, 0}, 1, true},
    {{50}, "Combo1", t + 1, {7, 6, 5, 4}},
    {{50}, "Combo2", t + 1, {3, 2, 1, 0}},
    {{50}, "Combo3", t + 2, {6}, noIndex},
    {{50}, "Combo4", t + 2, {1}, noIndex},
    {{50}, "Combo5", t + 2, {0}, noIndex},
    {{50}, "Combo6", t + 3, {0, 1, 2, 3, 4}},
    {{50}, "Combo7", t + 4, {0, 1, 2, 3, 4, 5}},
    {{50}, "Combo8", t + 5, eight},
    {{51}, "Combo1", 4159, {3, 2}, 1},
    {{51}, "Combo1", 4159, {0}, 3, true},
};

TEST_F(EditorTest, EachRowShowsItsBit) {
    for (const BitRows &c : bitRows) {
        for (const int mode : c.modes) {
            for (const int set : c.bits) {
                device(static_cast<Byte>(mode), t, 20);
                poke(c.address, {1 << set});
                open([&](Person &person) {
                    for (std::size_t row = 0; row < c.bits.size(); ++row) {
                        const auto index = static_cast<Integer>(c.first + static_cast<Integer>(row));
                        const Control &control = person.at(c.control, index);
                        const bool isOne = control.checked() || control.listIndex() == 1;
                        EXPECT_EQ(isOne, (c.bits[row] == set) != c.inverted)
                            << "mode " << mode << ' ' << c.control << index << " bit " << set;
                    }
                });
            }
        }
    }
}

TEST_F(EditorTest, FieldsOfSeveralBitsShowTheirValue) {
    const struct {
        Byte mode;
        const char *control;
        Integer index;
        Long address;
        int value;
        Long shown;
    } values[] = {
        {1, "Combo1", noIndex, t, 0x7F, 3},     {2, "Combo1", noIndex, t, 0xA0, 5},
        {1, "Combo2", noIndex, t + 2, 0xFE, 6}, {2, "Combo2", noIndex, t + 2, 1, 1},
        {41, "Combo1", 1, 4159, 0xE5, 14},      {51, "Combo1", 0, 4159, 0x1F, 1},
        {26, "Combo2", noIndex, t, 0x0C, 1},    {26, "Combo2", noIndex, t, 0xF2, 6},
    };
    for (const auto &c : values) {
        device(c.mode);
        poke(c.address, {c.value});
        open([&](Person &person) { EXPECT_EQ(person.at(c.control, c.index).listIndex(), c.shown) << int(c.mode); });
    }
}

} // namespace
} // namespace kx3::test
