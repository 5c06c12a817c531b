// How a dialog lives beside its host's windows, follows its form, and goes without a trace.

#include "windows/failure_of.h"
#include "windows_ui/dialog_driver.h"

namespace kx3::test {
namespace {

/// Three rows under a check box that hides the middle one, and a button whose handler fails.
class SmallForm final : public Form {
  public:
    SmallForm() : Form("SmallForm") {}

    const Control *check = nullptr;
    const Control *middle = nullptr;
    const Control *last = nullptr;
    const Control *failing = nullptr;

  protected:
    void onLoad() override {
        setCaption(u"Small");
        const Control &frame = add(ControlKind::frame, "Frame1", noIndex, u"Rows");
        check = &add(ControlKind::checkBox, "Check1", noIndex, u"Hide && seek", &frame);
        middle = &row(0, frame);
        last = &row(1, frame);
        failing = &add(ControlKind::commandButton, "Fail", noIndex, u"Fail");
    }
    void onClick(Control &control) override {
        if (&control == failing) raise(ErrorNumber::overflow);
        for (Control *each : {&this->control("Label1", 0), &this->control("Text1", 0)})
            each->setVisible(!control.checked());
    }

  private:
    Control &row(Integer index, const Control &frame) {
        const Control &label = add(ControlKind::label, "Label1", index, u"Row:", &frame);
        Control &box = add(ControlKind::textBox, "Text1", index, {}, &frame);
        box.setLabel(&label);
        return box;
    }
};

class DialogLife : public ::testing::Test {
  protected:
    DialogLife() { form.load(); }
    SmallForm form;
};

RECT placeOf(HWND window) {
    RECT place{};
    ::GetWindowRect(window, &place);
    return place;
}

TEST_F(DialogLife, HiddenRowsLeaveNoGapAndTheFocus) {
    win32::FormDialog dialog(form);
    dialog.show();
    const auto gap = [&](const Control &upper, const Control &lower) {
        return placeOf(dialog.windowOf(lower)).top - placeOf(dialog.windowOf(upper)).bottom;
    };
    const RECT before = placeOf(dialog.window());
    const LONG usual = gap(*form.middle, *form.last);
    ::SendMessageW(dialog.window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(dialog.windowOf(*form.middle)), TRUE);
    EXPECT_EQ(form.focus(), form.middle);

    const auto click = [&] { ::SendMessageW(dialog.windowOf(*form.check), BM_CLICK, 0, 0); };
    click();
    EXPECT_TRUE(form.check->checked());
    EXPECT_FALSE(::IsWindowVisible(dialog.windowOf(*form.middle)));
    EXPECT_NE(::GetFocus(), dialog.windowOf(*form.middle));
    EXPECT_EQ(gap(*form.check, *form.last), usual);
    const RECT smaller = placeOf(dialog.window());
    EXPECT_LT(smaller.bottom - smaller.top, before.bottom - before.top);
    click();
    EXPECT_EQ(gap(*form.middle, *form.last), usual);
    EXPECT_EQ(placeOf(dialog.window()).bottom, before.bottom);
}

TEST_F(DialogLife, FixedBorderCentredOnTheScreen) {
    const win32::FormDialog dialog(form);
    const auto style = static_cast<DWORD>(::GetWindowLongW(dialog.window(), GWL_STYLE));
    EXPECT_EQ(style & (WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX), 0U);
    EXPECT_EQ(style & (WS_CAPTION | WS_SYSMENU), static_cast<DWORD>(WS_CAPTION | WS_SYSMENU));
    EXPECT_EQ(::GetWindow(dialog.window(), GW_OWNER), nullptr);
    RECT area{};
    ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    const RECT place = placeOf(dialog.window());
    EXPECT_LE(std::abs((place.left + place.right) - (area.left + area.right)), 1);
    EXPECT_LE(std::abs((place.top + place.bottom) - (area.top + area.bottom)), 1);
}

TEST_F(DialogLife, TheThreadsOtherWindowsTakeNoInputMeanwhile) {
    const auto window = [](DWORD style) {
        HWND made = ::CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | style, 0, 0, 200, 100, nullptr,
                                      nullptr, nullptr, nullptr);
        return std::unique_ptr<std::remove_pointer_t<HWND>, BOOL (*)(HWND)>(
            made, [](HWND ending) { return ::DestroyWindow(ending); });
    };
    const auto host = window(WS_VISIBLE);
    const auto disabledBefore = window(WS_VISIBLE | WS_DISABLED);
    ::SetActiveWindow(host.get());
    const DialogScript script({[&](HWND dialog) {
        EXPECT_EQ(::GetActiveWindow(), dialog);
        EXPECT_FALSE(::IsWindowEnabled(host.get()));
        ::PostMessageW(dialog, WM_CLOSE, 0, 0);
    }});
    win32::showModal(form);
    EXPECT_TRUE(::IsWindowEnabled(host.get()));
    EXPECT_FALSE(::IsWindowEnabled(disabledBefore.get()));
    EXPECT_EQ(::GetActiveWindow(), host.get());
    EXPECT_EQ(openDialog(), nullptr);
}

TEST_F(DialogLife, RequestToEndTheThreadClosesTheFormAndStays) {
    ::PostQuitMessage(7);
    win32::showModal(form);
    EXPECT_FALSE(form.loaded());
    MSG message{};
    ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 7U);
}

TEST_F(DialogLife, FailureOfAHandlerEndsTheDialogAndReachesTheCaller) {
    const DialogScript script(
        {[](HWND dialog) { ::PostMessageW(::FindWindowExW(dialog, nullptr, L"BUTTON", L"&Fail"), BM_CLICK, 0, 0); }});
    win32::showModal(form);
    EXPECT_FALSE(form.loaded());
    EXPECT_EQ(failureOf([&] { form.rethrowFailure(); }).number, ErrorNumber::overflow);
}

/// The numbers inside the handles of a new font and a new window. The system takes freed ones first, so
/// that they grow with what is left over; not every system counts a process's objects.
std::array<int, 2> nextNumbers() {
    HFONT font = ::CreateFontW(10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr);
    HWND window = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    ::DestroyWindow(window);
    ::DeleteObject(font);
    return {LOWORD(font), LOWORD(window)};
}

TEST_F(DialogLife, ManyDialogsLeaveNoObject) {
    const auto openAndClose = [&](int count) {
        for (int i = 0; i < count; ++i) {
            win32::FormDialog(form).show();
            form.unload();
            form.load();
        }
    };
    openAndClose(10);
    const auto before = nextNumbers();
    openAndClose(200);
    const auto after = nextNumbers();
    EXPECT_LT(std::abs(after[0] - before[0]), 100) << "fonts and device contexts";
    EXPECT_LT(std::abs(after[1] - before[1]), 100) << "windows";
}

} // namespace
} // namespace kx3::test
