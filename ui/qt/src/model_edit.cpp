#include "model_edit.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QStyle>
#include <QtGlobal>
#include <iterator>

namespace kx3qt {

namespace {

constexpr uint16_t backspaceCharacter = 8;
constexpr int comfortableDigits = 9; // a word of eight digits and the caret

/// Keys that the model knows, by their code there.
constexpr struct {
    int key;
    int16_t code;
} knownKeys[] = {
    {Qt::Key_End, 35}, {Qt::Key_Home, 36}, {Qt::Key_Left, 37}, {Qt::Key_Right, 39}, {Qt::Key_Delete, 46},
};

/// Whether the key changes the selection only, which the box does by itself.
bool selects(const QKeyEvent &event) {
    return event.matches(QKeySequence::Copy) || event.matches(QKeySequence::SelectAll) ||
           (event.modifiers().testFlag(Qt::ShiftModifier) && event.text().isEmpty() && event.key() != Qt::Key_Delete);
}

} // namespace

ModelEdit::ModelEdit(FormModel &model, int32_t control, QWidget *parent)
    : QLineEdit(parent), model_(model), control_(control) {
    setDragEnabled(false);
    setAcceptDrops(false);
    const int digits = comfortableDigits * fontMetrics().horizontalAdvance(QLatin1Char('D'));
    setFixedWidth(digits + style()->pixelMetric(QStyle::PM_SmallIconSize) + 2 * fontMetrics().averageCharWidth());
    connect(this, &QLineEdit::selectionChanged, this, [this] { selectionToModel(); });
    connect(this, &QLineEdit::cursorPositionChanged, this, [this] { selectionToModel(); });
}

void ModelEdit::show(const kx3_control_info &info, const QString &message) {
    showing_ = true;
    if (const QString shown = drawnText(info.text); shown != text()) setText(shown);
    if (info.selection_length > 0)
        setSelection(info.selection_start, info.selection_length);
    else {
        deselect();
        setCursorPosition(info.selection_start);
    }
    mark(info.marked != 0, message);
    showing_ = false;
}

void ModelEdit::mark(bool marked, const QString &message) {
    setAccessibleDescription(marked ? message : QString());
    setToolTip(marked ? message : QString());
    if (marked == (warning_ != nullptr)) return;
    if (marked)
        warning_ = addAction(style()->standardIcon(QStyle::SP_MessageBoxWarning), TrailingPosition);
    else
        delete std::exchange(warning_, nullptr);
}

void ModelEdit::keyPressEvent(QKeyEvent *event) {
    if (event->matches(QKeySequence::Paste))
        pasteClipboard();
    else if (selects(*event))
        QLineEdit::keyPressEvent(event);
    else if (!keyToModel(*event))
        event->ignore(); // Enter, Escape and the like are the dialog's
}

bool ModelEdit::keyToModel(const QKeyEvent &event) {
    for (const auto &[key, code] : knownKeys)
        if (event.key() == key) return model_.act(kx3_form_key_down, control_, code), true;
    const bool backspace = event.key() == Qt::Key_Backspace;
    const QString characters = backspace ? QString(QChar(backspaceCharacter)) : event.text();
    if (characters.isEmpty() || !(backspace || characters.front().isPrint())) return false;
    type(characters);
    return true;
}

void ModelEdit::type(const QString &characters) {
    for (const QChar character : characters)
        model_.act(kx3_form_key_press, control_, character.unicode());
}

/// Input methods and screen keyboards send their texts without keys.
void ModelEdit::inputMethodEvent(QInputMethodEvent *event) {
    type(event->commitString());
    event->accept();
}

void ModelEdit::mousePressEvent(QMouseEvent *event) {
    if (event->button() != Qt::MiddleButton) QLineEdit::mousePressEvent(event);
}

void ModelEdit::mouseReleaseEvent(QMouseEvent *event) {
    const QClipboard *clipboard = QApplication::clipboard();
    if (event->button() != Qt::MiddleButton)
        QLineEdit::mouseReleaseEvent(event);
    else if (clipboard->supportsSelection())
        paste(clipboard->text(QClipboard::Selection));
}

void ModelEdit::contextMenuEvent(QContextMenuEvent *event) {
    QMenu menu(this);
    const auto add = [&menu](QKeySequence::StandardKey key, const char *icon, const QString &text, const auto &action) {
        QAction *added = menu.addAction(QIcon::fromTheme(QLatin1String(icon)), text, action);
        added->setShortcut(key);
        return added;
    };
    add(QKeySequence::Copy, "edit-copy", QLineEdit::tr("&Copy"), [this] { copy(); })->setEnabled(hasSelectedText());
    add(QKeySequence::Paste, "edit-paste", QLineEdit::tr("&Paste"), [this] { pasteClipboard(); });
    add(QKeySequence::SelectAll, "edit-select-all", QLineEdit::tr("Select All"), [this] { selectAll(); });
    menu.exec(event->globalPos());
}

void ModelEdit::pasteClipboard() { paste(QApplication::clipboard()->text()); }

void ModelEdit::paste(const QString &text) {
    model_.act(kx3_form_paste, control_, text.utf16(), static_cast<std::size_t>(text.size()));
}

void ModelEdit::selectionToModel() {
    if (showing_) return;
    const bool selected = hasSelectedText();
    const int start = selected ? selectionStart() : cursorPosition();
    // The box shows the selection already; to show it again would move the end that the mouse holds.
    model_.actUnfollowed(kx3_form_select_text, control_, start, selected ? static_cast<int32_t>(selectionLength()) : 0);
}

} // namespace kx3qt
