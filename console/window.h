// Dialogs and boxes in windows. They are drawn by libkx3mpu6-qt.so, which is loaded when one is wanted,
// so that mpu6 itself needs no Qt.
#pragma once

#include <cstdint>
#include <kx3mpu6-qt.h>
#include <string>

namespace kx3console {

class Window {
  public:
    /// Load the library and reach the display. Fails with Exit::noDisplay, saying what is missing.
    Window();

    /// Show a form of the plug-in until it is closed; true when that was by OK.
    [[nodiscard]] bool show(kx3_form *form) const;
    /// Show a box and give the button that was pressed, KX3_BUTTON_...; `style` as in kx3_ui. Without a
    /// title the box has the system's.
    [[nodiscard]] std::int32_t ask(const std::string &title, const std::string &prompt, std::int32_t style) const;

  private:
    decltype(&kx3_qt_show_form) showForm_;
    decltype(&kx3_qt_message_box) messageBox_;
};

} // namespace kx3console
