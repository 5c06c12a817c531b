#include "win32/form_dialog.h"

#include "base/error.h"
#include "forms/form.h"
#include "platform/win32/wide.h"
#include "win32/message_queue.h"
#include "win32/own_module.h"
#include "win32/thread_windows.h"
#include "win32/visual_styles.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace kx3::win32 {

namespace {

/// Ids of the controls that are not the default or the cancel button.
constexpr int firstId = 100;
/// Items that a list shows without scrolling.
constexpr int longestDrop = 20;

ChildClass classOf(const Control &control) noexcept {
    // Each field is a group of its own, so that arrow keys stay inside it.
    constexpr DWORD stop = WS_TABSTOP | WS_GROUP;
    switch (control.kind()) {
    case ControlKind::frame: return {L"BUTTON", BS_GROUPBOX | WS_GROUP, 0};
    case ControlKind::label: return {L"STATIC", SS_LEFT | SS_CENTERIMAGE | WS_GROUP, 0};
    case ControlKind::comboBox: return {L"COMBOBOX", CBS_DROPDOWNLIST | CBS_HASSTRINGS | WS_VSCROLL | stop, 0};
    case ControlKind::checkBox: return {L"BUTTON", BS_CHECKBOX | BS_NOTIFY | stop, 0};
    case ControlKind::textBox: return {L"EDIT", ES_AUTOHSCROLL | stop, WS_EX_CLIENTEDGE};
    case ControlKind::commandButton: break;
    }
    const DWORD look = control.isDefault() ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
    return {L"BUTTON", look | BS_NOTIFY | WS_TABSTOP, 0};
}

void setShown(HWND window, bool shown) noexcept { ::ShowWindow(window, shown ? SW_SHOWNA : SW_HIDE); }

void setText(HWND window, const std::u16string &text) noexcept { ::SetWindowTextW(window, platform::wide(text)); }

void move(HWND window, const RECT &place, LONG height) noexcept {
    ::SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left, height,
                   SWP_NOZORDER | SWP_NOACTIVATE);
}
void move(HWND window, const RECT &place) noexcept { move(window, place, place.bottom - place.top); }

RECT placeOf(HWND window) noexcept {
    RECT place{};
    ::GetWindowRect(window, &place);
    return place;
}

/// Of the screen that the person looks at.
RECT workArea() noexcept {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    ::GetMonitorInfoW(::MonitorFromWindow(::GetActiveWindow(), MONITOR_DEFAULTTOPRIMARY), &monitor);
    return monitor.rcWork;
}

