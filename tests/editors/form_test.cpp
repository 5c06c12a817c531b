// The form model by itself: who may act on what, events, text editing, life.
#include "base/error.h"
#include "forms/form.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

class Sample final : public Form {
  public:
    Sample() : Form("sample") {}
    std::vector<std::string> events;
    bool failOnClick = false;
    bool failOnLoad = false;

    using Form::control;

  protected:
    void onLoad() override {
        const Control &outer = add(ControlKind::frame, "Outer", noIndex, u"Outer");
        const Control &inner = add(ControlKind::frame, "Inner", noIndex, u"Inner", &outer);
        const Control &label = add(ControlKind::label, "Label", noIndex, u"Box:", &inner);
        Control &box = add(ControlKind::textBox, "Box", noIndex, {}, &inner);
        box.setLabel(&label);
        box.setText(u"abc");
        add(ControlKind::label, "Note", noIndex, u"A note", &outer);
        Control &list = add(ControlKind::comboBox, "List", 2, {}, &outer);
        list.setItems(std::make_shared<ItemList::element_type>(ItemList::element_type{u"one", u"two"}));
        add(ControlKind::checkBox, "Check", noIndex, u"Check", &outer);
        add(ControlKind::commandButton, "Button", noIndex, u"Button");
        if (failOnLoad) raise(ErrorNumber::overflow);
    }
    void onClick(Control &control) override {
        events.push_back("click " + control.name());
        if (failOnClick) raise(ErrorNumber::subscript);
    }
    void onChange(Control &control) override { events.push_back("change " + control.name()); }
};

class FormTest : public ::testing::Test {
  protected:
    FormTest() {
        form.load();
        form.events.clear();
    }
    const Control &at(std::string_view name, Integer index = noIndex) { return *form.find(name, index); }
    std::u16string text() { return std::u16string(at("Box").text()); }

    Sample form;
};

TEST_F(FormTest, ActionsHaveEffectsEventsAndANewRevision) {
    const auto before = form.revision();
    EXPECT_TRUE(form.choose(at("List", 2), 1));
    EXPECT_EQ(at("List", 2).text(), u"two");
    EXPECT_TRUE(form.click(at("Check")));
    EXPECT_TRUE(at("Check").checked());
    EXPECT_TRUE(form.click(at("Button")));
    EXPECT_EQ(form.focus(), &at("Button"));
    EXPECT_TRUE(form.paste(at("Box"), u"x"));
    EXPECT_EQ(form.events, (std::vector<std::string>{"click List", "click Check", "click Button", "change Box"}));
    EXPECT_GT(form.revision(), before);
}

TEST_F(FormTest, ActionsThatNobodyCanDoAreRefused) {
    Sample other;
    other.load();
    EXPECT_FALSE(form.choose(at("List", 2), 2));
    EXPECT_FALSE(form.choose(at("List", 2), -1));
    EXPECT_FALSE(form.choose(at("Check"), 0));
    EXPECT_FALSE(form.click(at("Box")));
    EXPECT_FALSE(form.keyPress(at("Check"), u'x'));
    EXPECT_FALSE(form.setFocus(at("Note")));
    EXPECT_FALSE(form.setFocus(at("Outer")));
    EXPECT_FALSE(form.click(*other.find("Button"))) << "a control of another form";
    form.control("Inner").setVisible(false);
    EXPECT_FALSE(form.paste(at("Box"), u"x")) << "inside a hidden frame";
    form.control("Outer").setEnabled(false);
    EXPECT_FALSE(form.click(at("Check"))) << "inside a disabled frame";
    EXPECT_TRUE(form.close());
    EXPECT_FALSE(form.click(at("Button"))) << "closed";
    EXPECT_FALSE(form.close());
    EXPECT_EQ(form.events, std::vector<std::string>{});
}

TEST_F(FormTest, WhatAFormDoesNotHaveIsSaid) {
    EXPECT_EQ(form.find("None"), nullptr);
    EXPECT_EQ(form.find("List", 3), nullptr);
    EXPECT_EQ(form.defaultButton(), nullptr);
    EXPECT_EQ(form.cancelButton(), nullptr);
    EXPECT_THROW((void)form.control("None"), Error);
    for (const Long index : {-2, 2})
        EXPECT_THROW(form.control("List", 2).setListIndex(index), Error) << index;
}

