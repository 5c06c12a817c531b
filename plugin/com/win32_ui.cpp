#include "com/win32_ui.h"

#include "base/error.h"
#include "platform/win32/wide.h"
#include "win32/form_dialog.h"
#include "win32/message_queue.h"

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
    win32::QueuedMessage queued;
    for (int i = 0; i < mostMessagesPerYield && win32::takeMessage(queued) && !win32::passOnQuit(queued); ++i)
        win32::dispatch(queued);
    ::Sleep(0);
}

void Win32Ui::showModal(Form &form) { win32::showModal(form); }

} // namespace kx3::com