/// Give a window its size, and its place as far as it is then inside of the work area.
void moveOnScreen(HWND window, LONG left, LONG top, LONG width, LONG height) noexcept {
    const RECT area = workArea();
    ::SetWindowPos(window, nullptr, std::max(area.left, std::min(left, area.right - width)),
                   std::max(area.top, std::min(top, area.bottom - height)), width, height,
                   SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace

// Life

FormDialog::FormDialog(Form &form, int dpi) : form_(form), view_(form), metrics_(dpi) {
    {
        const VisualStyles styles;
        createWindow();
        createControls();
    }
    refresh();
    centre();
}

void FormDialog::createWindow() {
    // A dialog of the system, without a font and controls of the template's own.
    constexpr struct {
        DLGTEMPLATE head;
        WORD menu, windowClass, title;
    } empty{{WS_POPUP | WS_CAPTION | WS_SYSMENU, WS_EX_CONTROLPARENT, 0, 0, 0, 100, 100}, 0, 0, 0};
    window_.reset(
        ::CreateDialogIndirectParamW(ownModule(), &empty.head, nullptr, procedure, reinterpret_cast<LPARAM>(this)));
    if (!window_) raise(ErrorNumber::outOfMemory, u"Out of memory: a dialog could not be shown");
}

void FormDialog::createControls() {
    // Tab order is the order of creation. The message opens the group of the buttons.
    const auto createMessage = [this] {
        if (message_ == nullptr) message_ = createChild({L"STATIC", SS_LEFT | SS_NOPREFIX | WS_GROUP, 0}, -1);
    };
    items_.reserve(form_.controls().size());
    for (const Control &control : form_.controls()) {
        if (control.isDefault()) createMessage();
        createItem(control);
    }
    createMessage();
    if (fieldHeight_ == 0) fieldHeight_ = metrics_.textHeight() + metrics_.scaled(8);
}

void FormDialog::createItem(const Control &control) {
    Item item{.control = &control, .window = createChild(classOf(control), idOf(control))};
    if (control.kind() == ControlKind::comboBox && fieldHeight_ == 0) {
        // The system gives a closed list the height that its font needs; all fields follow it.
        const RECT closed = placeOf(item.window);
        fieldHeight_ = closed.bottom - closed.top;
    }
    if (control.kind() == ControlKind::textBox) {
        item.mark = createChild({L"STATIC", SS_LEFT | SS_CENTERIMAGE, 0}, -1);
        setText(item.mark, refusalMark);
        item.box = std::make_unique<TextBox>(form_, control, item.window, [this] { refresh(); });
    }
    items_.push_back(std::move(item));
}

HWND FormDialog::createChild(const ChildClass &kind, int id) {
    HWND child =
        ::CreateWindowExW(kind.extendedStyle, kind.name, L"", WS_CHILD | kind.style, 0, 0, 10, 10, window_.get(),
                          reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ownModule(), nullptr);
    if (child == nullptr) raise(ErrorNumber::outOfMemory, u"Out of memory: a dialog could not be shown");
    ::SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(metrics_.font()), FALSE);
    return child;
}

int FormDialog::idOf(const Control &control) const noexcept {
    if (&control == form_.defaultButton()) return IDOK;
    if (&control == form_.cancelButton()) return IDCANCEL;
    return firstId + static_cast<int>(control.position());
}

HWND FormDialog::windowOf(const Control &control) const noexcept { return items_[control.position()].window; }

void FormDialog::show() {
    ::ShowWindow(window_.get(), SW_SHOW);
    if (form_.focus() == nullptr) giveFocus(::GetNextDlgTabItem(window_.get(), nullptr, FALSE));
    ::UpdateWindow(window_.get());
}

void FormDialog::run() {
    const ThreadWindowsDisabled others(window_.get());
    show();
    QueuedMessage queued;
    while (view_.open()) {
        if (!takeMessage(queued)) {
            ::WaitMessage();
        } else if (passOnQuit(queued)) {
            form_.close();
        } else if (::IsDialogMessageW(window_.get(), &queued.message) == FALSE) {
            dispatch(queued);
        }
    }
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

// What the person does

INT_PTR CALLBACK FormDialog::procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) noexcept {
    if (message == WM_INITDIALOG) {
        ::SetWindowLongPtrW(window, DWLP_USER, parameter);
        return FALSE;
    }
    auto *self = reinterpret_cast<FormDialog *>(::GetWindowLongPtrW(window, DWLP_USER));
    if (self == nullptr) return FALSE;
    try {
        return self->handle(message, wide, parameter) ? TRUE : FALSE;
    } catch (...) {
        self->fail();
        return TRUE;
    }
}

/// Keep the current exception for whoever runs the dialog, and close it.
void FormDialog::fail() noexcept {
    failure_ = std::current_exception();
    form_.close();
}

bool FormDialog::handle(UINT message, WPARAM wide, LPARAM /*parameter*/) {
    if (message == WM_CLOSE) form_.close();
    if (message == WM_COMMAND && !refreshing_ && view_.open()) {
        const auto item = std::ranges::find(items_, ::GetDlgItem(window_.get(), LOWORD(wide)), &Item::window);
        if (item != items_.end()) command(*item, HIWORD(wide));
    }
    return message == WM_CLOSE || message == WM_COMMAND;
}

void FormDialog::command(const Item &item, WORD notification) {
    const Control &control = *item.control;
    const bool isList = control.kind() == ControlKind::comboBox;
    if (notification == (isList ? CBN_SETFOCUS : item.box ? EN_SETFOCUS : BN_SETFOCUS))
        form_.setFocus(control);
    else if (isList && (notification == CBN_SELCHANGE || notification == CBN_CLOSEUP))
        form_.choose(control, static_cast<Long>(::SendMessageW(item.window, CB_GETCURSEL, 0, 0)));
    else if (item.box && notification == EN_CHANGE)
        item.box->show(); // it was not the model that has changed it
    else if (!isList && !item.box && notification == BN_CLICKED)
        form_.click(control);
    refresh();
}

// What the model shows

void FormDialog::refresh() {
    if (refreshing_ || !view_.open()) return;
    refreshing_ = true;
    try {
        const FormChanges changes = view_.takeChanges();
        if (changes.structure) arrangeAnew();
        for (const Control *control : changes.controls)
            showState(items_[control->position()]);
        if (changes.focus != nullptr && ::GetFocus() != windowOf(*changes.focus)) giveFocus(windowOf(*changes.focus));
    } catch (...) {
        fail();
    }
    refreshing_ = false;
}

void FormDialog::arrangeAnew() {
    const DialogLayout &layout = view_.layout();
    setText(window_.get(), form_.caption());
    for (const Placement &place : layout.placements) {
        const Item &item = items_[place.control->position()];
        if (place.control->kind() == ControlKind::comboBox)
            fillList(item);
        else if (place.control->kind() != ControlKind::textBox)
            setText(item.window, shownCaption(place));
    }
    const SIZE border = outerSize({0, 0});
    const RECT area = workArea();
    const int tallest = (area.bottom - area.top) - border.cy;
    const Arrangement arrangement = arrange(form_, layout, metrics_, fieldHeight_, tallest);
    placeControls(arrangement);
    const SIZE outer = outerSize(arrangement.client);
    const RECT place = placeOf(window_.get());
    moveOnScreen(window_.get(), place.left, place.top, outer.cx, outer.cy);
}

void FormDialog::fillList(const Item &item) const {
    ::SendMessageW(item.window, CB_RESETCONTENT, 0, 0);
    for (const std::u16string &text : item.control->items())
        ::SendMessageW(item.window, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(platform::wide(drawnText(text))));
}

/// What a list takes below its field when it is opened; 0 for what is no list.
int FormDialog::listHeight(const Item &item) const {
    if (item.control->kind() != ControlKind::comboBox) return 0;
    const auto lines = std::min(static_cast<int>(item.control->items().size()), longestDrop);
    return lines * static_cast<int>(::SendMessageW(item.window, CB_GETITEMHEIGHT, 0, 0)) + metrics_.scaled(2);
}

void FormDialog::placeControls(const Arrangement &arrangement) const {
    for (const Item &item : items_) {
        const bool shown = form_.isShown(*item.control);
        if (!shown) leave(item.window);
        const std::size_t position = item.control->position();
        const RECT &place = arrangement.places[position];
        move(item.window, place, place.bottom - place.top + listHeight(item));
        if (item.mark != nullptr) move(item.mark, arrangement.marks[position]);
        setShown(item.window, shown);
    }
    const bool announced = !form_.message().empty();
    setText(message_, form_.message());
    move(message_, arrangement.message);
    setShown(message_, announced);
    if (announced) ::NotifyWinEvent(EVENT_SYSTEM_ALERT, message_, OBJID_CLIENT, CHILDID_SELF);
    ::InvalidateRect(window_.get(), nullptr, TRUE);
}

void FormDialog::showState(const Item &item) const {
    const Control &control = *item.control;
    const bool enabled = form_.isEnabled(control);
    if (!enabled) leave(item.window);
    ::EnableWindow(item.window, enabled ? TRUE : FALSE);
    if (control.kind() == ControlKind::checkBox)
        ::SendMessageW(item.window, BM_SETCHECK, control.checked() ? BST_CHECKED : BST_UNCHECKED, 0);
    if (control.kind() == ControlKind::comboBox &&
        ::SendMessageW(item.window, CB_GETCURSEL, 0, 0) != control.listIndex())
        ::SendMessageW(item.window, CB_SETCURSEL, static_cast<WPARAM>(control.listIndex()), 0);
    if (!item.box) return;
    item.box->show();
    setShown(item.mark, control.marked() && form_.isShown(control));
}

void FormDialog::giveFocus(HWND window) const noexcept {
    ::SendMessageW(window_.get(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(window), TRUE);
}

/// The focus must not stay on a window that goes or is greyed.
void FormDialog::leave(HWND window) const noexcept {
    if (::GetFocus() == window) ::SendMessageW(window_.get(), WM_NEXTDLGCTL, 0, FALSE);
}

// Size and place

/// Size of the window around a client area.
SIZE FormDialog::outerSize(SIZE client) const noexcept {
    RECT outer{0, 0, client.cx, client.cy};
    ::AdjustWindowRectEx(&outer, static_cast<DWORD>(::GetWindowLongW(window_.get(), GWL_STYLE)), FALSE,
                         static_cast<DWORD>(::GetWindowLongW(window_.get(), GWL_EXSTYLE)));
    return {outer.right - outer.left, outer.bottom - outer.top};
}

/// On the screen, or on the window that was active: without an owner the person looks there.
void FormDialog::centre() const noexcept {
    HWND active = ::GetActiveWindow();
    const bool onActive = form_.startPosition() == StartPosition::centerOwner && active != nullptr &&
                          active != window_.get() && ::IsWindowVisible(active) != FALSE && ::IsIconic(active) == FALSE;
    const RECT around = onActive ? placeOf(active) : workArea();
    const RECT own = placeOf(window_.get());
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    moveOnScreen(window_.get(), (around.left + around.right - width) / 2, (around.top + around.bottom - height) / 2,
                 width, height);
}

void showModal(Form &form) { FormDialog(form).run(); }

} // namespace kx3::win32
