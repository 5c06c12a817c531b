// Editors beyond what the cases as data hold: refused entries, errors, how they open and close.
#include "editors/editor_driver.h"

#include <limits>

namespace kx3::test {
namespace {

TEST_F(EditorTest, FramesAndLabelsAreNumbered) {
    for (const Byte mode : editorModes) {
        device(mode);
        open([](Person &person) {
            int frames = 0;
            for (const Control &control : person.form.controls())
                if (control.kind() == ControlKind::frame) {
                    EXPECT_EQ(control.name(), "Frame" + std::to_string(++frames));
                } else if (control.kind() == ControlKind::label) {
                    EXPECT_EQ(control.name().find_first_not_of("0123456789", 5), std::string::npos) << control.name();
                }
        });
    }
}

TEST_F(EditorTest, LockSizesFollowTheDeviceAndBitsWithoutAnItemAreKept) {
    const struct {
        Long tlength;
        Byte stored;
        std::vector<std::u16string> items;
        Long shown;
        Byte after;
    } cases[] = {
        {8192, 5 << 1, {u"0 k", u" 8k"}, -1, 7 << 1},
        {1536, 6 << 1, {u"0 k", u" 1.5k"}, 1, 0},
        {40000, 5 << 1, {}, -1, 5 << 1},
    };
    plugin.attach(50000);
    for (const auto &c : cases) {
        device(22, c.tlength);
        at(c.tlength) = c.stored;
        open([&](Person &person) {
            const Control &list = person.at("Combo2");
            EXPECT_EQ(list.items(), c.items) << c.tlength;
            EXPECT_EQ(list.listIndex(), c.shown);
            EXPECT_EQ(list.enabled(), !c.items.empty());
            person.ok();
        });
        EXPECT_EQ(at(c.tlength), c.after);
    }
}

TEST_F(EditorTest, WhatFollowsTheDeviceOrTheEditor) {
    for (const auto &[pins, caption] : {std::pair(Integer{64}, u"JTAGEN:"), {Integer{44}, u"RSTDISBL:"}}) {
        device(18, tlength, pins);
        open([text = caption](Person &person) { EXPECT_EQ(person.at("Combo2", 6).label()->caption(), text); });
    }
    for (const auto &[mode, position] :
         {std::pair(Byte{12}, StartPosition::centerOwner), {Byte{64}, StartPosition::centerScreen}}) {
        device(mode);
        open([&, p = position](Person &person) { EXPECT_EQ(person.form.startPosition(), p); });
    }
    device(50);
    open([](Person &person) { EXPECT_EQ(person.at("Frame3").columns(), 4) << "two lines of four periods"; });
}

TEST_F(EditorTest, OkRefusesABadEntryAndWritesNothing) {
    const struct {
        Byte mode;
        Integer index;
        const char16_t *text;
        const char16_t *message;
    } cases[] = {
        {2, noIndex, u"", u"IAP boundary: not a hexadecimal number"},
        {2, noIndex, u"123456789", u"IAP boundary: not a hexadecimal number"},
        {50, noIndex, u"&H", u"JTAGUID: not a hexadecimal number"},
        {4, 1, u"12 4", u"Calib value write to buffer address: not a hexadecimal number"},
        {64, 6, u"1234567", u"CCFG_PROT_31_0: 8 hexadecimal digits are needed"},
        {64, 0, u"1234567G", u"BL_CONFIG: 8 hexadecimal digits are needed"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << int(c.mode));
        device(c.mode);
        at(2 * tlength + 4) = 1;
        const Bytes before = plugin.buffer();
        open([&](Person &person) {
            person.chooseAll("Combo1", 0);
            person.paste("Text1", c.index, c.text);
            person.ok();
            EXPECT_TRUE(person.form.loaded());
            EXPECT_EQ(person.form.message(), c.message);
            EXPECT_EQ(person.form.focus(), &person.at("Text1", c.index));
            EXPECT_TRUE(person.at("Text1", c.index).marked());

            person.paste("Text1", c.index, u"1");
            EXPECT_EQ(person.form.message(), u"") << "a new entry takes the message back";
            EXPECT_FALSE(person.at("Text1", c.index).marked());
        });
        EXPECT_TRUE(plugin.buffer() == before);
    }
}

TEST_F(EditorTest, ABadEntryInAGreyedBoxLeadsToItsCheckBox) {
    device(4);
    plugin.host.Language(0) = 3000;
    open([](Person &person) {
        person.check("Check1", noIndex, true);
        person.paste("Text1", 1, u"zz");
        person.check("Check1", noIndex, false);
        person.ok();
        EXPECT_EQ(person.form.focus(), &person.at("Check1"));
        EXPECT_EQ(person.form.message(), u"Calib value write to buffer address：不是十六进制数");
        person.check("Check1", noIndex, true);
        person.paste("Text1", 1, u"ff");
        person.ok();
        EXPECT_FALSE(person.form.loaded());
    });
    EXPECT_EQ(at(2 * tlength + 5), 0xFF);
    EXPECT_EQ(at(2 * tlength + 6), 0);
}

TEST_F(EditorTest, TheInstanceIsKeptAndReadsTheBytesAnew) {
    device(12);
    Form *first = nullptr;
    at(2 * tlength) = 0;
    open([&](Person &person) {
        first = &person.form;
        person.choose("Combo1", 0, 1);
        EXPECT_TRUE(person.form.close()) << "closed by the frame";
    });
    EXPECT_EQ(at(2 * tlength), 0);
    open([&](Person &person) {
        EXPECT_EQ(&person.form, first);
        EXPECT_EQ(person.at("Combo1", 0).listIndex(), 0);
        EXPECT_EQ(person.form.generation(), 2U);
    });
}

TEST_F(EditorTest, ThePresenterMayReturnOrThrowWithTheFormOpen) {
    device(12);
    Form *form = nullptr;
    open([&](Person &person) { form = &person.form; });
    EXPECT_FALSE(form->loaded());
    EXPECT_THROW(open([](Person &) { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_FALSE(form->loaded());
    EXPECT_EQ(openError(), std::nullopt);
}

TEST_F(EditorTest, AnOpenEditorCannotBeOpenedAgain) {
    device(12);
    at(2 * tlength) = 0;
    open([&](Person &person) {
        person.choose("Combo1", 0, 1);
        EXPECT_EQ(openError(), ErrorNumber::invalidCall);
        device(50);
        EXPECT_EQ(openError([](Person &inner) { inner.cancel(); }), std::nullopt) << "another editor may open over it";
        ASSERT_TRUE(person.form.loaded());
        person.ok();
    });
    EXPECT_EQ(at(2 * tlength), 0x89) << "OK writes where the load has read";
}

TEST_F(EditorTest, HostileLengthsAreOrderlyErrors) {
    using enum ErrorNumber;
    constexpr Long most = std::numeric_limits<Long>::max();
    constexpr Long least = std::numeric_limits<Long>::min();
    const std::tuple<Byte, Long, ErrorNumber> cases[] = {
        {1, -1, subscript},     {1, most, subscript},        {3, -1, subscript},           {3, most / 2, subscript},
        {3, least, overflow},   {3, most / 2 + 1, overflow}, {12, most / 2 + 1, overflow}, {13, least / 2, subscript},
        {22, -1, subscript},    {22, most, subscript},       {23, most - 3, subscript},    {39, -1, subscript},
        {39, least, subscript}, {41, most, subscript},       {45, -8, subscript},          {46, 0, subscript},
        {46, 47, subscript},    {49, least + 47, overflow},  {50, 11195, subscript},       {51, 11200, subscript},
        {62, 5596, subscript},  {64, 39, subscript},         {64, least, overflow},
    };
    for (const auto &[mode, length, error] : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << int(mode) << " length " << length);
        device(mode, length);
        const Bytes before = plugin.buffer();
        EXPECT_EQ(openError([](Person &) { ADD_FAILURE() << "the editor opened"; }), error);
        EXPECT_TRUE(plugin.buffer() == before);
    }
    for (const Byte mode : {Byte{1}, Byte{3}, Byte{13}, Byte{22}, Byte{50}}) {
        device(mode, 0);
        EXPECT_EQ(openError([](Person &person) { person.ok(); }), std::nullopt) << "an image of no bytes is no error";
    }
}

TEST_F(EditorTest, AnUnknownLanguageChangesNothing) {
    for (const Byte mode : editorModes) {
        device(mode);
        const Bytes before = plugin.buffer();
        for (const Long language : {1, -3000, 36000, std::numeric_limits<Long>::max()}) {
            plugin.host.Language(0) = language;
            EXPECT_EQ(openError(), ErrorNumber::resourceNotFound) << int(mode);
        }
        EXPECT_TRUE(plugin.buffer() == before) << int(mode);
    }
}

TEST_F(EditorTest, AnErrorOfOkClosesTheEditorAndIsRaised) {
    device(13);
    EXPECT_EQ(openError([&](Person &) { plugin.mpu.freesharebuffermpu6(); }), ErrorNumber::invalidCall)
        << "an open dialog holds the blocks";
    EXPECT_EQ(openError([&](Person &person) {
                  plugin.apartment.blocks().UnmapDeviceBuffer();
                  EXPECT_FALSE(person.form.click(*person.form.defaultButton()));
                  EXPECT_FALSE(person.form.loaded());
              }),
              ErrorNumber::subscript);
}

} // namespace
} // namespace kx3::test
