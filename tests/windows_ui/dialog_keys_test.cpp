// A person at the keyboard before the real dialogs: what the keys do to the model, and what the windows show.

#include "editors/editor_driver.h"
#include "windows/host.h"
#include "windows_ui/dialog_driver.h"

namespace kx3::test {
namespace {

class DialogKeys : public EditorTest {
  protected:
    /// Open the editor of `mode` on bytes of 11, and take the steps that `steps` gives for its form.
    void work(Byte mode, const std::function<std::vector<Step>(Form &)> &steps) {
        device(mode);
        std::ranges::fill(plugin.data(), Byte{0x11});
        plugin.ui->onModal = [&](Form &form) { showAndWork(form, steps(form)); };
        plugin.mpu.editfigmpu6();
    }
    static void clipboard(std::wstring_view text) {
        ASSERT_TRUE(::OpenClipboard(nullptr));
        ::EmptyClipboard();
        HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, (text.size() + 1) * sizeof(wchar_t));
        std::ranges::copy(text, static_cast<wchar_t *>(::GlobalLock(memory)));
        ::GlobalUnlock(memory);
        EXPECT_NE(::SetClipboardData(CF_UNICODETEXT, memory), nullptr);
        ::CloseClipboard();
    }
    /// Give the first text box the focus and select its text from `start` to `end`.
    static Step select(int start, int end) {
        return [=](HWND dialog) {
            HWND box = ::FindWindowExW(dialog, nullptr, L"EDIT", nullptr);
            ::SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(box), TRUE);
            ::SendMessageW(box, EM_SETSEL, static_cast<WPARAM>(start), end);
        };
    }
};

/// The key that changes a field, or nothing for what is no field.
WPARAM keyFor(const Control &control) {
    if (control.kind() == ControlKind::checkBox) return VK_SPACE;
    if (control.kind() == ControlKind::comboBox) return control.listIndex() == 0 ? VK_DOWN : VK_UP;
    return control.kind() == ControlKind::textBox ? VK_BACK : 0;
}

TEST_F(DialogKeys, EveryFieldIsReachedByTabAndChangedByAKey) {
    for (const Byte mode : std::initializer_list<Byte>{1, 12, 15, 64})
        work(mode, [](Form &form) {
            std::vector<Step> steps;
            for (const Control &control : form.controls()) {
                if (keyFor(control) == 0 || !form.isShown(control)) continue;
                const auto before = std::make_shared<std::pair<Long, bool>>();
                const auto stateOf = [&control] { return std::pair(control.listIndex(), control.checked()); };
                // A field that another one enables is met only then.
                steps.emplace_back([=, &form, &control](HWND dialog) {
                    if (!form.isEnabled(control)) return;
                    EXPECT_EQ(form.focus(), &control) << control.name() << ' ' << control.index();
                    *before = stateOf();
                    key(keyFor(control))(dialog);
                    post(WM_KEYUP, keyFor(control), static_cast<LPARAM>(0xC0000001))(dialog);
                });
                steps.emplace_back([=, &form, &control](HWND dialog) {
                    if (!form.isEnabled(control)) return;
                    EXPECT_EQ(stateOf() == *before, control.kind() == ControlKind::textBox) << control.name();
                    key(VK_TAB)(dialog);
                });
            }
            steps.push_back(key(VK_RETURN));
            return steps;
        });
}

TEST_F(DialogKeys, EnterIsOkAndEscapeCancelAndTheFrameLeaveTheBytes) {
    const std::pair<Step, bool> endings[] = {
        {key(VK_RETURN), true},
        {key(VK_ESCAPE), false},
        {[](HWND dialog) { ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }, false},
        {[](HWND dialog) { ::PostMessageW(dialog, WM_CLOSE, 0, 0); }, false},
        {[](HWND dialog) { ::PostMessageW(::GetDlgItem(dialog, IDCANCEL), BM_CLICK, 0, 0); }, false},
    };
    for (const auto &[ending, writes] : endings) {
        work(12, [&](Form &) { return std::vector<Step>{key(VK_DOWN), ending}; });
        EXPECT_EQ(peek(2 * 2048, 1)[0] != 0x11, writes);
    }
}

