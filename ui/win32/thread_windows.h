// The other windows of the thread while a modal dialog is open.
#pragma once

#include <vector>
#include <windows.h>

namespace kx3::win32 {

/// Disables the thread's enabled top-level windows but `dialog`, as long as the object lives; then
/// enables the same ones again and gives the window that was active the activation back. Destroy it
/// before the dialog: else the system activates another program's window.
class ThreadWindowsDisabled {
  public:
    explicit ThreadWindowsDisabled(HWND dialog);
    ~ThreadWindowsDisabled();
    ThreadWindowsDisabled(const ThreadWindowsDisabled &) = delete;
    ThreadWindowsDisabled &operator=(const ThreadWindowsDisabled &) = delete;

  private:
    static BOOL CALLBACK collect(HWND window, LPARAM self) noexcept;

    HWND dialog_;
    HWND active_;
    HWND focus_;
    std::vector<HWND> disabled_;
    bool complete_ = true;
};

} // namespace kx3::win32
