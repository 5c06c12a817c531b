#include "win32/text_box.h"

#include "base/error.h"
#include "forms/form.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace kx3::win32 {

namespace {

static_assert(VK_END == keyEnd && VK_HOME == keyHome && VK_LEFT == keyLeft && VK_RIGHT == keyRight);
static_assert(VK_DELETE == keyDelete && VK_BACK == charBackspace);

/// What the keyboard makes of a letter with Ctrl.
constexpr WPARAM controlA = 1;
constexpr WPARAM controlC = 3;
constexpr WPARAM controlV = 22;
constexpr WPARAM controlX = 24;
constexpr WPARAM controlBackspace = 127;

bool isPressed(int key) noexcept { return ::GetKeyState(key) < 0; }

/// Beginning and length of what is selected.
using Selection = std::pair<Long, Long>;

Selection selectionOf(const Control &box) noexcept { return {box.selectionStart(), box.selectionLength()}; }

Selection selectionOf(HWND window) noexcept {
    DWORD start = 0;
    DWORD end = 0;
    ::SendMessageW(window, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
    return {static_cast<Long>(start), static_cast<Long>(end - start)};
}

std::u16string textOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(
        static_cast<std::size_t>(std::max(::GetWindowTextW(window, text.data(), static_cast<int>(text.size())), 0)));
    return std::u16string(platform::utf16(text));
}

template <class Action> struct AtEnd {
    Action action;
    ~AtEnd() { action(); }
};

/// The first line of the clipboard's text; nothing when it holds none.
std::optional<std::u16string> clipboardLine(HWND window) {
    if (::OpenClipboard(window) == FALSE) return {};
    const AtEnd close{[] { ::CloseClipboard(); }};
    HANDLE data = ::GetClipboardData(CF_UNICODETEXT);
    const auto *text = static_cast<const wchar_t *>(data == nullptr ? nullptr : ::GlobalLock(data));
    if (text == nullptr) return {};
    const AtEnd unlock{[data] { ::GlobalUnlock(data); }};
    // Its maker may have left out the terminator.
    const std::wstring_view line(text, ::GlobalSize(data) / sizeof(wchar_t));
    return std::u16string(platform::utf16(line.substr(0, line.find_first_of(std::wstring_view(L"\0\r\n", 3)))));
}

/// The text that a message's parameter points to.
std::u16string textAt(LPARAM parameter) {
    const auto *text = reinterpret_cast<const wchar_t *>(parameter);
    return text == nullptr ? std::u16string() : std::u16string(platform::utf16(text));
}

} // namespace

TextBox::TextBox(Form &form, const Control &control, HWND window, std::function<void()> acted)
    : form_(form), control_(control), window_(window), acted_(std::move(acted)) {
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    original_ = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&TextBox::procedure)));
    if (original_ == nullptr) raise(ErrorNumber::internal, u"A text box cannot be bound");
}

TextBox::~TextBox() {
    if (::IsWindow(window_) != FALSE) ::SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(original_));
}

void TextBox::show() {
    if (showing_) return;
    showing_ = true;
    const std::u16string text(control_.text());
    if (textOf(window_) != text) ::SetWindowTextW(window_, platform::wide(text));
    if (const auto [start, length] = selectionOf(control_); selectionOf(window_) != selectionOf(control_))
        inherited(EM_SETSEL, static_cast<WPARAM>(start), start + length);
    showing_ = false;
}

LRESULT CALLBACK TextBox::procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) noexcept {
    auto &self = *reinterpret_cast<TextBox *>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    try {
        return self.handle(message, wide, parameter);
    } catch (...) {
        // Out of memory: the key has no effect, and the model has not changed.
        return 0;
    }
}

LRESULT TextBox::inherited(UINT message, WPARAM wide, LPARAM parameter) noexcept {
    return ::CallWindowProcW(original_, window_, message, wide, parameter);
}

LRESULT TextBox::handle(UINT message, WPARAM wide, LPARAM parameter) {
    switch (message) {
    case WM_KEYDOWN: return keyDown(wide, parameter);
    case WM_CHAR: return character(wide, parameter);
    // The last two are how screen readers and other programs enter a text.
    case WM_PASTE: return paste(clipboardLine(window_));
    case EM_REPLACESEL: return paste(textAt(parameter));
    case WM_SETTEXT: return setText(wide, parameter);
    case WM_CUT: return cut();
    case WM_CLEAR: return clear();
    // The control would take back what the model has taken.
    case EM_CANUNDO:
    case EM_UNDO:
    case WM_UNDO: return FALSE;
    case EM_SETSEL:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK:
    case WM_MOUSEMOVE:
    case WM_SETFOCUS: return select(message, wide, parameter);
    default: return inherited(message, wide, parameter);
    }
}

/// What can move the control's own caret or selection, which the model is then told.
LRESULT TextBox::select(UINT message, WPARAM wide, LPARAM parameter) {
    const LRESULT result = inherited(message, wide, parameter);
    const auto [start, length] = selectionOf(window_);
    if (showing_ || Selection{start, length} == selectionOf(control_)) return result;
    form_.selectText(control_, start, length);
    acted_();
    return result;
}

LRESULT TextBox::keyDown(WPARAM key, LPARAM parameter) {
    const bool shift = isPressed(VK_SHIFT);
    if (key == VK_INSERT && shift) return paste(clipboardLine(window_));
    if (key == VK_DELETE && shift) return cut();
    // With Shift or Ctrl the caret keys select and skip words, which is the control's business.
    if (key == VK_DELETE || (!shift && !isPressed(VK_CONTROL))) {
        const bool done = form_.keyDown(control_, static_cast<Integer>(key));
        acted_();
        if (done || key == VK_DELETE) return 0;
    }
    return select(WM_KEYDOWN, key, parameter);
}

LRESULT TextBox::character(WPARAM typed, LPARAM parameter) {
    switch (typed) {
    case controlA: ::SendMessageW(window_, EM_SETSEL, 0, -1); return 0;
    case controlC: return inherited(WM_CHAR, typed, parameter);
    case controlV: return paste(clipboardLine(window_));
    case controlX: return cut();
    case controlBackspace: return 0;
    default: break;
    }
    form_.keyPress(control_, static_cast<char16_t>(typed));
    acted_();
    return 0;
}

LRESULT TextBox::cut() {
    inherited(WM_COPY, 0, 0);
    return clear();
}

/// Delete the selection as the key does, which the box may refuse.
LRESULT TextBox::clear() {
    if (control_.selectionLength() == 0) return 0;
    form_.keyDown(control_, keyDelete);
    acted_();
    return 0;
}

LRESULT TextBox::paste(const std::optional<std::u16string> &text) {
    if (!text) return 0;
    form_.paste(control_, *text);
    acted_();
    return 0;
}

/// Replace the whole text, unless it is the model's own that is to be shown.
LRESULT TextBox::setText(WPARAM wide, LPARAM text) {
    if (showing_) return inherited(WM_SETTEXT, wide, text);
    form_.selectText(control_, 0, static_cast<Long>(control_.text().size()));
    paste(textAt(text));
    return TRUE;
}

} // namespace kx3::win32
