// The form model by itself: who may act on what, text editing, life, and what a presenter has to show.
#include "editors/sketch_form.h"
#include "forms/form_view.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>

namespace kx3::test {
namespace {

class FormTest : public ::testing::Test {
  protected:
    Sketch form{"[Outer [Inner Box: ] 'Note List? Check ] (Button"};
};

TEST_F(FormTest, WhatAPersonCanDo) {
    const Control &list = form.at("List?");
    const Control &box = form.at("Box:");
    Sketch other("(Button");
    EXPECT_TRUE(form.choose(list, 1) && form.click(form.at("Check")) && form.click(form.at("Button")));
    EXPECT_TRUE(form.paste(box, u"x"));
    EXPECT_EQ(form.events, (std::vector<std::string>{"click List?", "click Check", "click Button", "change Box:"}));
    EXPECT_EQ(list.text(), u"two");
    EXPECT_TRUE(form.at("Check").checked());
    EXPECT_EQ(form.focus(), &form.at("Button"));
    EXPECT_FALSE(form.choose(list, 2) || form.choose(list, -1) || form.choose(box, 0)) << "no item";
    EXPECT_FALSE(form.click(box) || form.keyPress(list, u'x') || form.click(other.at("Button"))) << "no such control";
    EXPECT_FALSE(form.setFocus(form.at("Note")) || form.setFocus(form.at("Outer"))) << "no field";
    form.control("Inner").setVisible(false);
    EXPECT_FALSE(form.paste(box, u"x")) << "inside a hidden frame";
    form.control("Outer").setEnabled(false);
    EXPECT_FALSE(form.click(form.at("Check"))) << "inside a disabled frame";
    EXPECT_TRUE(form.close());
    EXPECT_FALSE(form.close() || form.click(form.at("Button"))) << "closed";
    EXPECT_THROW((void)form.control("None"), Error);
    for (const Long index : {-2, 2})
        EXPECT_THROW(form.control("List?").setListIndex(index), Error) << index;
}

TEST_F(FormTest, TextEditing) {
    // In a box of five characters that holds "abc": what is selected, what is typed, and what the box holds then
    // and where its caret stands. Capitals are keys: Home, End, Left, Right, Delete, and one that is unknown.
    const struct {
        Long start, length;
        std::string_view typed;
        const char16_t *text;
        Long caret;
    } cases[] = {{1, 0, "x", u"axbc", 2},    {0, 2, "x", u"xc", 1},   {2, 99, "x", u"abx", 3}, {-5, 0, "x", u"xabc", 1},
                 {3, 0, "xyz", u"abcxy", 5}, {0, 3, "\r", u"abc", 0}, {2, 0, "\b", u"ac", 1},  {1, 2, "\b", u"a", 1},
                 {0, 0, "\b", u"abc", 0},    {1, 0, "D", u"ac", 1},   {0, 2, "D", u"c", 0},    {3, 0, "D", u"abc", 3},
                 {1, 0, "E", u"abc", 3},     {1, 1, "H", u"abc", 0},  {2, 0, "L", u"abc", 1},  {1, 1, "L", u"abc", 1},
                 {0, 0, "L", u"abc", 0},     {0, 0, "R", u"abc", 1},  {0, 2, "R", u"abc", 2},  {3, 0, "R", u"abc", 3},
                 {1, 0, "?", u"abc", 1}};
    const std::map<char, Integer> keys{{'H', keyHome},  {'E', keyEnd},    {'L', keyLeft},
                                       {'R', keyRight}, {'D', keyDelete}, {'?', 13}};
    const Control &box = form.at("Box:");
    const auto select = [&](Long start, Long length) {
        form.control("Box:").setText(u"abc");
        form.control("Box:").setMaxLength(5);
        EXPECT_TRUE(form.selectText(box, start, length));
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.typed);
        select(c.start, c.length);
        for (const char typed : c.typed)
            if (const auto key = keys.find(typed); key == keys.end())
                form.keyPress(box, static_cast<char16_t>(typed));
            else
                EXPECT_EQ(form.keyDown(box, key->second), typed != '?');
        EXPECT_EQ(box.text(), c.text);
        EXPECT_EQ(box.selectionStart(), c.caret);
    }
    select(1, 1);
    EXPECT_TRUE(form.paste(box, u"12345"));
    EXPECT_EQ(box.text(), u"a123c") << "cut to the maximum length";
    EXPECT_FALSE(form.paste(box, u"9") || form.type(box, u"9"));
    select(0, 3);
    EXPECT_TRUE(form.paste(box, u"")) << "deletes the selection";
    EXPECT_EQ(box.text(), u"");
}

TEST_F(FormTest, ErrorsCloseTheFormAndAreRaisedOnce) {
    form.clicked = [](Control &) { raise(ErrorNumber::subscript); };
    form.failOnLoad = true;
    EXPECT_FALSE(form.click(form.at("Button")) || form.loaded());
    EXPECT_THROW(form.rethrowFailure(), Error);
    EXPECT_NO_THROW(form.rethrowFailure());
    EXPECT_THROW(form.load(), Error);
    EXPECT_FALSE(form.loaded());
    form.clicked = [](Control &) {};
    form.failOnLoad = false;
    form.load();
    form.check(form.at("Check"), true);
    EXPECT_THROW(form.load(), Error) << "it is open";
    EXPECT_TRUE(form.at("Check").checked()) << "and as it was";
    form.close();
    form.load();
    EXPECT_FALSE(form.at("Check").checked()) << "every load builds the controls anew";
}

TEST_F(FormTest, AViewTellsWhatToShowAnew) {
    FormView view(form);
    const auto changes = [&] {
        const FormChanges taken = view.takeChanges();
        std::string names = taken.structure ? "all " : "";
        for (const Control *control : taken.controls)
            if (!taken.structure) names += control->name() + ' ';
        return names + (taken.focus == nullptr ? "" : "-> " + taken.focus->name());
    };
    const std::pair<std::function<void()>, const char *> steps[] = {
        {[] {}, "all "},
        {[] {}, ""},
        {[&] { form.type(form.at("Box:"), u"x"), form.setFocus(form.at("Box:")); }, "Box: -> Box:"},
        {[&] { form.control("Inner").setEnabled(false); }, "Inner 'Box: Box: "},
        {[&] { form.refuse(form.control("Box:"), form.at("Check"), u"No"); }, "all -> Check"},
        {[&] { form.clearRefusal(); }, "all "},
        {[&] { form.setCaption(u"x"); }, "all "},
        {[&] { form.control("Note").setCaption(u"x"); }, "all "},
        {[&] { form.control("List?").setItems({}); }, "all "},
        {[&] { form.control("Outer").setVisible(false); }, "all "},
    };
    EXPECT_EQ(view.layout().placements.size(), 9U);
    for (const auto &[change, expected] : steps) {
        change();
        EXPECT_EQ(changes(), expected);
    }
    EXPECT_EQ(view.layout().placements.size(), 1U) << "the button";
    EXPECT_TRUE(view.open());
    form.close();
    EXPECT_FALSE(view.open());
    form.load();
    EXPECT_FALSE(view.open()) << "another load";
}

} // namespace
} // namespace kx3::test
