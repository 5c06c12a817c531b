// What every dialog looks like, in every mode and language.
#include "qt_person.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QScrollArea>

namespace kx3qt::test {
namespace {

// A screen of 1024 x 768 less a window manager's frame and title.
constexpr QSize room{1024 - 8, 768 - 40};
constexpr int largestGap = 12; ///< between two lines of a frame, in pixels

bool isContainer(const QWidget &widget) {
    return qobject_cast<const QGroupBox *>(&widget) != nullptr ||
           qobject_cast<const QScrollArea *>(&widget) != nullptr || widget.metaObject() == &QWidget::staticMetaObject;
}

/// Nothing is smaller than its text, lies over another or leaves its parent; rows leave no hole in a frame.
void expectWellPlaced(const QWidget &parent) {
    QList<QWidget *> children = parent.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    children.removeIf([](const QWidget *child) { return !child->isVisible(); });
    std::ranges::sort(children, {}, &QWidget::y);
    const bool isRun = qobject_cast<const QGroupBox *>(&parent) != nullptr &&
                       std::ranges::none_of(children, [](const QWidget *child) { return isContainer(*child); });
    int bottom = parent.contentsRect().top() + parent.fontMetrics().height();
    for (const QWidget *child : children) {
        SCOPED_TRACE(child->objectName().toStdString());
        const auto *box = qobject_cast<const QLineEdit *>(child);
        const int textWidth = box == nullptr ? 0 : box->fontMetrics().horizontalAdvance(box->text()) + 10;
        EXPECT_GE(child->width(), box == nullptr ? child->sizeHint().width() : textWidth);
        EXPECT_GE(child->height(), child->sizeHint().height());
        EXPECT_TRUE(parent.rect().contains(child->geometry()));
        EXPECT_FALSE(isRun && child->y() - bottom > largestGap);
        bottom = std::max(bottom, child->geometry().bottom());
        for (const QWidget *other : children)
            EXPECT_TRUE(child == other || !child->geometry().intersects(other->geometry()));
        if (isContainer(*child)) expectWellPlaced(*child);
    }
    EXPECT_FALSE(isRun && parent.height() - bottom > largestGap);
}

/// Tab goes through the fields in order, each with a name; each label belongs to a field that is shown.
void expectNamedInOrder(const QDialog &dialog) {
    QWidget *focus = dialog.focusWidget();
    for (QWidget *widget : dialog.findChildren<QWidget *>()) {
        if (!widget->isVisible() || widget->objectName().isEmpty() || isContainer(*widget)) continue;
        SCOPED_TRACE(widget->objectName().toStdString());
        if (const auto *label = qobject_cast<const QLabel *>(widget); label != nullptr && label->buddy() != nullptr) {
            EXPECT_FALSE(label->text().contains('\t'));
            EXPECT_TRUE(label->buddy()->isVisible());
        }
        if (widget->focusPolicy() == Qt::NoFocus || widget->objectName().startsWith("qt_")) continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty());
        EXPECT_EQ(focus, widget);
        do
            focus = focus->nextInFocusChain();
        while (!focus->isVisible() || focus->focusPolicy() == Qt::NoFocus || focus->objectName().startsWith("qt_"));
    }
}

using QtDrawing = QtDialogs;

TEST_F(QtDrawing, EveryEditorIsReadableInEveryLanguageAndStandsInTheMiddleOfTheScreen) {
    for (std::int32_t language = 0; language <= 33000; language += 3000) {
        host.selectLanguage(language);
        for (const auto &[mode, editor] : editorModes()) {
            SCOPED_TRACE(editor + " mode " + std::to_string(mode) + " language " + std::to_string(language));
            open(mode, [](const QDialog &dialog) {
                expectWellPlaced(dialog);
                expectNamedInOrder(dialog);
                EXPECT_EQ(dialog.size().expandedTo(room), room) << dialog.width() << " x " << dialog.height();
                EXPECT_GT(dialog.width(), dialog.fontMetrics().horizontalAdvance(dialog.windowTitle()));
                EXPECT_EQ(dialog.minimumSize(), dialog.maximumSize());
                EXPECT_FALSE(dialog.windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
                const QPoint off = dialog.frameGeometry().center() - dialog.screen()->availableGeometry().center();
                EXPECT_LE(off.manhattanLength(), 4);
            });
        }
    }
}

TEST_F(QtDrawing, FontAndColoursAreTheUsers) {
    const QPalette light = QApplication::palette();
    const QFont normal = QApplication::font();
    QSize size;
    open(50, [&](const QDialog &dialog) { size = dialog.size(); });
    QApplication::setPalette(QPalette(QColor(Qt::darkGray).darker(), QColor(Qt::black)));
    for (const double scale : {1.25, 4.0}) {
        QFont large = normal;
        large.setPointSizeF(scale * normal.pointSizeF());
        QApplication::setFont(large);
        open(50, [&](QDialog &dialog) {
            EXPECT_GT(dialog.height(), size.height());
            EXPECT_LT(dialog.grab().toImage().pixelColor(2, 2).lightness(), 80);
            EXPECT_TRUE(dialog.screen()->availableGeometry().contains(dialog.frameGeometry()));
            if (scale < 2) expectWellPlaced(dialog); // else what is beyond the screen scrolls
        });
    }
    QApplication::setFont(normal);
    QApplication::setPalette(light);
}

} // namespace
} // namespace kx3qt::test
