// What a person's keys do in the dialogs, down to the bytes in the device buffer.
#include "qt_person.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>

namespace kx3qt::test {
namespace {

TEST_F(QtDialogs, KeysChangeFieldsAndOnlyOkWritesThem) {
    const struct {
        std::uint8_t mode;
        const char *field, *key, *cancel;
        std::size_t address;
        std::uint8_t written;
    } cases[] = {{2, "Check1(0)", "Space", "CancelButton", length, 0xF7},
                 {12, "Combo1(1)", "Up", "CancelButton", 2 * length, 0xFD},
                 {46, "Text1(1)", "A", "CancelButton(1)", length - 36 + 4 + 3, 0xAF}};
    for (const auto &c : cases)
        for (const std::string_view end : {"Escape", "frame", "Cancel", "Return"}) {
            const bool leftOpen = open(c.mode, [&](QDialog &dialog) {
                tabTo(dialog, c.field);
                press(dialog, c.key);
                if (end == "Cancel") tabTo(dialog, c.cancel);
                end == "frame" ? void(dialog.close()) : press(dialog, end == "Cancel" ? "Space" : end.data());
            });
            EXPECT_FALSE(leftOpen) << end;
            EXPECT_EQ(host.buffer()[c.address], end == "Return" ? c.written : 0xFF) << c.field << ' ' << end;
        }
}

TEST_F(QtDialogs, AltReachesFieldsAndButtonsAndACheckBoxEnablesItsRows) {
    host.buffer()[2 * length + 4] = 0;
    open(15, [](QDialog &dialog) {
        const auto pressKeyOf = [&](const char *name) {
            const QString text = dialog.findChild<QAbstractButton *>(name)->text();
            press(dialog, ("Alt+" + text.mid(text.indexOf('&') + 1, 1)).toLatin1());
        };
        auto *address = dialog.findChild<QLineEdit *>("Text1(1)");
        EXPECT_FALSE(address->isEnabled());
        pressKeyOf("Check1");
        EXPECT_TRUE(QTest::qWaitFor([&] { return address->isEnabled(); })) << "a button is seen to go down first";
        press(dialog, "Tab");
        EXPECT_EQ(dialog.focusWidget(), address);
        pressKeyOf("OKButton");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }));
    });
}

TEST_F(QtDialogs, ATextBoxShowsWhatTheModelMakesOfEachKeyAndThatItIsRefused) {
    constexpr std::pair<const char *, const char *> typed[] = {{"Home, G, -, Backspace", "FFFFFFFF"},
                                                               {"Del, Ctrl+X, Ctrl+Z", "FFFFFFFF"},
                                                               {"A, B", "abFFFFFF"},
                                                               {"Right, Shift+Right, C", "abFcFFFF"},
                                                               {"End, 1", "abFcFFFF"},
                                                               {"Left, 1", "abFcFFF1"},
                                                               {"Ctrl+A, Ctrl+V", "xyz"}};
    QApplication::clipboard()->setText("xyz");
    open(46, [&](QDialog &dialog) {
        const auto *box = qobject_cast<QLineEdit *>(tabTo(dialog, "Text1(2)"));
        for (const auto &[keys, text] : typed) {
            press(dialog, keys);
            EXPECT_EQ(box->text().toStdString(), text) << keys;
        }
        tabTo(dialog, "OKButton(0)");
        press(dialog, "Return");
        const auto *message = dialog.findChild<QLabel *>("message");
        EXPECT_EQ(dialog.focusWidget(), box);
        EXPECT_TRUE(message->isVisible());
        EXPECT_TRUE(message->text().startsWith("FMPRE2")) << message->text().toStdString();
        EXPECT_EQ(box->accessibleDescription(), message->text());
        EXPECT_FALSE(box->actions().isEmpty()) << "a sign besides colour";
        QApplication::clipboard()->setText("01234567");
        press(dialog, "Ctrl+A, Ctrl+V");
        EXPECT_FALSE(message->isVisible());
        EXPECT_TRUE(box->actions().isEmpty());
        press(dialog, "Return");
    });
    EXPECT_EQ(host.buffer()[length - 36 + 8], 0x67);
}

TEST_F(QtDialogs, MessageBoxesAnswerWithTheButtonPressed) {
    constexpr struct {
        std::int32_t style;
        Qt::Key key;
        std::int32_t button;
        int buttons;
    } cases[] = {{0, Qt::Key_Escape, KX3_BUTTON_OK, 1},      {33, Qt::Key_Return, KX3_BUTTON_OK, 2},
                 {33, Qt::Key_Escape, KX3_BUTTON_CANCEL, 2}, {50, Qt::Key_Return, KX3_BUTTON_ABORT, 3},
                 {50, Qt::Key_Escape, KX3_BUTTON_ABORT, 3},  {64, Qt::Key_Return, KX3_BUTTON_OK, 1}};
    const QString prompt = "First & last\rsecond <b>line</b>";
    for (const auto &expected : cases) {
        QTimer::singleShot(0, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            EXPECT_EQ(box->text(), "First & last\nsecond <b>line</b>");
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_EQ(box->buttons().size(), expected.buttons);
            QTest::keyClick(box, expected.key);
        });
        std::int32_t button = 0;
        EXPECT_EQ(kx3_qt_message_box(nullptr, prompt.utf16(), static_cast<std::size_t>(prompt.size()), expected.style,
                                     nullptr, 0, &button),
                  KX3_OK);
        EXPECT_EQ(button, expected.button) << expected.style;
    }
}

} // namespace
} // namespace kx3qt::test
