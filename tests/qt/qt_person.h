// A person before the dialogs that Qt draws, with a keyboard and no display.
#pragma once

#include "editor_host.h"

#include <kx3mpu6-qt.h>

#include <QApplication>
#include <QDialog>
#include <QTest>
#include <QTimer>
#include <functional>
#include <gtest/gtest.h>

namespace kx3qt::test {

/// Address of an editor's configuration bytes, for a device of this length.
inline constexpr std::int32_t length = 2048;

using Person = std::function<void(QDialog &)>;

/// A host without windows of its own. Every byte of its device buffer is FF at first.
class QtDialogs : public ::testing::Test {
  protected:
    QtDialogs() {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        EXPECT_EQ(kx3_qt_start(), nullptr);
        erase();
    }

    void erase() { std::fill(host.buffer().begin(), host.buffer().end(), std::uint8_t{0xFF}); }

    /// Open the editor of `mode` and let `person` work it until it closes.
    void open(std::uint8_t mode, const Person &person) {
        host.selectDevice(mode, length);
        Visit visit{&person};
        EXPECT_EQ(host.openEditor(show, &visit), KX3_OK) << kx3_last_error();
        EXPECT_TRUE(visit.came);
        EXPECT_FALSE(visit.leftOpen) << "mode " << int{mode};
    }

    EditorHost host;

  private:
    struct Visit {
        const Person *person;
        bool came = false;
        bool leftOpen = false;
    };

    static kx3_status show(void *context, kx3_form *form) {
        Visit &visit = *static_cast<Visit *>(context);
        QTimer::singleShot(0, [&visit] {
            auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            if (dialog == nullptr || !QTest::qWaitForWindowActive(dialog)) return;
            visit.came = true;
            (*visit.person)(*dialog);
            visit.leftOpen = dialog->isVisible();
            dialog->close();
        });
        return kx3_qt_show_form(nullptr, form);
    }
};

/// Press a key where the focus is.
inline void press(const QDialog &dialog, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget *focus = dialog.focusWidget();
    ASSERT_NE(focus, nullptr);
    QTest::keyClick(focus, key, modifiers);
}

/// Go to the control of that name by the Tab key.
inline void tabTo(const QDialog &dialog, const char *name) {
    for (int i = 0; i < 60; ++i) {
        const QWidget *focus = dialog.focusWidget();
        if (focus != nullptr && focus->objectName() == QLatin1String(name)) return;
        press(dialog, Qt::Key_Tab);
    }
    FAIL() << "Tab never reaches " << name;
}

/// Go to a control and press a key there.
inline void press(const QDialog &dialog, const char *control, Qt::Key key) {
    tabTo(dialog, control);
    press(dialog, key);
}

} // namespace kx3qt::test
