// What a test does while a message loop of the plug-in runs.
#pragma once

#include <functional>
#include <windows.h>

namespace kx3::test {

/// Calls its action in every message loop of the thread, by a message that comes back as long as this
/// lives. There is one at a time.
class MessageLoopWatch {
  public:
    explicit MessageLoopWatch(std::function<void()> action) {
        action_ = std::move(action);
        ::SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&receive));
        ::PostMessageW(window_, look, 0, 0);
    }
    ~MessageLoopWatch() { ::DestroyWindow(window_); }
    MessageLoopWatch(const MessageLoopWatch &) = delete;
    MessageLoopWatch &operator=(const MessageLoopWatch &) = delete;

  private:
    static constexpr UINT look = WM_APP;

    static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM word, LPARAM number) {
        if (message != look) return ::DefWindowProcW(window, message, word, number);
        ::PostMessageW(window, look, 0, 0);
        action_();
        return 0;
    }

    static inline std::function<void()> action_;
    HWND window_ = ::CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
};

} // namespace kx3::test
