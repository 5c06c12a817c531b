#include "win32/thread_windows.h"

#include "base/error.h"

#include <new>

namespace kx3::win32 {

ThreadWindowsDisabled::ThreadWindowsDisabled(HWND dialog)
    : dialog_(dialog), active_(::GetActiveWindow()), focus_(::GetFocus()) {
    ::EnumThreadWindows(::GetCurrentThreadId(), collect, reinterpret_cast<LPARAM>(this));
    if (!complete_) throw std::bad_alloc();
    for (const HWND window : disabled_)
        ::EnableWindow(window, FALSE);
}

ThreadWindowsDisabled::~ThreadWindowsDisabled() {
    for (const HWND window : disabled_)
        ::EnableWindow(window, TRUE);
    if (active_ == nullptr || active_ == dialog_) return;
    ::SetActiveWindow(active_);
    if (focus_ != nullptr) ::SetFocus(focus_);
}

BOOL CALLBACK ThreadWindowsDisabled::collect(HWND window, LPARAM self) noexcept {
    auto &object = *reinterpret_cast<ThreadWindowsDisabled *>(self);
    if (window == object.dialog_ || ::IsWindowVisible(window) == FALSE || ::IsWindowEnabled(window) == FALSE)
        return TRUE;
    try {
        object.disabled_.push_back(window);
    } catch (const std::bad_alloc &) {
        object.complete_ = false;
    }
    return TRUE;
}

} // namespace kx3::win32
