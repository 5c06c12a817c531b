#include "form_model.h"

namespace kx3qt {

QString drawnText(const uint16_t *units, std::size_t length) {
    QString text = QString::fromUtf16(reinterpret_cast<const char16_t *>(units), static_cast<qsizetype>(length));
    return text.remove(QLatin1Char('\t'));
}

void FormModel::check(kx3_status status) {
    if (status != KX3_OK && failure_.empty()) failure_ = kx3_last_error();
}

template <class Function, class... Arguments> bool FormModel::act(Function function, Arguments... arguments) {
    int32_t done = 0;
    check(function(form_, arguments..., &done));
    return done != 0;
}

kx3_form_info FormModel::form() {
    kx3_form_info info{};
    check(kx3_form_describe(form_, &info));
    return info;
}

kx3_control_info FormModel::control(int32_t control) {
    kx3_control_info info{};
    check(kx3_form_control(form_, control, &info));
    return info;
}

kx3_placement FormModel::place(int32_t control) {
    kx3_placement placement{};
    check(kx3_form_place(form_, control, &placement));
    return placement;
}

QStringList FormModel::items(int32_t control, int32_t count) {
    QStringList items;
    for (int32_t i = 0; i < count; ++i) {
        kx3_text text{};
        check(kx3_form_item(form_, control, i, &text));
        items.append(drawnText(text));
    }
    return items;
}

bool FormModel::choose(int32_t control, int32_t item) { return act(kx3_form_choose, control, item); }
bool FormModel::click(int32_t control) { return act(kx3_form_click, control); }
bool FormModel::keyDown(int32_t control, int16_t keyCode) { return act(kx3_form_key_down, control, keyCode); }
bool FormModel::keyPress(int32_t control, uint16_t character) { return act(kx3_form_key_press, control, character); }
bool FormModel::paste(int32_t control, const QString &text) {
    return act(kx3_form_paste, control, text.utf16(), static_cast<std::size_t>(text.size()));
}
bool FormModel::selectText(int32_t control, int32_t start, int32_t length) {
    return act(kx3_form_select_text, control, start, length);
}
bool FormModel::focus(int32_t control) { return act(kx3_form_focus, control); }
bool FormModel::close() { return act(kx3_form_close); }

} // namespace kx3qt
