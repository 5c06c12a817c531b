#include "form_dialog.h"

#include "arrangement.h"
#include "model_edit.h"
#include "scroll_body.h"

#include <QAbstractButton>
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
    model_.follow = [this] { follow(); };
    refresh();
}

// Widgets

/// Tab order is the order of creation.
void FormDialog::createWidgets() {
    const int32_t count = model_.form().controls;
    for (int32_t i = 0; i < count; ++i) {
        const kx3_control_info info = model_.control(i);
        const bool below = info.kind == KX3_COMMAND_BUTTON && info.parent < 0;
        QWidget *parent = info.parent >= 0 ? widgetOf(info.parent) : (below ? buttons_ : body_->widget());
        QWidget *widget = createWidget(i, info, parent);
        widget->setObjectName(info.index < 0 ? QString::fromLatin1(info.name)
                                             : QStringLiteral("%1(%2)").arg(QLatin1String(info.name)).arg(info.index));
        widget->installEventFilter(this);
        if (info.label >= 0) static_cast<QLabel *>(widgetOf(info.label))->setBuddy(widget);
        if (info.is_cancel != 0) cancel_ = i;
        widgets_.push_back(widget);
    }
}

QWidget *FormDialog::createWidget(int32_t control, const kx3_control_info &info, QWidget *parent) {
    const auto clicking = [&](QAbstractButton *button) {
        connect(button, &QAbstractButton::clicked, this, [this, control] { model_.act(kx3_form_click, control); });
        return button;
    };
    switch (info.kind) {
    case KX3_FRAME: return new QGroupBox(parent);
    case KX3_CHECK_BOX: return clicking(new QCheckBox(parent));
    case KX3_TEXT_BOX: return new ModelEdit(model_, control, parent);
    case KX3_COMBO_BOX: {
        auto *combo = new QComboBox(parent);
        combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        connect(combo, &QComboBox::currentIndexChanged, this, [this, control](int item) {
            if (!refreshing_) model_.act(kx3_form_choose, control, item);
        });
        return combo;
    }
    case KX3_COMMAND_BUTTON: {
        auto *button = new QPushButton(parent);
        button->setDefault(info.is_default != 0);
        return clicking(button);
    }
    default: break;
    }
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
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

// Showing the form

void FormDialog::follow() {
    if (!model_.open())
        done(0);
    else if (model_.form().revision != revision_)
        refresh();
}

void FormDialog::refresh() {
    refreshing_ = true;
    const kx3_form_info form = model_.form();
    const bool anew = std::exchange(structure_, form.structure_revision) != form.structure_revision;
    if (anew) arrange(form);
    for (int32_t i = 0; i < form.controls; ++i)
        if (anew || model_.control(i).revision > revision_) showState(i, drawnText(form.message));
    revision_ = form.revision;
    // The form moves the focus to an entry that it refuses.
    if (form.focus >= 0 && focusWidget() != widgetOf(form.focus)) widgetOf(form.focus)->setFocus();
    refreshing_ = false;
}

/// Lay out all that is shown, with its captions and lists.
void FormDialog::arrange(const kx3_form_info &form) {
    showTitle(drawnText(form.caption).trimmed());
    message_->setText(drawnText(form.message));
    messageLine_->setVisible(form.message.length > 0);
    Arrangement arrangement(buttons_);
    for (int32_t i = 0; i < form.controls; ++i) {
        const kx3_placement place = model_.place(i);
        widgetOf(i)->setVisible(place.shown != 0);
        if (place.shown == 0) continue;
        widgetOf(i)->setAccessibleName(drawnText(place.accessible_name));
        showCaption(i, place);
        arrangement.place(widgetOf(i), place);
    }
    arrangement.finish();
    body_->fitContent();
}

/// A dialog of short rows must not cut its title off.
void FormDialog::showTitle(const QString &title) {
    setWindowTitle(title);
    const int besideTitle = 3 * style()->pixelMetric(QStyle::PM_TitleBarHeight);
    body_->setLeastWidth(fontMetrics().horizontalAdvance(title) + besideTitle);
}

void FormDialog::showCaption(int32_t control, const kx3_placement &place) {
    QWidget *widget = widgetOf(control);
    const QString caption = drawnText(place.marked_caption);
    if (auto *frame = qobject_cast<QGroupBox *>(widget)) {
        frame->setTitle(caption);
    } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
        button->setText(caption);
    } else if (auto *label = qobject_cast<QLabel *>(widget)) {
        // "&" marks keys of buddies only.
        label->setText(label->buddy() != nullptr ? caption : drawnText(model_.control(control).caption));
    } else if (auto *combo = qobject_cast<QComboBox *>(widget)) {
        combo->clear();
        combo->addItems(model_.items(control));
    }
}

void FormDialog::showState(int32_t control, const QString &message) {
    const kx3_control_info info = model_.control(control);
    QWidget *widget = widgetOf(control);
    widget->setEnabled(info.enabled != 0);
    switch (info.kind) {
    case KX3_COMBO_BOX: static_cast<QComboBox *>(widget)->setCurrentIndex(info.list_index); break;
    case KX3_CHECK_BOX: static_cast<QCheckBox *>(widget)->setChecked(info.checked != 0); break;
    case KX3_TEXT_BOX: static_cast<ModelEdit *>(widget)->show(info, message); break;
    default: break;
    }
}

// Events

bool FormDialog::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::FocusIn && !refreshing_) {
        const auto found = std::find(widgets_.begin(), widgets_.end(), watched);
        if (body_->isAncestorOf(*found)) body_->ensureWidgetVisible(*found);
        model_.act(kx3_form_focus, static_cast<int32_t>(found - widgets_.begin()));
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
        model_.act(kx3_form_click, cancel_);
    else
        close();
}

void FormDialog::closeEvent(QCloseEvent *event) {
    event->accept();
    model_.act(kx3_form_close);
}

} // namespace kx3qt
