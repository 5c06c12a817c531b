// A person at the keyboard before the real dialogs: what the keys do, and the bytes that come of it.

#include "windows/suite_host.h"
#include "windows_ui/dialog_driver.h"

namespace kx3::test {
namespace {

constexpr Long tlength = 2048;

bool isField(const Control &control) {
    return control.kind() == ControlKind::comboBox || control.kind() == ControlKind::checkBox ||
           control.kind() == ControlKind::textBox;
}
bool isOpen(const Form &form, const Control &field) { return form.isShown(field) && form.isEnabled(field); }

/// The other item of a list, or its neighbour; -1 when there is none.
Long otherItem(const Control &list) {
    if (list.items().size() < 2) return -1;
    return list.listIndex() == 0 ? 1 : list.listIndex() - 1;
}

/// What a person does to a field, and the key that does it.
void changeOnModel(Form &form, const Control &control) {
    if (control.kind() == ControlKind::comboBox)
        form.choose(control, otherItem(control));
    else if (control.kind() == ControlKind::checkBox)
        form.click(control);
    else if (form.selectText(control, 0, 100))
        form.keyPress(control, u'a');
}
void changeByKey(const Control &control) {
    if (control.kind() == ControlKind::textBox) return postCharacter(L'a');
    if (control.kind() == ControlKind::comboBox && otherItem(control) < 0) return;
    const WPARAM key = control.kind() == ControlKind::checkBox ? VK_SPACE : control.listIndex() == 0 ? VK_DOWN : VK_UP;
    postKey(key);
    ::PostMessageW(::GetFocus(), WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

class DialogKeys : public DialogTest {
  protected:
    void fresh(Byte mode) {
        device(mode, tlength);
        for (Byte &value : plugin.host.ibuffer.range(0, static_cast<Long>(plugin.host.ibuffer.count())))
            value = 0x11;
    }
    static bool clipboard(const std::wstring &text) {
        if (::OpenClipboard(nullptr) == FALSE) return false;
        ::EmptyClipboard();
        HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
        std::copy_n(text.c_str(), text.size() + 1, static_cast<wchar_t *>(::GlobalLock(memory)));
        ::GlobalUnlock(memory);
        const bool done = ::SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
        return ::CloseClipboard() != FALSE && done;
    }
    static int idOf(const Control &control) { return 100 + static_cast<int>(control.position()); }
    /// Put the focus on the text box of that index and select its text from `start` on.
    DialogScript::Step select(Integer index, int start, int end) const {
        return [=, this](HWND dialog) {
            HWND window = ::GetDlgItem(dialog, idOf(*form_->find("Text1", index)));
            ::SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(window), TRUE);
            ::SendMessageW(window, EM_SETSEL, static_cast<WPARAM>(start), end);
        };
    }
    DialogScript::Step expectText(const char16_t *expected) const {
        return [=, this](HWND) {
            EXPECT_EQ(form_->focus()->text(), expected);
            EXPECT_EQ(textOfWindow(::GetFocus()), reinterpret_cast<const wchar_t *>(expected));
        };
    }
};

TEST_F(DialogKeys, EveryFieldIsReachedByTabAndChangedByAKey) {
    for (const Byte mode : oneModeEach) {
        SCOPED_TRACE(int{mode});
        fresh(mode);
        const std::vector<Byte> before = image();
        open([&](Person &person) {
            for (const Control &control : person.form.controls())
                if (isField(control) && isOpen(person.form, control)) changeOnModel(person.form, control);
            person.ok();
        });
        const std::vector<Byte> expected = image();
        ASSERT_NE(expected, before);

        fresh(mode);
        openDialogWith([&] {
            Steps steps;
            // A field that another one enables is met only then.
            for (const Control &control : form_->controls()) {
                if (!isField(control)) continue;
                steps.emplace_back([&](HWND) {
                    if (!isOpen(*form_, control)) return;
                    EXPECT_EQ(form_->focus(), &control) << control.name() << ' ' << control.index();
                    changeByKey(control);
                });
                steps.emplace_back([&](HWND) {
                    if (isOpen(*form_, control)) postKey(VK_TAB);
                });
            }
            steps.push_back(key(VK_RETURN));
            return steps;
        });
        EXPECT_EQ(image(), expected);
    }
}

TEST_F(DialogKeys, EscapeCancelAndTheFrameLeaveTheBytes) {
    const DialogScript::Step endings[] = {
        key(VK_ESCAPE),
        [](HWND dialog) { ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); },
        [](HWND dialog) { ::PostMessageW(dialog, WM_CLOSE, 0, 0); },
        [](HWND dialog) { ::PostMessageW(::GetDlgItem(dialog, IDCANCEL), BM_CLICK, 0, 0); },
    };
    for (std::size_t i = 0; i < std::size(oneModeEach); ++i) {
        SCOPED_TRACE(int{oneModeEach[i]});
        fresh(oneModeEach[i]);
        plugin.host.ibuffer(tlength) = plugin.host.ibuffer(4159);
        const std::vector<Byte> before = image();
        openDialogWith({[&](HWND) { changeByKey(*form_->focus()); }, endings[i % std::size(endings)]});
        EXPECT_EQ(image(), before);
    }
}

TEST_F(DialogKeys, HexBoxesOvertype) {
    fresh(64);
    poke(tlength - 40, {0x78, 0x56, 0x34, 0x12});
    const auto edit = [](UINT message) { return [=](HWND) { ::SendMessageW(::GetFocus(), message, 0, 0); }; };
    const std::pair<DialogScript::Step, const char16_t *> typed[] = {
        {select(0, 0, 1), u"12345678"}, {character(L'g'), u"12345678"}, {character(L'\b'), u"12345678"},
        {key(VK_BACK), u"12345678"},    {key(VK_DELETE), u"12345678"},  {character(L'a'), u"a2345678"},
        {key(VK_RIGHT), u"a2345678"},   {character(L'b'), u"a2b45678"}, {key(VK_END), u"a2b45678"},
        {key(VK_LEFT), u"a2b45678"},    {character(L'c'), u"a2b4567c"}, {key(VK_HOME), u"a2b4567c"},
        {character(L'F'), u"F2b4567c"}, {edit(WM_CUT), u"F2b4567c"},    {edit(WM_UNDO), u"F2b4567c"},
        {edit(WM_CLEAR), u"F2b4567c"},
    };
    Steps steps;
    for (const auto &[step, text] : typed) {
        steps.push_back(step);
        steps.push_back(expectText(text));
    }
    steps.push_back(key(VK_RETURN));
    openDialogWith(steps);
    EXPECT_EQ(peek(tlength - 40, 4), (std::vector<int>{0x7C, 0x56, 0xB4, 0xF2}));
}

TEST_F(DialogKeys, PasteGoesPastTheKeyFilterAndFollowsTheRule) {
    using Way = void (*)(const wchar_t *);
    const Way byKey = [](const wchar_t *) { postCharacter(22); };
    const Way byMenu = [](const wchar_t *) { ::PostMessageW(::GetFocus(), WM_PASTE, 0, 0); };
    const Way byProgram = [](const wchar_t *text) { ::SetWindowTextW(::GetFocus(), text); };
    const Way intoSelection = [](const wchar_t *text) {
        ::SendMessageW(::GetFocus(), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
    };
    const struct {
        Byte mode;
        Integer index;
        const wchar_t *pasted;
        const char16_t *shown;
        Way way;
    } cases[] = {
        {4, 1, L"", u"FFFF", byKey},
        {4, 1, L"12345", u"FFFF", byMenu},
        {15, 1, L"", u"0", byMenu},
        {15, 1, L"1F\r\n2", u"1F", byKey},
        {64, 3, L"xyz", u"xyz", byKey},
        {64, 3, L"123456789", u"12345678", byMenu},
        {64, 3, L"89ABCDEF", u"89ABCDEF", byProgram},
        {15, 1, L"1234567", u"0", byProgram},
        {4, 1, L"", u"FFFF", intoSelection},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(utf8(c.pasted));
        fresh(c.mode);
        ASSERT_TRUE(clipboard(c.pasted));
        const DialogScript::Step enable = [this](HWND dialog) {
            if (const Control *check = form_->find("Check1"); check != nullptr && !check->checked())
                ::SendDlgItemMessageW(dialog, idOf(*check), BM_CLICK, 0, 0);
        };
        openDialogWith(
            {enable, select(c.index, 0, -1), [&](HWND) { c.way(c.pasted); }, expectText(c.shown), key(VK_ESCAPE)});
    }
}

TEST_F(DialogKeys, RefusedBoxIsMarkedExplainedAndFocused) {
    fresh(64);
    const std::vector<Byte> before = image();
    ASSERT_TRUE(clipboard(L"12 45678"));
    const auto shownStatic = [](HWND dialog, const wchar_t *text) {
        HWND found = ::FindWindowExW(dialog, nullptr, L"STATIC", text);
        return found != nullptr && ::IsWindowVisible(found) != FALSE;
    };
    const wchar_t *message = L"CCFG_TAP_DAP_0: 8 hexadecimal digits are needed";
    openDialogWith({select(3, 0, -1), character(22), key(VK_TAB), key(VK_RETURN),
                    [&](HWND dialog) {
                        EXPECT_TRUE(shownStatic(dialog, message));
                        EXPECT_EQ(form_->focus(), form_->find("Text1", 3)) << "the focus is back";
                        EXPECT_EQ(::GetDlgCtrlID(::GetFocus()), idOf(*form_->focus()));
                        HWND mark = ::GetWindow(::GetFocus(), GW_HWNDNEXT);
                        EXPECT_TRUE(textOfWindow(mark) == L"!" && ::IsWindowVisible(mark) != FALSE);
                        EXPECT_EQ(image(), before);
                    },
                    select(3, 2, 2), character(L'0'), [&](HWND dialog) { EXPECT_FALSE(shownStatic(dialog, message)); },
                    key(VK_RETURN)});
    EXPECT_EQ(peek(tlength - 28, 4), (std::vector<int>{0x78, 0x56, 0x04, 0x12}));
}

// Through the plug-in's file, as a host opens them.
TEST(DialogsOfThePlugin, OkWritesAndEscapeDoesNot) {
    const struct {
        Byte mode;
        Long address;
        Byte before, after;
        std::vector<DialogScript::Step> keys;
    } cases[] = {
        {12, 2 * 16, 0xF8, 0xF9, {key(VK_DOWN), key(VK_RETURN)}},
        {12, 2 * 16, 0xF8, 0xF8, {key(VK_DOWN), key(VK_ESCAPE)}},
        {50, 16, 0xFF, 0xAF, {character(L'a'), key(VK_RETURN)}},
        {41, 4159, 0x0F, 0x0B, {key(VK_UP), key(VK_RETURN)}},
    };
    const ComThread com;
    const LoadedPlugin file;
    SHORT instance = 21;
    SuiteHost host(instance, 5000);
    host.at<Long>("tlength") = 16;
    const auto mpu = file.create();
    ASSERT_EQ(mpu->bufcommpu6(&instance), S_OK);
    for (const auto &c : cases) {
        SCOPED_TRACE(int{c.mode});
        host.at<Byte>("prgmode") = c.mode;
        host.buffer()[c.address] = c.before;
        const DialogScript script(c.keys);
        EXPECT_EQ(mpu->editfigmpu6(), S_OK);
        EXPECT_EQ(host.buffer()[c.address], c.after);
    }
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
