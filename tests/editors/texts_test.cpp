// What the editors show: frames, rows, captions, items, and what is greyed.
#include "editors/editor_driver.h"
#include "editors/layout.h"

#include <map>
#include <set>

namespace kx3::test {
namespace {

/// The pages of the editors give captions without the blanks and colons at their ends.
TEST_F(EditorTest, CaptionsWithUnusualEnds) {
    const std::set<std::string> expected = {
        "",
        "Option Register 0 ",
        "Option Register 1 ",
        "Option Register 2 ",
        "Write Lock Protection Bits ",
        "OSCDN(Eable The oscillator is reduced) ",
        "EN6T(Eable MCU runs at 6T mode) ",
        "HWENW(Eable WDT when power-up) ",
        "HWENW(Eable WDT prescaler when power-up) ",
        "Boot Block Lock :",
        "      Lock Size :",
        "Debug Lock Bit :",
        "SPI Read Flash :",
        "  COP WTD System :",
        " COP WTD System :",
        "     On Chip ROM :",
        "  On Chip EEPROM :",
        " On Chip EEPROM :",
        " EEPROM mapped at:",
        "EEPROM mapped at :",
        "EEPROM Security :",
    };
    std::set<std::string> unusual;
    for (const Byte mode : editorModes) {
        device(mode);
        open([&](Person &person) {
            for (const Control &control : person.form.controls()) {
                const bool isLabel = control.kind() == ControlKind::label;
                const bool isNamed =
                    isLabel || control.kind() == ControlKind::frame || control.kind() == ControlKind::checkBox;
                if (!isNamed || !person.form.isShown(control)) continue;
                std::u16string_view name = control.caption();
                if (name.ends_with(u':')) name.remove_suffix(1);
                const bool hasColon = name != control.caption();
                if (name.empty() || name != trimBlanks(name) || hasColon != isLabel)
                    unusual.insert(toUtf8(control.caption()));
            }
        });
    }
    EXPECT_EQ(unusual, expected);
}

TEST_F(EditorTest, TheFormOfEachModeIsItsLayout) {
    for (int mode = 0; mode < 256; ++mode) {
        SCOPED_TRACE(mode);
        device(static_cast<Byte>(mode));
        const auto layout = editorLayout({static_cast<Byte>(mode), 2048, 20, 0}, {});
        bool opened = false;
        open([&](Person &person) {
            opened = true;
            const Form &form = person.form;
            ASSERT_TRUE(layout);
            EXPECT_EQ(form.name(), layout->name);
            std::map<const Control *, std::vector<const Control *>> rows;
            for (std::size_t i = 0; i < layout->frames.size(); ++i)
                EXPECT_EQ(layout->frames[i].name, "Frame" + std::to_string(i + 1));
            for (const Field &field : layout->fields) {
                const Control &control = person.at(field.control.name, field.control.index);
                const FrameLayout &frame = layout->frames[field.frame];
                EXPECT_EQ(control.parent(), form.find(frame.name));
                EXPECT_EQ(control.parent()->caption(), frame.caption);
                EXPECT_EQ(control.parent()->columns(), frame.columns);
                EXPECT_EQ(control.parent()->parent(),
                          frame.parent ? form.find(layout->frames[*frame.parent].name) : nullptr);
                EXPECT_EQ(form.isShown(control), layout->isShown(field)) << control.name() << control.index();
                const Control &named = control.label() != nullptr ? *control.label() : control;
                EXPECT_EQ(named.caption(), field.caption);
                EXPECT_EQ(named.enabled(), control.enabled());
                const bool isFollower = !field.enabledBy.empty();
                EXPECT_EQ(control.enabled(), isFollower ? person.at(field.enabledBy).checked() : field.enabled);
                if (layout->isShown(field)) rows[control.parent()].push_back(&control);
            }
            for (const auto &[frame, fields] : rows) {
                std::vector<const Control *> shown;
                for (const FormRow &row : form.rows(frame))
                    shown.push_back(row.field);
                EXPECT_EQ(shown, fields);
            }
        });
        EXPECT_EQ(opened, std::count(std::begin(editorModes), std::end(editorModes), mode) == 1);
    }
}

TEST_F(EditorTest, TitlesButtonsAndPositions) {
    const struct {
        Byte mode;
        Long language;
        const char16_t *title, *ok, *cancel;
        StartPosition position;
    } cases[] = {
        {1, 0, u"Edit Configuration\\User_Code", u"OK", u"Cancel", StartPosition::centerOwner},
        {2, 33000, u"Редактировать Configuration \\ User_Code ", u"OK", u"Отменить", StartPosition::centerOwner},
        {12, 3000, u"配置位编辑", u"确定", u"取消", StartPosition::centerOwner},
        {13, 6000, u"配置位編輯", u"確定", u"取消\t", StartPosition::centerScreen},
        {64, 15000, u"Edit Configuration", u"OK", u"Cancel", StartPosition::centerScreen},
    };
    for (const auto &c : cases) {
        device(c.mode);
        plugin.host.Language(0) = c.language;
        open([&](Person &person) {
            EXPECT_EQ(person.form.caption(), c.title);
            EXPECT_EQ(person.form.defaultButton()->caption(), c.ok);
            EXPECT_EQ(person.form.cancelButton()->caption(), c.cancel);
            EXPECT_EQ(person.form.startPosition(), c.position);
        });
    }
    device(50);
    open([](Person &person) {
        EXPECT_EQ(person.at("Frame3").columns(), 4) << "two lines of four periods";
        EXPECT_EQ(person.form.defaultButton(), &person.at("OKButton"));
    });
    for (const Byte mode : {Byte{45}, Byte{64}}) {
        device(mode);
        open([](Person &person) {
            EXPECT_EQ(person.form.defaultButton(), &person.at("OKButton", 0));
            EXPECT_EQ(person.form.cancelButton(), &person.at("CancelButton", 1));
        });
    }
}

TEST_F(EditorTest, StateWordsOfTheLanguage) {
    const struct {
        Byte mode;
        Long language;
        Integer index;
        std::vector<std::u16string> items;
    } cases[] = {
        {50, 0, 0, {u"Enable(0)", u"Disable(1)"}},      {23, 3000, 3, {u"有效(0)", u"无效(1)"}},
        {12, 9000, 0, {u"Enable (0)", u"Disable (1)"}}, {39, 0, 1, {u"Enable", u"Disable"}},
        {51, 27000, 3, {u"Aktif", u"Devre dışı"}},
    };
    for (const auto &c : cases) {
        device(c.mode);
        plugin.host.Language(0) = c.language;
        open([&](Person &person) { EXPECT_EQ(person.at("Combo1", c.index).items(), c.items) << int(c.mode); });
    }
}

TEST_F(EditorTest, SizesThatCanBeLockedAreKeptWhereThereIsNone) {
    const struct {
        Long tlength;
        std::vector<std::u16string> items;
    } cases[] = {{8192, {u"0 k", u" 8k"}}, {1536, {u"0 k", u" 1.5k"}}, {40000, {}}};
    plugin.attach(50000);
    for (const auto &c : cases) {
        device(22, c.tlength);
        poke(c.tlength, {5 << 1});
        open([&](Person &person) {
            const Control &sizes = person.at("Combo2");
            EXPECT_EQ(sizes.items(), c.items) << c.tlength;
            EXPECT_EQ(sizes.enabled(), !c.items.empty());
            person.ok();
        });
        EXPECT_EQ(peek(c.tlength, 1), std::vector<int>{c.items.empty() ? 5 << 1 : 7 << 1});
    }
}

} // namespace
} // namespace kx3::test
