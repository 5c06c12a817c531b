// An edit field whose every key goes to the model, which alone changes the text.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <windows.h>

namespace kx3 {
class Control;
class Form;
} // namespace kx3

namespace kx3::win32 {

/// Binds an edit control to a text box of a form, up to the control's end.
class TextBox {
  public:
    /// `acted` is called after each action on the model; the form may be closed then. It must not
    /// throw. Raises "internal" when the control cannot be taken over.
    TextBox(Form &form, const Control &control, HWND window, std::function<void()> acted);
    TextBox(const TextBox &) = delete;
    TextBox &operator=(const TextBox &) = delete;
    ~TextBox();

    /// Show the model's text and selection, whatever the control has made of them.
    void show();

  private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) noexcept;
    LRESULT handle(UINT message, WPARAM wide, LPARAM parameter);
    LRESULT inherited(UINT message, WPARAM wide, LPARAM parameter) noexcept;
    LRESULT select(UINT message, WPARAM wide, LPARAM parameter);
    LRESULT keyDown(WPARAM key, LPARAM parameter);
    LRESULT character(WPARAM typed, LPARAM parameter);
    LRESULT cut();
    LRESULT clear();
    LRESULT paste(const std::optional<std::u16string> &text);
    LRESULT setText(WPARAM wide, LPARAM text);

    Form &form_;
    const Control &control_;
    HWND window_;
    std::function<void()> acted_;
    WNDPROC original_ = nullptr;
    bool showing_ = false;
};

} // namespace kx3::win32
