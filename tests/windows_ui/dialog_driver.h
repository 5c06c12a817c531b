// Works real dialogs of the calling thread from inside their message loop, as a person's keys do.
#pragma once

#include "base/text.h"
#include "platform/win32/wide.h"
#include "win32/form_dialog.h"

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kx3::test {

[[nodiscard]] inline std::u16string textOf(HWND window) {
    std::array<wchar_t, 256> text{};
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return std::u16string(platform::utf16(text.data()));
}

[[nodiscard]] inline std::wstring classOf(HWND window) {
    std::array<wchar_t, 16> name{};
    ::GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

/// The thread's open dialog, or null.
[[nodiscard]] inline HWND openDialog() {
    HWND window = nullptr;
    while ((window = ::FindWindowExW(nullptr, window, L"#32770", nullptr)) != nullptr)
        if (::GetWindowThreadProcessId(window, nullptr) == ::GetCurrentThreadId() && ::IsWindowVisible(window) != FALSE)
            return window;
    return nullptr;
}

/// A step of a person before a dialog.
using Step = std::function<void(HWND dialog)>;

/// A message to the window with the focus.
inline Step post(UINT message, WPARAM wide = 0, LPARAM parameter = 1) {
    return [=](HWND) { ::PostMessageW(::GetFocus(), message, wide, parameter); };
}
inline Step key(WPARAM virtualKey) { return post(WM_KEYDOWN, virtualKey); }
inline Step character(wchar_t typed) { return post(WM_CHAR, typed); }

/// Call `open`, which shows a dialog modally, and take a step whenever its message loop has nothing else to
/// do, so that the messages of one step have arrived before the next. A dialog that closes before the last
/// step, or is still open some time after it, is a failure.
inline void workWhile(const std::function<void()> &open, std::vector<Step> steps) {
    static std::vector<Step> script;
    static std::size_t turns;
    script = std::move(steps);
    turns = 0;
    const auto tick = +[](HWND, UINT, UINT_PTR, DWORD) __attribute__((stdcall)) {
        constexpr std::size_t patience = 5; // the last step's messages have a turn to close the dialog
        HWND dialog = openDialog();
        if (dialog == nullptr) return;
        const std::size_t turn = turns++;
        if (turn < script.size()) return script[turn](dialog);
        if (turn < script.size() + patience) return;
        ADD_FAILURE() << "the dialog is still open";
        ::PostMessageW(dialog, WM_CLOSE, 0, 0);
    };
    const UINT_PTR timer = ::SetTimer(nullptr, 0, USER_TIMER_MINIMUM, tick);
    open();
    ::KillTimer(nullptr, timer);
    EXPECT_GE(turns, script.size()) << "the dialog has closed before the last step";
}
inline void showAndWork(Form &form, std::vector<Step> steps) {
    workWhile([&form] { win32::showModal(form); }, std::move(steps));
}

} // namespace kx3::test
