#include "win32/text_box.h"

#include "base/error.h"
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

struct Selection {
    Long start = 0;
    Long length = 0;
    [[nodiscard]] bool operator==(const Selection &) const = default;
};

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

class OpenClipboardFor {
  public:
    explicit OpenClipboardFor(HWND window) noexcept : open_(::OpenClipboard(window) != FALSE) {}
    ~OpenClipboardFor() {
        if (open_) ::CloseClipboard();
    }
    OpenClipboardFor(const OpenClipboardFor &) = delete;
    OpenClipboardFor &operator=(const OpenClipboardFor &) = delete;
    explicit operator bool() const noexcept { return open_; }

  private:
    bool open_;
};

/// The first line of the clipboard's text; nothing when it holds none.
std::optional<std::u16string> clipboardLine(HWND window) {
    const OpenClipboardFor clipboard(window);
    if (!clipboard) return {};
    HANDLE data = ::GetClipboardData(CF_UNICODETEXT);
    if (data == nullptr) return {};
    const auto *text = static_cast<const wchar_t *>(::GlobalLock(data));
    if (text == nullptr) return {};
    // Its maker may have left out the terminator.
    std::wstring_view line(text, ::GlobalSize(data) / sizeof(wchar_t));
    line = line.substr(0, line.find_first_of(std::wstring_view(L"\0\r\n", 3)));
    std::u16string copy;
    try {
        copy = platform::utf16(line);
    } catch (...) {
        ::GlobalUnlock(data);
        throw;
    }
    ::GlobalUnlock(data);
    return copy;
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
    const Selection wanted{control_.selectionStart(), control_.selectionLength()};
    if (selectionOf(window_) != wanted)
        inherited(EM_SETSEL, static_cast<WPARAM>(wanted.start), wanted.start + wanted.length);
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
    case WM_PASTE: paste(clipboardLine(window_)); return 0;
    case EM_REPLACESEL: paste(textAt(parameter)); return 0;
    case WM_SETTEXT: return setText(wide, parameter);
    case WM_CUT: cut(); return 0;
    case WM_CLEAR: clear(); return 0;
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

/// What can move the control's own caret or selection.
LRESULT TextBox::select(UINT message, WPARAM wide, LPARAM parameter) {
    const LRESULT result = inherited(message, wide, parameter);
    pullSelection();
    return result;
}

/// Tell the model where the caret stands, unless it knows.
void TextBox::pullSelection() {
    if (showing_) return;
    const Selection selection = selectionOf(window_);
    if (selection == Selection{control_.selectionStart(), control_.selectionLength()}) return;
    form_.selectText(control_, selection.start, selection.length);
    acted_();
}

LRESULT TextBox::keyDown(WPARAM key, LPARAM parameter) {
    const bool shift = isPressed(VK_SHIFT);
    const bool control = isPressed(VK_CONTROL);
    if (key == VK_INSERT && shift) {
        paste(clipboardLine(window_));
        return 0;
    }
    if (key == VK_DELETE && shift) {
        cut();
        return 0;
    }
    // With Shift or Ctrl the caret keys select and skip words, which is the control's business.
    const bool own = key == VK_DELETE || (!shift && !control);
    if (own) {
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
    case controlV: paste(clipboardLine(window_)); return 0;
    case controlX: cut(); return 0;
    case controlBackspace: return 0;
    default: break;
    }
    form_.keyPress(control_, static_cast<char16_t>(typed));
    acted_();
    return 0;
}

void TextBox::cut() {
    inherited(WM_COPY, 0, 0);
    clear();
}

/// Delete the selection as the key does, which the box may refuse.
void TextBox::clear() {
    if (control_.selectionLength() == 0) return;
    form_.keyDown(control_, keyDelete);
    acted_();
}

void TextBox::paste(const std::optional<std::u16string> &text) {
    if (!text) return;
    form_.paste(control_, *text);
    acted_();
}

/// Replace the whole text, unless it is the model's own that is to be shown.
LRESULT TextBox::setText(WPARAM wide, LPARAM text) {
    if (showing_) return inherited(WM_SETTEXT, wide, text);
    form_.selectText(control_, 0, static_cast<Long>(control_.text().size()));
    paste(textAt(text));
    return TRUE;
}

} // namespace kx3::win32
