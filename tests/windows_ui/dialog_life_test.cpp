// How a dialog lives beside its host's windows, follows its form, and goes without a trace.

#include "editors/sketch_form.h"
#include "windows_ui/dialog_driver.h"

namespace kx3::test {
namespace {

class DialogLife : public ::testing::Test {
  protected:
    /// A check box hides the row below; a button's handler fails.
    DialogLife() {
        form.clicked = [this](Control &control) {
            if (control.name() == "Fail") raise(ErrorNumber::overflow);
            for (const char *name : {"'Row:", "Row:"})
                form.control(name).setVisible(!control.checked());
        };
    }
    Sketch form{"[Rows Hide_&_seek Row: Last: ] (Fail"};
};

RECT placeOf(HWND window) {
    RECT place{};
    ::GetWindowRect(window, &place);
    return place;
}

TEST_F(DialogLife, HiddenRowsLeaveNoGapAndTheFocus) {
    win32::FormDialog dialog(form);
    dialog.show();
    HWND check = dialog.windowOf(form.at("Hide & seek"));
    HWND middle = dialog.windowOf(form.at("Row:"));
    HWND last = dialog.windowOf(form.at("Last:"));
    const RECT before = placeOf(dialog.window());
    const LONG gap = placeOf(last).top - placeOf(middle).bottom;
    ::SendMessageW(dialog.window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(middle), TRUE);
    EXPECT_EQ(form.focus(), &form.at("Row:"));
    ::SendMessageW(check, BM_CLICK, 0, 0);
    EXPECT_FALSE(::IsWindowVisible(middle));
    EXPECT_NE(::GetFocus(), middle);
    EXPECT_EQ(placeOf(last).top - placeOf(check).bottom, gap);
    EXPECT_LT(placeOf(dialog.window()).bottom, before.bottom);
    ::SendMessageW(check, BM_CLICK, 0, 0);
    EXPECT_EQ(placeOf(last).top - placeOf(middle).bottom, gap);
    EXPECT_EQ(placeOf(dialog.window()).bottom, before.bottom);
}

TEST_F(DialogLife, FixedBorderCentredOnTheScreen) {
    const win32::FormDialog dialog(form);
    constexpr LONG wanted = WS_CAPTION | WS_SYSMENU;
    constexpr LONG sizing = WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    EXPECT_EQ(::GetWindowLongW(dialog.window(), GWL_STYLE) & (wanted | sizing), wanted);
    RECT area{};
    ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    const RECT place = placeOf(dialog.window());
    EXPECT_NEAR(place.left + place.right, area.left + area.right, 1);
    EXPECT_NEAR(place.top + place.bottom, area.top + area.bottom, 1);
}

TEST_F(DialogLife, TheThreadsOtherWindowsTakeNoInputMeanwhile) {
    const auto window = [](DWORD style) {
        return ::CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | style, 0, 0, 200, 100, nullptr, nullptr,
                                 nullptr, nullptr);
    };
    HWND host = window(WS_VISIBLE);
    HWND disabledBefore = window(WS_VISIBLE | WS_DISABLED);
    ::SetActiveWindow(host);
    showAndWork(form, {[&](HWND dialog) {
                    EXPECT_EQ(::GetActiveWindow(), dialog);
                    EXPECT_FALSE(::IsWindowEnabled(host));
                    ::PostMessageW(dialog, WM_CLOSE, 0, 0);
                }});
    EXPECT_TRUE(::IsWindowEnabled(host));
    EXPECT_FALSE(::IsWindowEnabled(disabledBefore));
    EXPECT_EQ(::GetActiveWindow(), host);
    EXPECT_EQ(openDialog(), nullptr);
    ::DestroyWindow(host);
    ::DestroyWindow(disabledBefore);
}

TEST_F(DialogLife, ARequestToEndTheThreadClosesTheFormAndStays) {
    ::PostQuitMessage(7);
    win32::showModal(form);
    EXPECT_FALSE(form.loaded());
    MSG message{};
    ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 7U);
}

TEST_F(DialogLife, AnAccessKeyPressesAButtonWhoseFailureEndsTheDialog) {
    showAndWork(form, {post(WM_SYSCHAR, L'f', 0x20000001)});
    EXPECT_FALSE(form.loaded());
    EXPECT_THROW(form.rethrowFailure(), Error);
}

TEST_F(DialogLife, ManyDialogsLeaveNoObject) {
    // The numbers inside the handles of a new font and a new window. The system takes freed ones first, so
    // that they grow with what is left over; not every system counts a process's objects.
    const auto handleNumbersAfter = [this](int dialogs) {
        for (int i = 0; i < dialogs; ++i) {
            win32::FormDialog(form).show();
            form.unload();
            form.load();
        }
        HFONT font = ::CreateFontW(10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr);
        HWND window = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
        ::DestroyWindow(window);
        ::DeleteObject(font);
        return std::pair<int, int>{LOWORD(font), LOWORD(window)};
    };
    const auto [font, window] = handleNumbersAfter(10);
    const auto [laterFont, laterWindow] = handleNumbersAfter(100);
    EXPECT_NEAR(laterFont, font, 50) << "fonts and device contexts";
    EXPECT_NEAR(laterWindow, window, 50) << "windows";
}

} // namespace
} // namespace kx3::test
