#include "com/win32_ui.h"

#include "base/error.h"
#include "platform/win32/wide.h"

#include <string>
#include <windows.h>

namespace kx3::com {

namespace {

static_assert(messageBoxOkOnly == MB_OK && messageBoxInformation == MB_ICONINFORMATION);
static_assert(messageBoxOkCancelQuestion == (MB_OKCANCEL | MB_ICONQUESTION));
static_assert(messageBoxAbortRetryIgnoreExclamation == (MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION));
static_assert(int{IDOK} == 1 && int{IDCANCEL} == 2 && int{IDABORT} == 3 && int{IDRETRY} == 4 && int{IDIGNORE} == 5);

/// A window whose messages never end must not keep an operation from going on.
constexpr int mostMessagesPerYield = 1000;

/// Take the next message in the character set of its window: the texts of a window that is not a
/// Unicode one would suffer otherwise. False when there is none.
bool takeMessage(MSG &message, BOOL &unicode) noexcept {
    if (::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) == FALSE) return false;
    unicode = message.hwnd == nullptr || ::IsWindowUnicode(message.hwnd);
    return (unicode ? ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)
                    : ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) != FALSE;
}

} // namespace

MessageBoxResult Win32Ui::messageBox(std::u16string_view prompt, Long style, std::optional<std::u16string_view> title) {
    const std::u16string text(prompt);
    const std::u16string caption(title.value_or(std::u16string_view()));
    const int button = ::MessageBoxW(nullptr, platform::wide(text), title ? platform::wide(caption) : nullptr,
                                     static_cast<UINT>(style) | MB_TASKMODAL);
    if (button == 0) raise(ErrorNumber::outOfMemory, u"Out of memory: a message box could not be shown");
    return static_cast<MessageBoxResult>(button);
}

void Win32Ui::yield() {
    MSG message;
    BOOL unicode = TRUE;
    for (int i = 0; i < mostMessagesPerYield && takeMessage(message, unicode); ++i) {
        if (message.message == WM_QUIT) {
            // It ends the host's own loop, not this one.
            ::PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        ::TranslateMessage(&message);
        if (unicode)
            ::DispatchMessageW(&message);
        else
            ::DispatchMessageA(&message);
    }
    ::Sleep(0);
}

void Win32Ui::showModal(Form & /*form*/) {
    raise(ErrorNumber::notAvailable, u"The configuration editors are not available in this version");
}

} // namespace kx3::com