TEST_F(DialogKeys, ATextBoxShowsWhatTheModelMakesOfEachWayToEnterAndThatItIsRefused) {
    const auto setText = [](HWND) { ::SetWindowTextW(::GetFocus(), L"89ABCDEF"); };
    const auto replace = [](HWND) {
        ::SendMessageW(::GetFocus(), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"7 "));
    };
    const auto refused = [](bool expected) {
        return [=](HWND dialog) {
            HWND message = ::FindWindowExW(dialog, nullptr, L"STATIC", L"BL_CONFIG: 8 hexadecimal digits are needed");
            EXPECT_EQ(message != nullptr && ::IsWindowVisible(message) != FALSE, expected);
            HWND mark = ::GetWindow(::GetFocus(), GW_HWNDNEXT);
            EXPECT_EQ(textOf(mark), win32::refusalMark) << "the focus is back";
            EXPECT_EQ(::IsWindowVisible(mark) != FALSE, expected);
        };
    };
    const std::pair<Step, const char16_t *> typed[] = {
        {select(0, 1), u"11111111"},    {character(L'g'), u"11111111"}, {character(L'\b'), u"11111111"},
        {key(VK_DELETE), u"11111111"},  {character(L'a'), u"a1111111"}, {key(VK_RIGHT), u"a1111111"},
        {character(L'b'), u"a1b11111"}, {key(VK_END), u"a1b11111"},     {key(VK_LEFT), u"a1b11111"},
        {character(L'c'), u"a1b1111c"}, {key(VK_HOME), u"a1b1111c"},    {character(L'F'), u"F1b1111c"},
        {post(WM_CUT), u"F1b1111c"},    {post(WM_UNDO), u"F1b1111c"},   {post(WM_CLEAR), u"F1b1111c"},
        {select(0, -1), u"F1b1111c"},   {character(22), u"01234567"},   {select(2, 4), u"01234567"},
        {post(WM_PASTE), u"01014567"},  {setText, u"89ABCDEF"},         {select(0, 2), u"89ABCDEF"},
        {replace, u"7 ABCDEF"},         {key(VK_RETURN), u"7 ABCDEF"},  {refused(true), u"7 ABCDEF"},
        {select(1, 1), u"7 ABCDEF"},    {character(L'6'), u"76ABCDEF"}, {refused(false), u"76ABCDEF"},
    };
    clipboard(L"01234567\r\n89");
    work(64, [&](Form &form) {
        std::vector<Step> steps;
        for (const auto &[step, text] : typed) {
            steps.push_back(step);
            steps.emplace_back([&form, expected = text](HWND) {
                EXPECT_EQ(toUtf8(form.focus()->text()), toUtf8(expected));
                EXPECT_EQ(toUtf8(textOf(::GetFocus())), toUtf8(expected));
            });
        }
        steps.push_back(key(VK_RETURN));
        return steps;
    });
    EXPECT_EQ(peek(2048 - 40, 4), (std::vector<int>{0xEF, 0xCD, 0xAB, 0x76}));
}

TEST(DialogThroughTheClass, KeysChangeTheHostsBytes) {
    const ComThread com;
    const Library plugIn;
    const auto mpu = plugIn.create();
    const HostBlock mode("tamselprgmode41", 40), length("tamselbuflength41", 40), image("tamseltlength41", 40);
    length.at<Long>(0) = 5000;
    image.at<Long>(0) = 64;
    mode.at<Byte>(0) = 12;
    ASSERT_EQ(attach(*mpu, 41), S_OK);
    const HostBlock buffer("tamselibuffer", 7200);
    // Untranslated keys: the library's own message loop makes characters and access keys of them.
    constexpr WPARAM alt = 0x10000;
    const struct {
        Byte mode;
        std::size_t word; ///< four bytes of the buffer each
        Long before, after;
        std::vector<WPARAM> keys;
    } cases[] = {
        {12, 32, 0xFCF8, 0xFCFD, {VK_DOWN, VK_TAB, VK_TAB, VK_DOWN, VK_RETURN}},
        {12, 32, 0xFCF8, 0xFDF8, {alt + 'N', VK_DOWN, alt + 'O'}},
        {12, 32, 0xFCF8, 0xFCF8, {VK_DOWN, VK_ESCAPE}},
        {64,
         6,
         0x12345678,
         -0x0DCB4988, // F234B678
         {VK_HOME, 'G', VK_BACK, VK_DELETE, 'F', VK_RIGHT, VK_RIGHT, VK_RIGHT, 'B', VK_RETURN}},
    };
    for (const auto &c : cases) {
        mode.at<Byte>(0) = c.mode;
        buffer.at<Long>(c.word) = c.before;
        std::vector<Step> steps;
        for (const WPARAM pressed : c.keys)
            steps.push_back(pressed < alt ? key(pressed) : post(WM_SYSKEYDOWN, pressed - alt, 0x20000001));
        workWhile([&] { EXPECT_EQ(mpu->editfigmpu6(), S_OK); }, steps);
        EXPECT_EQ(buffer.at<Long>(c.word), c.after) << "case " << &c - cases;
    }
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
