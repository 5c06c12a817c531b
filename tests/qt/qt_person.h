// A person before the dialogs that Qt draws, with a keyboard and no display.
#pragma once

#include "editor_host.h"

#include <kx3mpu6-qt.h>

#include <QApplication>
#include <QDialog>
#include <QTest>
#include <QTimer>
#include <algorithm>
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
        std::ranges::fill(host.buffer(), std::uint8_t{0xFF});
    }

    /// Open the editor of `mode` and let `person` work it; say whether it is open then, and close it.
    bool open(std::uint8_t mode, const Person &person) {
        struct Visit {
            const Person &person;
            bool came = false;
            bool leftOpen = false;
        } visit{person};
        const auto show = [](void *context, kx3_form *form) {
            QTimer::singleShot(0, [&visit = *static_cast<Visit *>(context)] {
                auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
                visit.came = dialog != nullptr && QTest::qWaitForWindowActive(dialog);
                if (visit.came) visit.person(*dialog);
                visit.leftOpen = dialog != nullptr && dialog->isVisible();
                if (dialog != nullptr) dialog->close();
            });
            return kx3_qt_show_form(nullptr, form);
        };
        host.selectDevice(mode, length);
        EXPECT_EQ(host.openEditor(show, &visit), KX3_OK) << kx3_last_error();
        EXPECT_TRUE(visit.came);
        return visit.leftOpen;
    }

    EditorHost host;
};

/// Press keys, such as "Ctrl+A, Del", where the focus is.
inline void press(const QDialog &dialog, const char *keys) {
    ASSERT_NE(dialog.focusWidget(), nullptr);
    QTest::keySequence(dialog.focusWidget(), QKeySequence(keys));
}

/// Go to the control of that name by the Tab key.
inline QWidget *tabTo(const QDialog &dialog, const char *name) {
    for (int i = 0; i < 60 && dialog.focusWidget()->objectName() != QLatin1String(name); ++i)
        press(dialog, "Tab");
    EXPECT_EQ(dialog.focusWidget()->objectName().toStdString(), name) << "Tab never reaches it";
    return dialog.focusWidget();
}

} // namespace kx3qt::test
