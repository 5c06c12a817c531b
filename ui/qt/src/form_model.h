// A form of the plug-in as Qt sees it: texts as QString, and actions that the dialog follows.
#pragma once

#include <kx3mpu6.h>

#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <functional>
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

    [[nodiscard]] kx3_form_info form() { return ask(kx3_form_info_init(), kx3_form_describe); }
    [[nodiscard]] kx3_control_info control(int32_t control) {
        return ask(kx3_control_info_init(), kx3_form_control, control);
    }
    [[nodiscard]] kx3_placement place(int32_t control) { return ask(kx3_placement_init(), kx3_form_place, control); }
    [[nodiscard]] QStringList items(int32_t control);
    [[nodiscard]] bool open() const { return failure_.empty() && kx3_form_loaded(form_) != 0; }
    /// Description of the first call that failed, UTF-8; empty when none did.
    [[nodiscard]] const std::string &failure() const { return failure_; }

    /// Called after each action.
    std::function<void()> follow = [] {};
    /// Act as a person does, by an action of the C interface.
    template <class Action, class... Arguments> void act(Action action, Arguments... arguments) {
        actUnfollowed(action, arguments...);
        follow();
    }
    template <class Action, class... Arguments> void actUnfollowed(Action action, Arguments... arguments) {
        check(action(form_, arguments..., nullptr));
    }

  private:
    template <class Answer, class Function, class... Arguments>
    Answer ask(Answer answer, Function function, Arguments... arguments) {
        check(function(form_, arguments..., &answer));
        return answer;
    }
    void check(kx3_status status);

    kx3_form *form_;
    std::string failure_;
};

} // namespace kx3qt
