// Every dialog in every mode and language: nothing clipped, nothing overlapping, nothing outside.

#include "editors/editor_driver.h"
#include "windows_ui/dialog_driver.h"

#include <set>

namespace kx3::test {
namespace {

constexpr SIZE smallestScreen{1024, 768};

struct Child {
    HWND window;
    std::wstring kind;
    std::u16string text;
    RECT place;
    DWORD look; ///< type of a button

    Child(HWND shown, HWND dialog)
        : window(shown), kind(classOf(shown)), text(textOf(shown)),
          look(static_cast<DWORD>(::GetWindowLongW(shown, GWL_STYLE)) & BS_TYPEMASK) {
        ::GetWindowRect(window, &place);
        ::MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT *>(&place), 2);
    }
    [[nodiscard]] bool isGroupBox() const { return kind == L"Button" && look == BS_GROUPBOX; }
    /// What the control needs around its text: box, border, button, the dotted line of the focus.
    [[nodiscard]] LONG decoration(int dpi) const {
        if (kind == L"Static") return 0;
        if (kind == L"Edit") return 4;
        if (kind == L"ComboBox") return ::GetSystemMetrics(SM_CXVSCROLL) + 6;
        return ::MulDiv(look == BS_CHECKBOX ? 18 : look == BS_GROUPBOX ? 16 : 8, dpi, 96);
    }
};

/// What a text takes in the control's own font.
SIZE textSize(const Child &child, const std::u16string &text) {
    const bool plain = child.kind == L"Edit" || child.kind == L"ComboBox";
    HDC context = ::GetDC(child.window);
    HGDIOBJ old = ::SelectObject(context, reinterpret_cast<HGDIOBJ>(::SendMessageW(child.window, WM_GETFONT, 0, 0)));
    RECT box{};
    ::DrawTextW(context, platform::wide(text), -1, &box, DT_CALCRECT | DT_SINGLELINE | (plain ? DT_NOPREFIX : 0U));
    ::SelectObject(context, old);
    ::ReleaseDC(child.window, context);
    return {box.right, box.bottom};
}

void expectTextFits(const Child &child, int dpi) {
    RECT client{};
    ::GetClientRect(child.window, &client);
    std::vector<std::u16string> texts{child.text};
    const LRESULT items = child.kind == L"ComboBox" ? ::SendMessageW(child.window, CB_GETCOUNT, 0, 0) : 0;
    for (LRESULT i = 0; i < items; ++i) {
        std::array<wchar_t, 128> item{};
        ::SendMessageW(child.window, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(item.data()));
        texts.emplace_back(platform::utf16(item.data()));
    }
    for (const std::u16string &text : texts) {
        const SIZE size = textSize(child, text);
        EXPECT_LE(size.cx + child.decoration(dpi), client.right) << toUtf8(text);
        EXPECT_LE(size.cy, client.bottom) << toUtf8(text);
    }
}

bool contains(const RECT &outer, const RECT &inner) {
    RECT both{};
    return ::UnionRect(&both, &outer, &inner) != FALSE && ::EqualRect(&both, &outer) != FALSE;
}

void expectFits(HWND dialog, int dpi) {
    RECT window{};
    RECT client{};
    ::GetWindowRect(dialog, &window);
    ::GetClientRect(dialog, &client);
    EXPECT_LE(window.right - window.left, ::MulDiv(smallestScreen.cx, dpi, 96));
    EXPECT_LE(window.bottom - window.top, ::MulDiv(smallestScreen.cy, dpi, 96));
    std::vector<Child> children;
    for (HWND child = ::GetWindow(dialog, GW_CHILD); child != nullptr; child = ::GetWindow(child, GW_HWNDNEXT))
        if (::IsWindowVisible(child) != FALSE) children.emplace_back(child, dialog);
    for (auto child = children.begin(); child != children.end(); ++child) {
        EXPECT_TRUE(contains(client, child->place)) << toUtf8(child->text);
        expectTextFits(*child, dpi);
        for (auto other = std::next(child); other != children.end(); ++other) {
            RECT common{};
            const bool around = child->isGroupBox() && contains(child->place, other->place);
            EXPECT_TRUE(around || ::IntersectRect(&common, &child->place, &other->place) == FALSE)
                << toUtf8(child->text) << " / " << toUtf8(other->text);
        }
    }
}

/// The windows show what the model holds.
void expectShown(const win32::FormDialog &dialog, const Form &form) {
    for (const Control &control : form.controls()) {
        if (!form.isShown(control)) continue;
        HWND window = dialog.windowOf(control);
        SCOPED_TRACE(control.name());
        if (control.kind() == ControlKind::checkBox) {
            EXPECT_EQ(::SendMessageW(window, BM_GETCHECK, 0, 0) == BST_CHECKED, control.checked());
        }
        if (control.kind() == ControlKind::comboBox) {
            EXPECT_EQ(::SendMessageW(window, CB_GETCURSEL, 0, 0), control.listIndex());
        } else {
            EXPECT_EQ(textOf(window).empty(), control.caption().empty() && control.text().empty());
        }
        // A field's name for a screen reader is the text of the label directly before it.
        if (control.label() != nullptr) {
            EXPECT_EQ(::GetWindow(window, GW_HWNDPREV), dialog.windowOf(*control.label()));
        }
    }
}

class DialogFit : public EditorTest, public ::testing::WithParamInterface<int> {};

TEST_P(DialogFit, EveryModeAndLanguage) {
    // All languages for the first mode of each editor: the other modes have the same words, in other rows,
    // and another scale has other sizes of both.
    constexpr Long russian = 11 * languageStep;
    std::set<std::string> seen;
    for (const Byte mode : editorModes) {
        device(mode, 2048, 64);
        bool isNew = false;
        plugin.ui->onModal = [&](Form &form) { isNew = seen.insert(form.name()).second; };
        plugin.mpu.editfigmpu6();
        plugin.ui->onModal = [](Form &form) {
            win32::FormDialog dialog(form, GetParam());
            ::ShowWindow(dialog.window(), SW_SHOWNA);
            expectFits(dialog.window(), GetParam());
            expectShown(dialog, form);
        };
        const Long step = isNew && GetParam() == win32::designDpi ? languageStep : russian;
        for (Long language = 0; language <= russian && !HasFailure(); language += step) {
            plugin.host.Language(0) = language;
            SCOPED_TRACE(::testing::Message() << "mode " << int{mode} << ", language " << language);
            plugin.mpu.editfigmpu6();
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Dpi, DialogFit, ::testing::Values(96, 144));

} // namespace
} // namespace kx3::test
