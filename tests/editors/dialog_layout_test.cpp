// Where the controls of the editors stand in a dialog.
#include "editors/editor_driver.h"
#include "forms/dialog_layout.h"

#include <map>
#include <set>
#include <tuple>

namespace kx3::test {
namespace {

class DialogLayouts : public EditorTest {
  protected:
    /// Look at the editor of every mode, in the language of block `language`.
    void forEachMode(Long language, const std::function<void(Form &, const DialogLayout &)> &look) {
        for (const Byte mode : editorModes) {
            SCOPED_TRACE(static_cast<int>(mode));
            device(mode, mode == 22 ? 2048 : 4096);
            plugin.host.Language(0) = language;
            open([&](Person &person) {
                look(person.form, dialogLayout(person.form));
                person.cancel();
            });
        }
    }
};

TEST_F(DialogLayouts, EachShownControlStandsInAPlaceOfItsOwn) {
    forEachMode(0, [](Form &form, const DialogLayout &layout) {
        std::set<std::tuple<const Control *, Integer, Integer, Integer, CellPart>> taken;
        std::map<Integer, std::pair<const Control *, Integer>> blocks;
        for (const Control &control : form.controls()) {
            const Placement *place = layout.find(control);
            ASSERT_EQ(place != nullptr, form.isShown(control)) << control.name();
            if (place == nullptr) continue;
            EXPECT_TRUE(taken.emplace(control.parent(), place->block, place->line, place->cell, place->part).second);
            // A block stands in one column of one container.
            const auto [block, isNew] = blocks.try_emplace(place->block, control.parent(), place->column);
            EXPECT_EQ(block->second, std::pair(control.parent(), place->column)) << control.name();
            if (control.label() == nullptr) continue;
            const Placement &label = *layout.find(*control.label());
            EXPECT_EQ(std::tuple(label.block, label.line, label.cell, label.part),
                      std::tuple(place->block, place->line, place->cell, CellPart::label));
        }
        EXPECT_EQ(layout.placements.size(), taken.size());
        EXPECT_LE(layout.height, screenHeight);
    });
}

TEST_F(DialogLayouts, LinesFollowOneAnotherWithoutAGap) {
    forEachMode(0, [](Form &, const DialogLayout &layout) {
        std::map<Integer, std::set<std::pair<Integer, Integer>>> cells;
        for (const Placement &place : layout.placements)
            cells[place.block].emplace(place.line, place.cell);
        for (const auto &[block, places] : cells) {
            std::pair<Integer, Integer> last{0, -1};
            for (const auto &place : places) {
                const bool follows = place == std::pair<Integer, Integer>(last.first, last.second + 1) ||
                                     place == std::pair<Integer, Integer>(last.first + 1, 0);
                EXPECT_TRUE(follows) << "block " << block;
                last = place;
            }
        }
    });
}

TEST_F(DialogLayouts, AccessKeysDoNotClashAndReachTheButtons) {
    for (const Long language : {0, 3000, 6000, 24000, 33000}) {
        forEachMode(language, [language](Form &form, const DialogLayout &layout) {
            std::set<char16_t> keys;
            for (const Placement &place : layout.placements) {
                if (!place.accessKey) continue;
                const char16_t key = place.control->caption().at(*place.accessKey);
                EXPECT_TRUE(keys.insert(key >= u'a' && key <= u'z' ? static_cast<char16_t>(key - 32) : key).second);
                EXPECT_NE(place.part, CellPart::field) << "its label has the key";
            }
            const bool inLetters = language == 0 || language == 33000;
            EXPECT_EQ(layout.find(*form.cancelButton())->accessKey.has_value(), inLetters || language == 24000);
        });
    }
}

TEST_F(DialogLayouts, FieldsAreNamedWithTheirFrames) {
    const struct {
        Byte mode;
        const char *control;
        Integer index;
        std::u16string_view name;
    } cases[] = {
        {15, "Combo1", 0, u"Fuse Low Byte, CKSEL0"},
        {50, "Text1", noIndex, u"Fuses and Lock Bits, Fuse Byte 0, JTAGUID"},
        {1, "Check1", 2, u"Option Register 0, LOCK(Eable code and ID is locked)"},
        {39, "Combo1", 1, u"On Chip ROM"},
        {39, "OKButton", noIndex, u"OK"},
    };
    for (const auto &expected : cases) {
        device(expected.mode);
        open([&](Person &person) {
            const DialogLayout layout = dialogLayout(person.form);
            const Placement *place = layout.find(person.at(expected.control, expected.index));
            ASSERT_NE(place, nullptr);
            EXPECT_EQ(toUtf8(place->accessibleName), toUtf8(expected.name));
            person.cancel();
        });
    }
}

TEST(MarkedCaption, ShowsAmpersandsAndLeavesTabsOut) {
    EXPECT_EQ(markedCaption(u"取消\t", std::nullopt), u"取消");
    EXPECT_EQ(markedCaption(u"Read & write", 0), u"&Read && write");
    EXPECT_EQ(markedCaption(u"\tA&B", 3), u"A&&&B");
    EXPECT_EQ(markedCaption(u"", std::nullopt), u"");
}

} // namespace
} // namespace kx3::test
