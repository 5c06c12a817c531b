// Where the controls of a form stand in a dialog, and what they are called there.
#include "editors/sketch_form.h"
#include "forms/dialog_layout.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

/// "control column.block line.cell" of each placement, and "<" behind a label, ">" behind its field.
std::string placesOf(const Form &form) {
    std::string text;
    const auto number = [](Integer value) { return std::to_string(value); };
    for (const Placement &place : dialogLayout(form).placements)
        text += place.control->name() + ' ' + number(place.column) + '.' + number(place.block) + ' ' +
                number(place.line) + '.' + number(place.cell) + (" <>"[static_cast<int>(place.part)]) + ' ';
    return text;
}

TEST(DialogLayout, FramesAndRunsOfRowsAreBlocksWithGrids) {
    Sketch form("[3A a1: a2 a3? a4 [B (b ] a5 ] (OK -[gone inside ] (Cancel c");
    EXPECT_EQ(placesOf(form),
              "A 0.0 0.0  'a1: 0.1 0.0< a1: 0.1 0.0> a2 0.1 0.1  'a3? 0.1 0.2< a3? 0.1 0.2> a4 0.1 1.0  "
              "B 0.2 0.0  b 0.3 0.0  a5 0.4 0.0  OK -1.6 0.0  Cancel -1.6 0.1  c 0.5 0.0  ");
    EXPECT_EQ(dialogLayout(form).height, 3 + 2 * 2 + (3 + 2) + 2 + 2);
    for (const char *name : {"'a1:", "a2", "OK"})
        form.control(name).setVisible(false);
    EXPECT_EQ(placesOf(form), "A 0.0 0.0  a1: 0.1 0.0> 'a3? 0.1 0.1< a3? 0.1 0.1> a4 0.1 0.2  "
                              "B 0.2 0.0  b 0.3 0.0  a5 0.4 0.0  Cancel -1.6 0.0  c 0.5 0.0  ");
}

TEST(DialogLayout, TallFormsHaveTwoColumnsOfNearlyOneHeight) {
    const struct {
        const char *promise, *around, *frame;
        std::vector<int> rows; ///< of each frame
        const char *split;     ///< column of each frame
        Long height;           ///< of the form
        Integer cell;          ///< of the last row
    } cases[] = {
        {"as tall as one column may be", "", "[", {4, 8}, "00", 30, 0},
        {"the higher column is as low as can be", "", "[", {4, 5, 3, 2}, "0011", 24, 0},
        {"the first of two splits that are alike", "", "[", {4, 5, 4}, "011", 24, 0},
        {"a frame around all is split inside", "[all ", "[", {4, 5, 3, 2}, "00011", 27, 0},
        {"one block alone stays", "", "[", {20}, "0", 43, 0},
        {"three side by side", "", "[3", {18, 17}, "00", 30, 1},
        {"and two where there are two columns", "", "[3", {20, 20}, "01", 23, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.promise);
        std::string text = c.around;
        for (const int rows : c.rows) {
            text += c.frame + std::string("frame ");
            for (int i = 0; i < rows; ++i)
                text += "row ";
            text += "] ";
        }
        const Sketch form(text);
        const DialogLayout layout = dialogLayout(form);
        std::string split;
        for (const Placement &place : layout.placements)
            if (place.control->kind() == ControlKind::frame) split += std::to_string(place.column);
        EXPECT_EQ(split, c.split);
        EXPECT_EQ(layout.height, c.height);
        EXPECT_EQ(layout.placements.back().cell, c.cell);
    }
}

TEST(DialogLayout, CaptionsHaveAccessKeysAndNames) {
    const Sketch form("[Zoo: [\t 'Quiet Clock\t: ] Lock_bits_1: ] clk zZ_k10 1-0 11 取消\t Ночь нет яА q_&_A&B "
                      "(OK (Cancel");
    std::u16string captions;
    std::u16string names;
    for (const Placement &place : dialogLayout(form).placements) {
        captions += place.markedCaption + u'|';
        names += place.accessibleName + u'|';
    }
    EXPECT_EQ(toUtf8(captions), "Zoo:||Quiet|C&lock:||Lock &bits 1:||cl&k|&zZ k10|&1-0|11|取消|&Ночь|н&ет|&яА|"
                                "&q && A&&B|&OK|&Cancel|");
    EXPECT_EQ(toUtf8(names), "Zoo|Zoo|Zoo, Quiet|Zoo, Clock|Zoo, Clock|Zoo, Lock bits 1|Zoo, Lock bits 1|clk|zZ k10|"
                             "1-0|11|取消|Ночь|нет|яА|q & A&B|OK|Cancel|");
}

TEST(DialogLayout, TheFirstAndLastOfEveryAlphabetAreAccessKeys) {
    for (const char *captions : {"a z а я 0 9", "A Z А Я"}) {
        const Sketch form(captions);
        for (const Placement &place : dialogLayout(form).placements)
            EXPECT_EQ(place.markedCaption, u"&" + place.control->caption());
    }
}

} // namespace
} // namespace kx3::test
