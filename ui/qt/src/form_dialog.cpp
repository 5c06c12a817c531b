#include "form_dialog.h"

#include "arrangement.h"
#include "model_edit.h"
#include "scroll_body.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace kx3qt {

namespace {

bool takesFocus(int32_t kind) { return kind != KX3_FRAME && kind != KX3_LABEL; }

} // namespace

FormDialog::FormDialog(FormModel &model, QWidget *owner)
    : QDialog(owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      model_(model), body_(new ScrollBody(this)), buttons_(new QWidget(this)) {
    auto *layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->setSpacing(style()->pixelMetric(QStyle::PM_LayoutVerticalSpacing));
    createMessageLine();
    layout->addWidget(body_);
    layout->addWidget(messageLine_);
    layout->addWidget(buttons_);
    createWidgets();
    refresh();
    setTabOrders();
}

// Widgets

void FormDialog::createWidgets() {
    const int32_t count = model_.form().controls;
    for (int32_t i = 0; i < count; ++i) {
        const kx3_control_info info = model_.control(i);
        const bool below = info.kind == KX3_COMMAND_BUTTON && info.parent < 0;
        QWidget *parent = info.parent >= 0 ? widgetOf(info.parent) : (below ? buttons_ : body_->widget());
        QWidget *widget = createWidget(i, info, parent);
        widget->setObjectName(info.index < 0 ? QString::fromLatin1(info.name)
                                             : QStringLiteral("%1(%2)").arg(QLatin1String(info.name)).arg(info.index));
        if (takesFocus(info.kind)) widget->installEventFilter(this);
        if (info.label >= 0) static_cast<QLabel *>(widgetOf(info.label))->setBuddy(widget);
        if (info.is_cancel != 0) cancel_ = i;
        widgets_.push_back(widget);
        kinds_.push_back(info.kind);
    }
}

QWidget *FormDialog::createWidget(int32_t control, const kx3_control_info &info, QWidget *parent) {
    switch (info.kind) {
    case KX3_FRAME: return new QGroupBox(parent);
    case KX3_COMBO_BOX: return createCombo(control, info, parent);
    case KX3_CHECK_BOX: return createButton(control, new QCheckBox(parent));
    case KX3_TEXT_BOX:
        return new ModelEdit(
            model_, control, [this] { follow(); }, parent);
    case KX3_COMMAND_BUTTON: {
        auto *button = new QPushButton(parent);
        button->setDefault(info.is_default != 0);
        return createButton(control, button);
    }
    default: break;
    }
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QWidget *FormDialog::createCombo(int32_t control, const kx3_control_info &info, QWidget *parent) {
    auto *combo = new QComboBox(parent);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    combo->addItems(model_.items(control, info.items));
    connect(combo, &QComboBox::currentIndexChanged, this, [this, control](int item) {
        if (!refreshing_) act([=, this] { model_.choose(control, item); });
    });
    return combo;
}

QWidget *FormDialog::createButton(int32_t control, QAbstractButton *button) {
    connect(button, &QAbstractButton::clicked, this, [this, control] { act([=, this] { model_.click(control); }); });
    return button;
}

void FormDialog::createMessageLine() {
    messageLine_ = new QWidget(this);
    auto *layout = new QHBoxLayout(messageLine_);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *icon = new QLabel(messageLine_);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    message_ = new QLabel(messageLine_);
    message_->setTextFormat(Qt::PlainText);
    message_->setObjectName(QStringLiteral("message"));
    layout->addWidget(icon);
    layout->addWidget(message_, 1);
}

void FormDialog::setTabOrders() {
    QWidget *before = nullptr;
    for (int32_t i = 0; i < count(); ++i) {
        if (!takesFocus(kinds_[static_cast<std::size_t>(i)])) continue;
        if (before != nullptr) setTabOrder(before, widgetOf(i));
        before = widgetOf(i);
    }
}

// Showing the form

template <class Action> void FormDialog::act(Action action) {
    action();
    follow();
}

/// Show what the form has become, or end with it.
void FormDialog::follow() {
    if (!model_.open())
        done(0);
    else if (model_.form().revision != revision_)
        refresh();
}

void FormDialog::refresh() {
    refreshing_ = true;
    const kx3_form_info form = model_.form();
    const QString message = drawnText(form.message);
    revision_ = form.revision;
    showTitle(drawnText(form.caption).trimmed());
    message_->setText(message);
    messageLine_->setVisible(!message.isEmpty());
    for (int32_t i = 0; i < form.controls; ++i)
        refreshControl(i, message);
    arrange();
    body_->fitContent();
    refreshFocus(form.focus);
    refreshing_ = false;
}

/// A dialog of short rows must not cut its title off.
void FormDialog::showTitle(const QString &title) {
    setWindowTitle(title);
    const int besideTitle = 3 * style()->pixelMetric(QStyle::PM_TitleBarHeight);
    body_->setLeastWidth(fontMetrics().horizontalAdvance(title) + besideTitle);
}

void FormDialog::refreshControl(int32_t control, const QString &message) {
    const kx3_control_info info = model_.control(control);
    const kx3_placement place = model_.place(control);
    QWidget *widget = widgetOf(control);
    widget->setVisible(place.shown != 0);
    widget->setEnabled(info.enabled != 0);
    widget->setAccessibleName(drawnText(place.accessible_name));
    const QString caption = drawnText(place.marked_caption);
    switch (info.kind) {
    case KX3_FRAME: static_cast<QGroupBox *>(widget)->setTitle(caption); break;
    case KX3_LABEL: {
        auto *label = static_cast<QLabel *>(widget);
        label->setText(label->buddy() != nullptr ? caption : drawnText(info.caption)); // "&" marks keys of buddies only
        break;
    }
    case KX3_COMBO_BOX: static_cast<QComboBox *>(widget)->setCurrentIndex(info.list_index); break;
    case KX3_CHECK_BOX:
        static_cast<QCheckBox *>(widget)->setText(caption);
        static_cast<QCheckBox *>(widget)->setChecked(info.checked != 0);
        break;
    case KX3_COMMAND_BUTTON: static_cast<QPushButton *>(widget)->setText(caption); break;
    default: static_cast<ModelEdit *>(widget)->show(info, message); break;
    }
}

/// Lay the controls out anew when one has come, gone or moved.
void FormDialog::arrange() {
    std::vector<Place> places;
    for (int32_t i = 0; i < count(); ++i) {
        const kx3_placement place = model_.place(i);
        places.push_back({place.shown, place.column, place.block, place.line, place.cell, place.part});
    }
    if (places == arranged_) return;
    arranged_ = std::move(places);

    Arrangement arrangement;
    for (int32_t i = 0; i < count(); ++i) {
        const kx3_placement place = model_.place(i);
        QWidget *widget = widgetOf(i);
        if (place.shown != 0 && place.column != KX3_BUTTON_ROW)
            arrangement.place(widget->parentWidget(), widget, kinds_[static_cast<std::size_t>(i)], place);
    }
    arrangement.finish();
    arrangeButtons();
}

void FormDialog::arrangeButtons() {
    delete buttons_->layout();
    auto *row = new QHBoxLayout(buttons_);
    row->setContentsMargins(0, 0, 0, 0);
    row->addStretch();
    for (int32_t i = 0; i < count(); ++i) {
        const kx3_placement place = model_.place(i);
        if (place.shown != 0 && place.column == KX3_BUTTON_ROW) row->addWidget(widgetOf(i));
    }
}

/// The form moves the focus to an entry that it refuses.
void FormDialog::refreshFocus(int32_t focus) {
    if (focus < 0 || focusWidget() == widgetOf(focus)) return;
    widgetOf(focus)->setFocus();
}

// Events

bool FormDialog::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::FocusIn && !refreshing_) {
        const auto found = std::find(widgets_.begin(), widgets_.end(), watched);
        const auto control = static_cast<int32_t>(found - widgets_.begin());
        if (body_->isAncestorOf(widgetOf(control))) body_->ensureWidgetVisible(widgetOf(control));
        act([=, this] { model_.focus(control); });
    }
    return QDialog::eventFilter(watched, event);
}

void FormDialog::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    body_->fitContent();                                              // fonts and borders are known only now
    if (event->spontaneous() || model_.form().on_screen == 0) return; // else Qt centres on the owner
    adjustSize();
    QRect frame = frameGeometry();
    frame.moveCenter(screen()->availableGeometry().center());
    move(frame.topLeft());
}

void FormDialog::reject() {
    if (cancel_ >= 0)
        act([this] { model_.click(cancel_); });
    else
        close();
}

void FormDialog::closeEvent(QCloseEvent *event) {
    event->accept();
    act([this] { model_.close(); });
}

} // namespace kx3qt
