// The hexadecimal boxes: keys, paste, length rules, refusals.
#include "editors/editor_driver.h"

namespace kx3::test {
namespace {

constexpr Long tlength = 2048;

TEST_F(EditorTest, KeysOvertypeDigitsAndNothingElsePasses) {
    device(64);
    poke(tlength - 40, {0x78, 0x56, 0x34, 0x12});
    open([](Person &person) {
        const Control &box = person.at("Text1", 0);
        ASSERT_EQ(box.text(), u"12345678");
        for (const char16_t refused : {u'g', u'G', u' ', u'-', u'/', u':', u'@', u'`', u'\x8', u'\x16', u'\0'})
            EXPECT_FALSE(person.form.keyPress(box, refused)) << static_cast<int>(refused);
        EXPECT_TRUE(person.form.keyDown(box, keyDelete)) << "swallowed";
        EXPECT_EQ(box.text(), u"12345678");

        EXPECT_TRUE(person.form.keyPress(box, u'a'));
        EXPECT_EQ(box.text(), u"a2345678") << "the digit behind the caret is replaced";
        EXPECT_TRUE(person.form.selectText(box, 2, 4));
        EXPECT_TRUE(person.form.type(box, u"F0"));
        EXPECT_EQ(box.text(), u"a2F05678") << "one digit a key, however many are selected";
        EXPECT_EQ(box.selectionStart(), 4);

        EXPECT_TRUE(person.form.keyDown(box, keyEnd));
        EXPECT_FALSE(person.form.keyPress(box, u'9')) << "a full box takes no ninth digit";
        EXPECT_EQ(box.text(), u"a2F05678");
    });
}

TEST_F(EditorTest, TheBoundaryBoxTakesAnyKey) {
    device(2);
    poke(tlength + 3, {0x1F});
    open([](Person &person) {
        const Control &box = person.at("Text1");
        EXPECT_TRUE(person.form.type(box, u"g\b7"));
        EXPECT_EQ(box.text(), u"71F");
        EXPECT_TRUE(person.form.keyDown(box, keyDelete));
        EXPECT_EQ(box.text(), u"7F");
    });
}

TEST_F(EditorTest, LengthRulesWorkOnEveryChange) {
    const struct {
        Byte mode;
        Integer index;
        const char16_t *pasted, *shown;
    } cases[] = {
        {4, 1, u"", u"FFFF"},         {4, 1, u"12345", u"FFFF"},          {4, 1, u"0", u"0"},
        {15, 1, u"", u"0"},           {15, 1, u"1234567", u"0"},          {15, 1, u"123456", u"123456"},
        {50, noIndex, u"ABC", u"AB"}, {64, 6, u"123456789", u"12345678"}, {45, 4, u"123456789", u"12345678"},
    };
    for (const auto &c : cases) {
        device(c.mode);
        poke(2 * tlength + 4, {1, 0x11, 0x11, 0, 0, 0x11});
        open([&](Person &person) {
            person.paste("Text1", c.index, c.pasted);
            EXPECT_EQ(person.at("Text1", c.index).text(), c.shown);
        });
    }
}

TEST_F(EditorTest, OkRefusesABadEntryAndWritesNothing) {
    const struct {
        Byte mode;
        Integer index;
        const char16_t *text;
        const char16_t *message;
    } cases[] = {
        {2, noIndex, u"", u"IAP boundary: not a hexadecimal number"},
        {2, noIndex, u"-1", u"IAP boundary: not a hexadecimal number"},
        {2, noIndex, u"123456789", u"IAP boundary: not a hexadecimal number"},
        {50, noIndex, u"&H", u"JTAGUID: not a hexadecimal number"},
        {4, 1, u"12 4", u"Calib value write to buffer address: not a hexadecimal number"},
        {15, 1, u"0x1F", u"Calib value write to buffer address: not a hexadecimal number"},
        {64, 6, u"1234567", u"CCFG_PROT_31_0: 8 hexadecimal digits are needed"},
        {64, 0, u"1234567G", u"BL_CONFIG: 8 hexadecimal digits are needed"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << int(c.mode));
        device(c.mode);
        poke(2 * tlength + 4, {1});
        const auto before = image();
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
        EXPECT_TRUE(image() == before);
        EXPECT_TRUE(plugin.ui->boxes.empty());
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
    EXPECT_EQ(peek(2 * tlength + 5, 2), (std::vector<int>{0xFF, 0}));
}

} // namespace
} // namespace kx3::test
