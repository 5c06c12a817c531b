// A form of the plug-in as Qt sees it: texts as QString, and actions.
#pragma once

#include <kx3mpu6.h>

#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kx3qt {

/// A text of the plug-in as it is drawn: without tabs.
QString drawnText(const uint16_t *units, std::size_t length);
inline QString drawnText(const kx3_text &text) { return drawnText(text.units, text.length); }

/// The form in the hands of show_form. A call that fails makes the form count as closed, and the first
/// failure is kept: nothing may be thrown through Qt's event loop.
class FormModel {
  public:
    explicit FormModel(kx3_form *form) : form_(form) {}

    [[nodiscard]] kx3_form_info form();
    [[nodiscard]] kx3_control_info control(int32_t control);
    [[nodiscard]] kx3_placement place(int32_t control);
    [[nodiscard]] QStringList items(int32_t control, int32_t count);
    [[nodiscard]] bool open() const { return failure_.empty() && kx3_form_loaded(form_) != 0; }
    /// Description of the first call that failed, UTF-8; empty when none did.
    [[nodiscard]] const std::string &failure() const { return failure_; }

    // Actions of a person; true when they had an effect.
    bool choose(int32_t control, int32_t item);
    bool click(int32_t control);
    bool keyDown(int32_t control, int16_t keyCode);
    bool keyPress(int32_t control, uint16_t character);
    bool paste(int32_t control, const QString &text);
    bool selectText(int32_t control, int32_t start, int32_t length);
    bool focus(int32_t control);
    bool close();

  private:
    void check(kx3_status status);
    template <class Function, class... Arguments> bool act(Function function, Arguments... arguments);

    kx3_form *form_;
    std::string failure_;
};

} // namespace kx3qt