TEST_F(FormTest, TextEditing) {
    const struct {
        const char *promise;
        Long start, length;
        std::u16string keys;
        const char16_t *text;
        Long caret;
    } cases[] = {
        {"a character goes in at the caret", 1, 0, u"x", u"axbc", 2},
        {"a character replaces the selection", 0, 2, u"x", u"xc", 1},
        {"backspace takes the character before the caret", 2, 0, u"\b", u"ac", 1},
        {"backspace takes the selection", 1, 2, u"\b", u"a", 1},
        {"backspace at the start does nothing", 0, 0, u"\b", u"abc", 0},
        {"other control characters do nothing", 0, 3, u"\r", u"abc", 0},
        {"a full box takes no more", 3, 0, u"xyz", u"abcxy", 5},
        {"a selection beyond the text is cut", 2, 99, u"x", u"abx", 3},
        {"a selection before the text is cut", -5, 0, u"x", u"xabc", 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.promise);
        form.control("Box").setText(u"abc");
        form.control("Box").setMaxLength(5);
        form.selectText(at("Box"), c.start, c.length);
        form.type(at("Box"), c.keys);
        EXPECT_EQ(text(), c.text);
        EXPECT_EQ(at("Box").selectionStart(), c.caret);
        EXPECT_EQ(at("Box").selectionLength(), at("Box").text() == u"abc" ? c.length : 0);
    }
}

TEST_F(FormTest, EditingKeys) {
    const Control &box = at("Box");
    const auto caretAfter = [&](Integer key) { return form.keyDown(box, key) ? box.selectionStart() : -1; };
    EXPECT_EQ(caretAfter(keyEnd), 3);
    EXPECT_TRUE(form.keyDown(box, keyDelete));
    EXPECT_EQ(text(), u"abc") << "nothing behind the caret";
    EXPECT_EQ(caretAfter(keyLeft), 2);
    EXPECT_TRUE(form.keyDown(box, keyDelete));
    EXPECT_EQ(text(), u"ab");
    EXPECT_EQ(caretAfter(keyHome), 0);
    EXPECT_EQ(caretAfter(keyLeft), 0);
    EXPECT_EQ(caretAfter(keyRight), 1);
    form.selectText(box, 0, 2);
    EXPECT_EQ(caretAfter(keyRight), 2) << "to the end of the selection";
    form.selectText(box, 1, 1);
    EXPECT_EQ(caretAfter(keyLeft), 1) << "to its beginning";
    EXPECT_EQ(caretAfter(13), -1) << "left to the presenter";
}

TEST_F(FormTest, PasteIsCutToTheMaximumLength) {
    form.control("Box").setMaxLength(4);
    form.selectText(at("Box"), 1, 1);
    EXPECT_TRUE(form.paste(at("Box"), u"12345"));
    EXPECT_EQ(text(), u"a12c");
    EXPECT_FALSE(form.paste(at("Box"), u"9"));
    form.selectText(at("Box"), 0, 4);
    EXPECT_TRUE(form.paste(at("Box"), u"")) << "deletes the selection";
    EXPECT_EQ(text(), u"");
}

TEST_F(FormTest, AnErrorOfAHandlerClosesTheFormAndIsRaisedOnce) {
    form.failOnClick = true;
    EXPECT_FALSE(form.click(at("Button")));
    EXPECT_FALSE(form.loaded());
    EXPECT_THROW(form.rethrowFailure(), Error);
    EXPECT_NO_THROW(form.rethrowFailure());
}

TEST_F(FormTest, LoadingTwiceIsRefusedAndAFailedLoadLeavesTheFormClosed) {
    form.choose(at("List", 2), 1);
    EXPECT_THROW(form.load(), Error);
    EXPECT_EQ(at("List", 2).listIndex(), 1) << "the open form is as it was";
    form.close();
    form.failOnLoad = true;
    EXPECT_THROW(form.load(), Error);
    EXPECT_FALSE(form.loaded());
    form.failOnLoad = false;
    form.load();
    EXPECT_EQ(at("List", 2).listIndex(), -1) << "every load builds the controls anew";
}

TEST_F(FormTest, RowsAreFieldsWithTheirLabelsInOrder) {
    const auto names = [&](const Control *frame) {
        std::vector<std::string> found;
        for (const FormRow &row : form.rows(frame))
            found.push_back((row.label != nullptr ? row.label->name() + "+" : "") + row.field->name());
        return found;
    };
    EXPECT_EQ(names(nullptr), (std::vector<std::string>{"Outer", "Button"}));
    EXPECT_EQ(names(&at("Outer")), (std::vector<std::string>{"Inner", "Note", "List", "Check"}));
    EXPECT_EQ(names(&at("Inner")), (std::vector<std::string>{"Label+Box"}));
    form.control("Box").setVisible(false);
    EXPECT_EQ(names(&at("Inner")), std::vector<std::string>{});
}

} // namespace
} // namespace kx3::test
