// Drives real dialogs of the calling thread from inside their message loop, as a person's keys do.
#pragma once

#include "base/text.h"
#include "editors/editor_driver.h"
#include "platform/win32/wide.h"
#include "win32/form_dialog.h"

#include <array>
#include <chrono>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace kx3::test {

[[nodiscard]] inline std::wstring textOfWindow(HWND window) {
    std::array<wchar_t, 256> text{};
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return text.data();
}

[[nodiscard]] inline std::string utf8(const std::wstring &text) { return toUtf8(platform::utf16(text)); }

inline BOOL CALLBACK findDialog(HWND window, LPARAM result) {
    std::array<wchar_t, 16> name{};
    ::GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    if (std::wstring_view(name.data()) != L"#32770" || ::IsWindowVisible(window) == FALSE) return TRUE;
    *reinterpret_cast<HWND *>(result) = window;
    return FALSE;
}

/// The thread's open dialog, or null.
[[nodiscard]] inline HWND openDialog() {
    HWND found = nullptr;
    ::EnumThreadWindows(::GetCurrentThreadId(), findDialog, reinterpret_cast<LPARAM>(&found));
    return found;
}

inline void postKey(WPARAM key) { ::PostMessageW(::GetFocus(), WM_KEYDOWN, key, 1); }
inline void postCharacter(wchar_t character) { ::PostMessageW(::GetFocus(), WM_CHAR, character, 1); }

/// As long as it lives, runs a step whenever the thread's message loop has nothing else to do and a
/// dialog is open, so that the messages of one step have arrived before the next. A dialog that is
/// still open after the last step, or after a minute, is closed and counts as a failure.
class DialogScript {
  public:
    using Step = std::function<void(HWND dialog)>;
    explicit DialogScript(std::vector<Step> steps)
        : steps_(std::move(steps)), end_(std::chrono::steady_clock::now() + std::chrono::minutes(1)) {
        current() = this;
        timer_ = ::SetTimer(nullptr, 0, USER_TIMER_MINIMUM, tick);
    }
    ~DialogScript() {
        ::KillTimer(nullptr, timer_);
        current() = nullptr;
        EXPECT_EQ(next_, steps_.size()) << "the dialog has closed before the last step";
    }
    DialogScript(const DialogScript &) = delete;
    DialogScript &operator=(const DialogScript &) = delete;

  private:
    static DialogScript *&current() {
        static DialogScript *script = nullptr;
        return script;
    }
    static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
        if (HWND dialog = openDialog(); dialog != nullptr && current() != nullptr) current()->advance(dialog);
    }
    void advance(HWND dialog) {
        if (next_ < steps_.size() && std::chrono::steady_clock::now() < end_) return steps_[next_++](dialog);
        // The last step's messages have a turn to close the dialog.
        if (++idle_ < 5) return;
        ADD_FAILURE() << "the dialog is still open";
        ::PostMessageW(dialog, WM_CLOSE, 0, 0);
    }

    std::vector<Step> steps_;
    std::size_t next_ = 0;
    int idle_ = 0;
    UINT_PTR timer_ = 0;
    std::chrono::steady_clock::time_point end_;
};

inline DialogScript::Step key(WPARAM virtualKey) {
    return [=](HWND) { postKey(virtualKey); };
}
inline DialogScript::Step character(wchar_t typed) {
    return [=](HWND) { postCharacter(typed); };
}

/// Editors in real dialogs, opened by `editfigmpu6`.
class DialogTest : public EditorTest {
  protected:
    using Steps = std::vector<DialogScript::Step>;

    /// Open the editor of the device as set, and act on its dialog.
    void openDialogWith(const std::function<Steps()> &steps) {
        plugin.ui->onModal = [&](Form &form) {
            form_ = &form;
            const DialogScript script(steps());
            win32::showModal(form);
            EXPECT_FALSE(form.loaded());
        };
        plugin.mpu.editfigmpu6();
    }
    void openDialogWith(const Steps &steps) {
        openDialogWith([&] { return steps; });
    }

    Form *form_ = nullptr; ///< while its dialog is open
};

/// One mode of each editor.
inline constexpr Byte oneModeEach[] = {1, 4, 12, 15, 22, 23, 41, 48, 50, 51, 64};

} // namespace kx3::test
