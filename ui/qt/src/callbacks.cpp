// The library's functions: the plug-in's callbacks on Qt.

#include "kx3mpu6-qt.h"

#include "application.h"
#include "form_dialog.h"

#include <QApplication>
#include <QMessageBox>
#include <algorithm>
#include <exception>
#include <iterator>

namespace {

using kx3qt::drawnText;

/// Buttons and icon of each style that the plug-in uses; the first button is the default. Qt finds the one
/// that Escape stands for.
constexpr struct Style {
    int32_t style;
    QMessageBox::Icon icon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton first;
} styles[] = {
    {0, QMessageBox::NoIcon, QMessageBox::Ok, QMessageBox::Ok},
    {33, QMessageBox::Question, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok},
    {50, QMessageBox::Warning, QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore, QMessageBox::Abort},
    {64, QMessageBox::Information, QMessageBox::Ok, QMessageBox::Ok},
};

constexpr struct {
    QMessageBox::StandardButton button;
    int32_t result;
} results[] = {
    {QMessageBox::Ok, KX3_BUTTON_OK},         {QMessageBox::Cancel, KX3_BUTTON_CANCEL},
    {QMessageBox::Abort, KX3_BUTTON_ABORT},   {QMessageBox::Retry, KX3_BUTTON_RETRY},
    {QMessageBox::Ignore, KX3_BUTTON_IGNORE},
};

const Style &styleOf(int32_t style) {
    const auto *found =
        std::find_if(std::begin(styles), std::end(styles), [=](const Style &s) { return s.style == style; });
    return found == std::end(styles) ? styles[0] : *found;
}

/// Run `draw` on a ready application; nothing it throws leaves the library.
template <class Draw> kx3_status drawn(Draw draw) {
    if (const char *reason = kx3qt::startApplication()) {
        kx3_fail_with(reason);
        return KX3_NOT_AVAILABLE;
    }
    try {
        return draw();
    } catch (const std::exception &error) {
        kx3_fail_with(error.what());
        return KX3_INTERNAL;
    }
}

} // namespace

extern "C" {

const char *kx3_qt_start(void) { return kx3qt::startApplication(); }

kx3_status kx3_qt_yield(void * /*context*/) {
    return drawn([] {
        QCoreApplication::processEvents();
        return KX3_OK;
    });
}

kx3_status kx3_qt_message_box(void * /*context*/, const uint16_t *prompt, size_t prompt_length, int32_t style,
                              const uint16_t *title, size_t title_length, int32_t *button) {
    return drawn([&] {
        const Style &look = styleOf(style);
        const QString caption =
            title != nullptr ? drawnText(title, title_length) : QApplication::applicationDisplayName();
        QMessageBox box(look.icon, caption.trimmed(), QString(), look.buttons, QApplication::activeWindow());
        box.setTextFormat(Qt::PlainText);
        box.setText(drawnText(prompt, prompt_length).replace(QLatin1Char('\r'), QLatin1Char('\n')));
        box.setDefaultButton(look.first);
        const int pressed = box.exec();
        for (const auto &result : results)
            if (result.button == pressed && button != nullptr) *button = result.result;
        return KX3_OK;
    });
}

kx3_status kx3_qt_show_form(void * /*context*/, kx3_form *form) {
    return drawn([form] {
        kx3qt::FormModel model(form);
        kx3qt::FormDialog(model, QApplication::activeWindow()).exec();
        if (model.failure().empty()) return KX3_OK;
        kx3_fail_with(model.failure().c_str());
        return KX3_INTERNAL;
    });
}

} // extern "C"
