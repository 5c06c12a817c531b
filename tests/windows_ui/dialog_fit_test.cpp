// Every dialog in every mode and language: nothing clipped, nothing overlapping, nothing outside.

#include "windows_ui/dialog_driver.h"

#include <algorithm>

namespace kx3::test {
namespace {

constexpr SIZE smallestScreen{1024, 768};

struct Child {
    HWND window = nullptr;
    std::wstring kind;
    RECT place{};
    DWORD style = 0;

    [[nodiscard]] bool isGroupBox() const { return kind == L"Button" && (style & BS_TYPEMASK) == BS_GROUPBOX; }
};

std::vector<Child> shownChildren(HWND dialog) {
    std::vector<Child> children;
    for (HWND window = ::GetWindow(dialog, GW_CHILD); window != nullptr; window = ::GetWindow(window, GW_HWNDNEXT)) {
        if (::IsWindowVisible(window) == FALSE) continue;
        std::array<wchar_t, 16> kind{};
        ::GetClassNameW(window, kind.data(), static_cast<int>(kind.size()));
        Child child{window, kind.data(), {}, static_cast<DWORD>(::GetWindowLongW(window, GWL_STYLE))};
        ::GetWindowRect(window, &child.place);
        ::MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&child.place), 2);
        children.push_back(std::move(child));
    }
    return children;
}

/// What a text takes in the control's own font.
SIZE textSize(HWND window, const std::wstring &text, UINT format) {
    HDC context = ::GetDC(window);
    HGDIOBJ old = ::SelectObject(context, reinterpret_cast<HGDIOBJ>(::SendMessageW(window, WM_GETFONT, 0, 0)));
    RECT box{};
    ::DrawTextW(context, text.c_str(), -1, &box, DT_CALCRECT | DT_SINGLELINE | format);
    ::SelectObject(context, old);
    ::ReleaseDC(window, context);
    return {box.right, box.bottom};
}

/// What the control needs around its text: box, border, button, the dotted line of the focus.
LONG decoration(const Child &child, int dpi) {
    if (child.kind == L"Static") return 0;
    if (child.kind == L"Edit") return 4;
    if (child.kind == L"ComboBox") return ::GetSystemMetrics(SM_CXVSCROLL) + 6;
    const DWORD type = child.style & BS_TYPEMASK;
    return ::MulDiv(type == BS_CHECKBOX ? 18 : type == BS_GROUPBOX ? 16 : 8, dpi, 96);
}

void expectTextFits(const Child &child, int dpi) {
    RECT client{};
    ::GetClientRect(child.window, &client);
    std::vector<std::wstring> texts{textOfWindow(child.window)};
    const bool plain = child.kind == L"Edit" || child.kind == L"ComboBox";
    if (child.kind == L"ComboBox") {
        const auto count = ::SendMessageW(child.window, CB_GETCOUNT, 0, 0);
        for (LRESULT i = 0; i < count; ++i) {
            std::array<wchar_t, 128> item{};
            ::SendMessageW(child.window, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(item.data()));
            texts.emplace_back(item.data());
        }
    }
    for (const std::wstring &text : texts) {
        const SIZE size = textSize(child.window, text, plain ? DT_NOPREFIX : 0);
        EXPECT_LE(size.cx + decoration(child, dpi), client.right) << utf8(text);
        EXPECT_LE(size.cy, client.bottom) << utf8(text);
    }
}

bool contains(const RECT &outer, const RECT &inner) {
    return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
           inner.bottom <= outer.bottom;
}
bool overlap(const RECT &a, const RECT &b) {
    RECT common{};
    return ::IntersectRect(&common, &a, &b) != FALSE;
}

void expectFits(HWND dialog, int dpi) {
    RECT window{};
    RECT client{};
    ::GetWindowRect(dialog, &window);
    ::GetClientRect(dialog, &client);
    EXPECT_LE(window.right - window.left, ::MulDiv(smallestScreen.cx, dpi, 96));
    EXPECT_LE(window.bottom - window.top, ::MulDiv(smallestScreen.cy, dpi, 96));
    const std::vector<Child> children = shownChildren(dialog);
    for (auto child = children.begin(); child != children.end(); ++child) {
        EXPECT_TRUE(contains(client, child->place)) << utf8(textOfWindow(child->window));
        expectTextFits(*child, dpi);
        for (auto other = std::next(child); other != children.end(); ++other) {
            const bool around = child->isGroupBox() && contains(child->place, other->place);
            EXPECT_TRUE(around || !overlap(child->place, other->place))
                << utf8(textOfWindow(child->window)) << " / " << utf8(textOfWindow(other->window));
        }
    }
}

/// A field's name for a screen reader is the text of the label directly before it.
void expectNamed(const Form &form, const win32::FormDialog &dialog) {
    for (const Control &control : form.controls()) {
        if (control.label() == nullptr || !form.isShown(control)) continue;
        EXPECT_EQ(::GetWindow(dialog.windowOf(control), GW_HWNDPREV), dialog.windowOf(*control.label()))
            << control.name();
    }
}

class DialogFit : public DialogTest, public ::testing::WithParamInterface<int> {};

TEST_P(DialogFit, EveryModeAndLanguage) {
    // All languages for one mode of each editor: the other modes have the same words, in other rows, and
    // another scale has other sizes of both.
    const auto hasAllLanguages = [](Byte mode) {
        return GetParam() == win32::designDpi && std::ranges::find(oneModeEach, mode) != std::end(oneModeEach);
    };
    constexpr Long russian = 11 * languageStep;
    for (const Byte mode : editorModes)
        for (Long language = 0; language <= russian; language += hasAllLanguages(mode) ? languageStep : russian) {
            device(mode, 2048, 64);
            plugin.host.Language(0) = language;
            SCOPED_TRACE(::testing::Message() << "mode " << int{mode} << ", language " << language);
            plugin.ui->onModal = [](Form &form) {
                win32::FormDialog dialog(form, GetParam());
                ::ShowWindow(dialog.window(), SW_SHOWNA);
                expectFits(dialog.window(), GetParam());
                expectNamed(form, dialog);
            };
            plugin.mpu.editfigmpu6();
            if (HasFailure()) return;
        }
}
INSTANTIATE_TEST_SUITE_P(Dpi, DialogFit, ::testing::Values(96, 144));

} // namespace
} // namespace kx3::test
