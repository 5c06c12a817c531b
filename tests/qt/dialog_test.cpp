// What a person's keys do in the dialogs, down to the bytes in the device buffer.
#include "qt_person.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <array>

namespace kx3qt::test {
namespace {

/// One editor, one key on one of its controls, and the byte that OK then writes.
constexpr struct Change {
    std::uint8_t mode;
    const char *control;
    Qt::Key key;
    std::int32_t address;
    std::uint8_t value;
} changes[] = {
    {2, "Check1(0)", Qt::Key_Space, length, 0xF7},
    {3, "Combo1(0)", Qt::Key_Up, 2 * length, 0xFE},
    {12, "Combo1(1)", Qt::Key_Up, 2 * length, 0xFD},
    {15, "Combo2(7)", Qt::Key_Home, 2 * length + 1, 0x7F},
    {26, "Combo1", Qt::Key_Down, length, 0x0F},
    {23, "Combo2(0)", Qt::Key_Up, length + 1, 0xE2},
    {39, "Combo1(0)", Qt::Key_Up, 4159, 0x0B},
    {46, "Text1(1)", Qt::Key_A, length - 36 + 4 + 3, 0xAF},
    {50, "Text1", Qt::Key_A, length, 0xAF},
    {51, "Combo1(1)", Qt::Key_Up, 4159, 0xF7},
    {64, "Text1(6)", Qt::Key_7, length - 40 + 6 * 4 + 3, 0x7F},
};

TEST_F(QtDialogs, EnterWritesWhatTheKeysHaveChanged) {
    for (const Change &change : changes) {
        SCOPED_TRACE(int{change.mode});
        erase();
        open(change.mode, [&](QDialog &dialog) {
            press(dialog, change.control, change.key);
            press(dialog, Qt::Key_Return);
        });
        EXPECT_EQ(host.buffer()[static_cast<std::size_t>(change.address)], change.value);
    }
}

TEST_F(QtDialogs, EscapeCancelAndTheWindowFrameWriteNothing) {
    const std::vector<std::uint8_t> before(host.buffer().begin(), host.buffer().end());
    const std::function<void(QDialog &)> ends[] = {
        [](QDialog &dialog) { press(dialog, Qt::Key_Escape); },
        [](QDialog &dialog) { dialog.close(); },
        [](QDialog &dialog) {
            const bool isArray = dialog.findChild<QWidget *>("CancelButton") == nullptr;
            press(dialog, isArray ? "CancelButton(1)" : "CancelButton", Qt::Key_Space);
        },
    };
    for (const Change &change : changes)
        for (const auto &end : ends) {
            open(change.mode, [&](QDialog &dialog) {
                press(dialog, change.control, change.key);
                end(dialog);
            });
            EXPECT_TRUE(std::equal(before.begin(), before.end(), host.buffer().begin())) << int{change.mode};
        }
}

TEST_F(QtDialogs, AltReachesButtonsAndFields) {
    open(12, [](QDialog &dialog) {
        EXPECT_EQ(dialog.focusWidget()->objectName(), "Combo1(0)");
        press(dialog, Qt::Key_W, Qt::AltModifier);
        EXPECT_EQ(dialog.focusWidget()->objectName(), "Combo1(1)");
        press(dialog, Qt::Key_Home);
        press(dialog, Qt::Key_O, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 5000)) << "a button is seen to go down first";
    });
    EXPECT_EQ(host.buffer()[2 * length], 0xFD);
}

TEST_F(QtDialogs, ACheckBoxEnablesTheRowsThatHangOnIt) {
    host.buffer()[2 * length + 4] = 0;
    open(15, [](QDialog &dialog) {
        auto *address = dialog.findChild<QLineEdit *>("Text1(1)");
        EXPECT_FALSE(address->isEnabled());
        press(dialog, "Check1", Qt::Key_Space);
        EXPECT_TRUE(address->isEnabled());
        press(dialog, Qt::Key_Tab);
        EXPECT_EQ(dialog.focusWidget(), address);
        press(dialog, Qt::Key_Escape);
    });
}

struct KeyPress {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

TEST_F(QtDialogs, HexBoxesTakeWhatTheModelTakes) {
    const KeyPress all{Qt::Key_A, Qt::ControlModifier};
    const KeyPress paste{Qt::Key_V, Qt::ControlModifier};
    const struct {
        const char *what;
        std::uint8_t mode;
        const char *box;
        std::vector<KeyPress> keys;
        const char *clipboard, *text;
    } cases[] = {
        {"no digits", 46, "Text1(0)", {{Qt::Key_G}, {Qt::Key_Minus}, {Qt::Key_Backspace}}, "", "FFFFFFFF"},
        {"editing keys", 46, "Text1(0)", {{Qt::Key_Delete}, {Qt::Key_X, Qt::ControlModifier}}, "", "FFFFFFFF"},
        {"undo", 46, "Text1(0)", {{Qt::Key_Z, Qt::ControlModifier}}, "", "FFFFFFFF"},
        {"behind the caret", 46, "Text1(0)", {{Qt::Key_A}, {Qt::Key_B}}, "", "abFFFFFF"},
        {"selected",
         46,
         "Text1(0)",
         {{Qt::Key_Right}, {Qt::Key_Right, Qt::ShiftModifier}, {Qt::Key_A}},
         "",
         "FaFFFFFF"},
        {"behind the last digit", 46, "Text1(0)", {{Qt::Key_End}, {Qt::Key_1}}, "", "FFFFFFFF"},
        {"the last digit", 46, "Text1(0)", {{Qt::Key_End}, {Qt::Key_Left}, {Qt::Key_1}}, "", "FFFFFFF1"},
        {"paste", 46, "Text1(0)", {all, paste}, "0123ABCD", "0123ABCD"},
        {"nothing pasted", 3, "Text1(1)", {all, paste}, "", "FFFF"}, // erased bytes have the address row enabled
        {"nothing pasted", 15, "Text1(1)", {all, paste}, "", "0"},
    };
    for (const auto &expected : cases)
        open(expected.mode, [&](QDialog &dialog) {
            QApplication::clipboard()->setText(expected.clipboard);
            tabTo(dialog, expected.box);
            auto *box = qobject_cast<QLineEdit *>(dialog.focusWidget());
            box->setCursorPosition(0);
            for (const KeyPress &key : expected.keys)
                press(dialog, key.key, key.modifiers);
            EXPECT_EQ(box->text(), expected.text) << expected.what << " in mode " << int{expected.mode};
            press(dialog, Qt::Key_Escape);
        });
}

TEST_F(QtDialogs, ARefusedEntryIsMarkedNamedAndFocused) {
    open(46, [](QDialog &dialog) {
        const auto *message = dialog.findChild<QLabel *>("message");
        QApplication::clipboard()->setText("xyz");
        tabTo(dialog, "Text1(2)");
        auto *box = qobject_cast<QLineEdit *>(dialog.focusWidget());
        box->selectAll();
        press(dialog, Qt::Key_V, Qt::ControlModifier);
        press(dialog, "OKButton(0)", Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.focusWidget(), box);
        EXPECT_TRUE(message->isVisible());
        EXPECT_TRUE(message->text().startsWith("FMPRE2")) << message->text().toStdString();
        EXPECT_EQ(box->accessibleDescription(), message->text());
        EXPECT_FALSE(box->actions().isEmpty()) << "a sign besides colour";

        QApplication::clipboard()->setText("01234567");
        box->selectAll();
        press(dialog, Qt::Key_V, Qt::ControlModifier);
        EXPECT_FALSE(message->isVisible());
        EXPECT_TRUE(box->actions().isEmpty());
        press(dialog, Qt::Key_Return);
    });
    EXPECT_EQ(host.buffer()[length - 36 + 8], 0x67);
}

TEST_F(QtDialogs, MessageBoxesAnswerWithTheButtonPressed) {
    constexpr struct {
        std::int32_t style;
        Qt::Key key;
        std::int32_t button;
        int buttons;
        QMessageBox::Icon icon;
    } cases[] = {
        {0, Qt::Key_Return, KX3_BUTTON_OK, 1, QMessageBox::NoIcon},
        {0, Qt::Key_Escape, KX3_BUTTON_OK, 1, QMessageBox::NoIcon},
        {33, Qt::Key_Return, KX3_BUTTON_OK, 2, QMessageBox::Question},
        {33, Qt::Key_Escape, KX3_BUTTON_CANCEL, 2, QMessageBox::Question},
        {50, Qt::Key_Return, KX3_BUTTON_ABORT, 3, QMessageBox::Warning},
        {50, Qt::Key_Escape, KX3_BUTTON_ABORT, 3, QMessageBox::Warning},
        {64, Qt::Key_Return, KX3_BUTTON_OK, 1, QMessageBox::Information},
    };
    constexpr std::u16string_view prompt = u"First & last\rsecond <b>line</b>";
    constexpr std::u16string_view title = u"Note!\t";
    const auto units = [](std::u16string_view text) { return reinterpret_cast<const std::uint16_t *>(text.data()); };
    for (const auto &expected : cases) {
        QTimer::singleShot(0, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->text(), "First & last\nsecond <b>line</b>");
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_EQ(box->icon(), expected.icon);
            EXPECT_EQ(box->buttons().size(), expected.buttons);
            QTest::keyClick(box, expected.key);
        });
        std::int32_t button = 0;
        ASSERT_EQ(kx3_qt_message_box(nullptr, units(prompt), prompt.size(), expected.style, units(title), title.size(),
                                     &button),
                  KX3_OK);
        EXPECT_EQ(button, expected.button) << expected.style;
    }
}

} // namespace
} // namespace kx3qt::test
