// What every dialog looks like, in every mode and language.
#include "qt_person.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QScrollArea>
#include <algorithm>

namespace kx3qt::test {
namespace {

// A screen of 1024 x 768 less a window manager's frame and title.
constexpr QSize room{1024 - 8, 768 - 40};
constexpr int largestGap = 12; ///< between two lines of a frame, in pixels

std::vector<QWidget *> shownChildren(const QWidget &parent) {
    std::vector<QWidget *> shown;
    for (QWidget *child : parent.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
        if (child->isVisible()) shown.push_back(child);
    return shown;
}

bool isContainer(const QWidget &widget) {
    return qobject_cast<const QGroupBox *>(&widget) != nullptr ||
           qobject_cast<const QScrollArea *>(&widget) != nullptr || widget.metaObject() == &QWidget::staticMetaObject;
}

int leastWidth(const QWidget &widget) {
    const auto *box = qobject_cast<const QLineEdit *>(&widget);
    return box == nullptr ? widget.sizeHint().width() : box->fontMetrics().horizontalAdvance(box->text()) + 10;
}

/// Nothing is smaller than its text, lies over another or leaves its parent.
void expectWellPlaced(const QWidget &parent) {
    const std::vector<QWidget *> children = shownChildren(parent);
    for (const QWidget *child : children) {
        const std::string name = child->objectName().toStdString();
        EXPECT_GE(child->width(), leastWidth(*child)) << name;
        EXPECT_GE(child->height(), child->sizeHint().height()) << name;
        EXPECT_TRUE(parent.rect().contains(child->geometry())) << name;
        for (const QWidget *other : children)
            EXPECT_TRUE(child == other || !child->geometry().intersects(other->geometry())) << name;
        if (isContainer(*child)) expectWellPlaced(*child);
    }
}

/// Rows that are hidden leave no hole in their frame.
void expectNoGaps(const QDialog &dialog) {
    for (const QGroupBox *frame : dialog.findChildren<QGroupBox *>()) {
        if (!frame->isVisible()) continue;
        std::vector<QWidget *> rows = shownChildren(*frame);
        ASSERT_FALSE(rows.empty()) << frame->title().toStdString();
        const bool hasFrames =
            std::any_of(rows.begin(), rows.end(), [](const QWidget *row) { return isContainer(*row); });
        if (hasFrames) continue; // stands in two columns; its own frames are looked at themselves
        std::sort(rows.begin(), rows.end(), [](const QWidget *a, const QWidget *b) { return a->y() < b->y(); });
        int bottom = frame->contentsRect().top() + frame->fontMetrics().height();
        for (const QWidget *row : rows) {
            EXPECT_LE(row->y() - bottom, largestGap) << frame->title().toStdString();
            bottom = std::max(bottom, row->geometry().bottom());
        }
        EXPECT_LE(frame->height() - bottom, largestGap) << frame->title().toStdString();
    }
}

void expectNamesAndTexts(const QDialog &dialog) {
    for (const QWidget *widget : dialog.findChildren<QWidget *>()) {
        if (!widget->isVisible() || widget->objectName().isEmpty()) continue;
        const std::string name = widget->objectName().toStdString();
        if (widget->focusPolicy() != Qt::NoFocus) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
        }
        if (const auto *label = qobject_cast<const QLabel *>(widget); label != nullptr && label->buddy() != nullptr) {
            EXPECT_FALSE(label->text().contains('\t')) << name;
            EXPECT_TRUE(label->buddy()->isVisible()) << name;
        }
        if (const auto *combo = qobject_cast<const QComboBox *>(widget)) {
            EXPECT_FALSE(combo->itemText(0).contains('\t')) << name;
        }
    }
    EXPECT_FALSE(dialog.windowTitle().contains('\t'));
}

class QtDrawing : public QtDialogs {
  protected:
    void look(std::uint8_t mode, const Person &person) {
        open(mode, [&](QDialog &dialog) { person(dialog), dialog.close(); });
    }
};

TEST_F(QtDrawing, EveryEditorIsReadableInEveryLanguageAndFitsTheScreen) {
    for (std::int32_t language = 0; language <= 33000; language += 3000) {
        host.selectLanguage(language);
        for (const auto &[mode, editor] : editorModes) {
            SCOPED_TRACE(std::string(editor) + " mode " + std::to_string(mode) + " language " +
                         std::to_string(language));
            look(mode, [](const QDialog &dialog) {
                expectWellPlaced(dialog);
                expectNoGaps(dialog);
                expectNamesAndTexts(dialog);
                EXPECT_EQ(dialog.size().expandedTo(room), room) << dialog.width() << " x " << dialog.height();
                EXPECT_GT(dialog.width(), dialog.fontMetrics().horizontalAdvance(dialog.windowTitle()));
            });
        }
    }
}

TEST_F(QtDrawing, WindowsHaveAFixedSizeAndStandInTheMiddle) {
    look(15, [](const QDialog &dialog) {
        EXPECT_EQ(dialog.minimumSize(), dialog.maximumSize());
        EXPECT_FALSE(dialog.windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
        const QPoint off = dialog.frameGeometry().center() - dialog.screen()->availableGeometry().center();
        EXPECT_LE(off.manhattanLength(), 4);
    });
}

TEST_F(QtDrawing, FontAndColoursAreTheUsers) {
    const QPalette light = QApplication::palette();
    const QFont normal = QApplication::font();
    QSize size;
    look(50, [&](const QDialog &dialog) { size = dialog.size(); });

    QFont large = normal;
    large.setPointSizeF(1.25 * normal.pointSizeF());
    QApplication::setFont(large);
    QApplication::setPalette(QPalette(QColor(Qt::darkGray).darker(), QColor(Qt::black)));
    look(50, [&](QDialog &dialog) {
        EXPECT_GT(dialog.height(), size.height());
        expectWellPlaced(dialog);
        EXPECT_LT(dialog.grab().toImage().pixelColor(2, 2).lightness(), 80);
    });
    large.setPointSizeF(4 * normal.pointSizeF());
    QApplication::setFont(large);
    look(50, [](const QDialog &dialog) {
        EXPECT_TRUE(dialog.screen()->availableGeometry().contains(dialog.frameGeometry())) << "what is beyond scrolls";
    });
    QApplication::setFont(normal);
    QApplication::setPalette(light);
}

} // namespace
} // namespace kx3qt::test
