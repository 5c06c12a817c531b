#include "win32/message_queue.h"

namespace kx3::win32 {

bool takeMessage(QueuedMessage &taken) noexcept {
    MSG &message = taken.message;
    if (::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) == FALSE) return false;
    taken.unicode = message.hwnd == nullptr || ::IsWindowUnicode(message.hwnd) != FALSE;
    return (taken.unicode ? ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)
                          : ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) != FALSE;
}

void dispatch(const QueuedMessage &taken) noexcept {
    ::TranslateMessage(&taken.message);
    if (taken.unicode)
        ::DispatchMessageW(&taken.message);
    else
        ::DispatchMessageA(&taken.message);
}

bool passOnQuit(const QueuedMessage &taken) noexcept {
    if (taken.message.message != WM_QUIT) return false;
    ::PostQuitMessage(static_cast<int>(taken.message.wParam));
    return true;
}

} // namespace kx3::win32
