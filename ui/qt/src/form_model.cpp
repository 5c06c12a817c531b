#include "form_model.h"

namespace kx3qt {

QString drawnText(const uint16_t *units, std::size_t length) {
    QString text = QString::fromUtf16(reinterpret_cast<const char16_t *>(units), static_cast<qsizetype>(length));
    return text.remove(QLatin1Char('\t'));
}

void FormModel::check(kx3_status status) {
    if (status != KX3_OK && failure_.empty()) failure_ = kx3_last_error();
}

QStringList FormModel::items(int32_t control) {
    QStringList items;
    const int32_t count = this->control(control).items;
    while (items.size() < count)
        items.append(drawnText(ask(kx3_text(), kx3_form_item, control, static_cast<int32_t>(items.size()))));
    return items;
}

} // namespace kx3qt
