#include "win32/form_dialog.h"

#include "base/error.h"
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

bool takesFocus(const Control &control) noexcept {
    return control.kind() != ControlKind::frame && control.kind() != ControlKind::label;
}

struct ControlClass {
    const wchar_t *name;
    DWORD style;
    DWORD extendedStyle;
};

ControlClass classOf(const Control &control) noexcept {
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

void setEnabled(HWND window, bool enabled) noexcept {
    if ((::IsWindowEnabled(window) != FALSE) != enabled) ::EnableWindow(window, enabled ? TRUE : FALSE);
}

void setShown(HWND window, bool shown) noexcept { ::ShowWindow(window, shown ? SW_SHOWNA : SW_HIDE); }

void setText(HWND window, const std::u16string &text) noexcept { ::SetWindowTextW(window, platform::wide(text)); }

void move(HWND window, const RECT &place, int height) noexcept {
    ::SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left, height,
                   SWP_NOZORDER | SWP_NOACTIVATE);
}
void move(HWND window, const RECT &place) noexcept { move(window, place, place.bottom - place.top); }

} // namespace

// Life

FormDialog::FormDialog(Form &form, int dpi) : form_(form), generation_(form.generation()), metrics_(dpi) {
    {
        const VisualStyles styles;
        createWindow();
        createControls();
    }
    refreshAll();
    centre();
}

void FormDialog::createWindow() {
    // A dialog of the system, without a font and controls of the template's own.
    struct Template {
        DLGTEMPLATE head;
        WORD menu = 0;
        WORD windowClass = 0;
        WORD title = 0;
    } empty{.head = {.style = WS_POPUP | WS_CAPTION | WS_SYSMENU,
                     .dwExtendedStyle = WS_EX_CONTROLPARENT,
                     .cdit = 0,
                     .x = 0,
                     .y = 0,
                     .cx = 100,
                     .cy = 100}};
    window_.reset(
        ::CreateDialogIndirectParamW(ownModule(), &empty.head, nullptr, procedure, reinterpret_cast<LPARAM>(this)));
    if (!window_) raise(ErrorNumber::outOfMemory, u"Out of memory: a dialog could not be shown");
}

void FormDialog::createControls() {
    // Tab order is the order of creation. The message opens the group of the buttons.
    const auto createMessage = [this] {
        if (message_ == nullptr) message_ = createChild(L"STATIC", {}, SS_LEFT | SS_NOPREFIX | WS_GROUP, 0, -1);
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
    const ControlClass windowClass = classOf(control);
    Item item{.control = &control,
              .window = createChild(windowClass.name, {}, windowClass.style, windowClass.extendedStyle, idOf(control))};
    if (control.kind() == ControlKind::comboBox && fieldHeight_ == 0) {
        // The system gives a closed list the height that its font needs; all fields follow it.
        RECT closed{};
        ::GetWindowRect(item.window, &closed);
        fieldHeight_ = closed.bottom - closed.top;
    }
    if (control.kind() == ControlKind::textBox) {
        item.mark = createChild(L"STATIC", refusalMark, SS_LEFT | SS_CENTERIMAGE, 0, -1);
        item.box = std::make_unique<TextBox>(form_, control, item.window, [this] { refresh(); });
    }
    items_.push_back(std::move(item));
}

HWND FormDialog::createChild(const wchar_t *className, const std::u16string &text, DWORD style, DWORD extendedStyle,
                             int id) {
    HWND child =
        ::CreateWindowExW(extendedStyle, className, platform::wide(text), WS_CHILD | style, 0, 0, 10, 10, window_.get(),
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

FormDialog::Item *FormDialog::itemOf(WORD id) noexcept {
    const Control *control = id == IDOK ? form_.defaultButton() : id == IDCANCEL ? form_.cancelButton() : nullptr;
    if (control != nullptr) return &items_[control->position()];
    const auto position = static_cast<std::size_t>(id) - firstId;
    return id >= firstId && position < items_.size() ? &items_[position] : nullptr;
}

void FormDialog::show() {
    ::ShowWindow(window_.get(), SW_SHOW);
    if (shownFocus_ == nullptr)
        ::SendMessageW(window_.get(), WM_NEXTDLGCTL,
                       reinterpret_cast<WPARAM>(::GetNextDlgTabItem(window_.get(), nullptr, FALSE)), TRUE);
    ::UpdateWindow(window_.get());
}

void FormDialog::run() {
    const ThreadWindowsDisabled others(window_.get());
    show();
    QueuedMessage queued;
    while (open()) {
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

bool FormDialog::open() const noexcept { return form_.loaded() && form_.generation() == generation_; }

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
    switch (message) {
    case WM_COMMAND:
        if (!refreshing_ && open()) command(LOWORD(wide), HIWORD(wide));
        return true;
    case WM_CLOSE: form_.close(); return true;
    default: return false;
    }
}

void FormDialog::command(WORD id, WORD notification) {
    Item *item = itemOf(id);
    if (item == nullptr) return;
    const Control &control = *item->control;
    const auto focused = [&] {
        shownFocus_ = &control;
        form_.setFocus(control);
    };
    switch (control.kind()) {
    case ControlKind::comboBox:
        if (notification == CBN_SELCHANGE || notification == CBN_CLOSEUP) chosen(*item);
        if (notification == CBN_SETFOCUS) focused();
        break;
    case ControlKind::textBox:
        if (notification == EN_SETFOCUS) focused();
        if (notification == EN_CHANGE) item->box->show(); // not by the model
        break;
    case ControlKind::checkBox:
    case ControlKind::commandButton:
        if (notification == BN_CLICKED) form_.click(control);
        if (notification == BN_SETFOCUS) focused();
        break;
    case ControlKind::frame:
    case ControlKind::label: break;
    }
    refresh();
}

void FormDialog::chosen(const Item &item) {
    const auto index = static_cast<Long>(::SendMessageW(item.window, CB_GETCURSEL, 0, 0));
    if (index != item.control->listIndex()) form_.choose(*item.control, index);
}

// What the model shows

void FormDialog::refresh() {
    if (refreshing_ || !open() || form_.revision() == shownRevision_) return;
    refreshAll();
}

void FormDialog::refreshAll() {
    refreshing_ = true;
    shownRevision_ = form_.revision();
    try {
        if (std::u16string now = structure(); now != shownStructure_) {
            arrangeAnew();
            shownStructure_ = std::move(now);
        }
        for (const Item &item : items_)
            showState(item);
        followFocus();
    } catch (...) {
        fail();
    }
    refreshing_ = false;
}

/// All that decides where things stand, as one text to compare.
std::u16string FormDialog::structure() const {
    std::u16string all = form_.caption() + u'\n' + form_.message();
    for (const Control &control : form_.controls()) {
        all += form_.isShown(control) ? u'\n' : u'\0';
        all += control.caption();
        const auto items = reinterpret_cast<std::uintptr_t>(&control.items());
        all += {static_cast<char16_t>(items >> 16), static_cast<char16_t>(items)};
    }
    return all;
}

void FormDialog::arrangeAnew() {
    const DialogLayout layout = dialogLayout(form_);
    setText(window_.get(), form_.caption());
    for (const Item &item : items_) {
        if (item.control->kind() == ControlKind::comboBox)
            fillList(item);
        else if (item.control->kind() != ControlKind::textBox)
            setText(item.window, shownCaption(*item.control, layout));
    }
    RECT frame{};
    ::AdjustWindowRectEx(&frame, static_cast<DWORD>(::GetWindowLongW(window_.get(), GWL_STYLE)), FALSE, 0);
    const RECT area = workArea();
    const int tallest = (area.bottom - area.top) - (frame.bottom - frame.top);
    const Arrangement arrangement = arrange(form_, layout, metrics_, fieldHeight_, tallest);
    placeControls(arrangement);
    resize(arrangement.client);
}

void FormDialog::fillList(const Item &item) const {
    ::SendMessageW(item.window, CB_RESETCONTENT, 0, 0);
    for (const std::u16string &text : item.control->items())
        ::SendMessageW(item.window, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(platform::wide(drawnText(text))));
}

void FormDialog::placeControls(const Arrangement &arrangement) {
    for (const Item &item : items_) {
        const bool shown = form_.isShown(*item.control);
        if (!shown) leave(item.window);
        const std::size_t position = item.control->position();
        const RECT &place = arrangement.places[position];
        if (item.control->kind() == ControlKind::comboBox) {
            // The height of a list is that of its opened state.
            const auto lines = std::min(static_cast<int>(item.control->items().size()), longestDrop);
            const auto line = static_cast<int>(::SendMessageW(item.window, CB_GETITEMHEIGHT, 0, 0));
            move(item.window, place, fieldHeight_ + lines * line + metrics_.scaled(2));
        } else {
            move(item.window, place);
        }
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
    // A label's access key must not lead past a greyed field to the next one.
    bool enabled = form_.isEnabled(control);
    if (control.kind() == ControlKind::label)
        for (const Control &field : form_.controls())
            if (field.label() == &control) enabled = enabled && form_.isEnabled(field);
    if (!enabled) leave(item.window);
    setEnabled(item.window, enabled);
    switch (control.kind()) {
    case ControlKind::comboBox:
        if (::SendMessageW(item.window, CB_GETCURSEL, 0, 0) != control.listIndex())
            ::SendMessageW(item.window, CB_SETCURSEL, static_cast<WPARAM>(control.listIndex()), 0);
        break;
    case ControlKind::checkBox:
        ::SendMessageW(item.window, BM_SETCHECK, control.checked() ? BST_CHECKED : BST_UNCHECKED, 0);
        break;
    case ControlKind::textBox:
        item.box->show();
        setShown(item.mark, control.marked() && form_.isShown(control));
        break;
    case ControlKind::frame:
    case ControlKind::label:
    case ControlKind::commandButton: break;
    }
}

/// Give the focus to where the model has moved it.
void FormDialog::followFocus() {
    const Control *focus = form_.focus();
    if (focus == nullptr || focus == shownFocus_ || !takesFocus(*focus)) return;
    shownFocus_ = focus;
    ::SendMessageW(window_.get(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(windowOf(*focus)), TRUE);
}

/// The focus must not stay on a window that goes or is greyed.
void FormDialog::leave(HWND window) const noexcept {
    if (::GetFocus() == window) ::SendMessageW(window_.get(), WM_NEXTDLGCTL, 0, FALSE);
}

// Size and place

RECT FormDialog::workArea() const noexcept {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    HWND active = ::GetActiveWindow();
    ::GetMonitorInfoW(::MonitorFromWindow(active, MONITOR_DEFAULTTOPRIMARY), &monitor);
    return monitor.rcWork;
}

/// Give the client area its size; the window stays where it is, and on the screen.
void FormDialog::resize(SIZE client) const {
    RECT outer{0, 0, client.cx, client.cy};
    ::AdjustWindowRectEx(&outer, static_cast<DWORD>(::GetWindowLongW(window_.get(), GWL_STYLE)), FALSE,
                         static_cast<DWORD>(::GetWindowLongW(window_.get(), GWL_EXSTYLE)));
    const int width = outer.right - outer.left;
    const int height = outer.bottom - outer.top;
    RECT old{};
    ::GetWindowRect(window_.get(), &old);
    const RECT area = workArea();
    const LONG left = std::max(area.left, std::min(old.left, area.right - width));
    const LONG top = std::max(area.top, std::min(old.top, area.bottom - height));
    ::SetWindowPos(window_.get(), nullptr, left, top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

/// On the screen, or on the window that was active: without an owner the person looks there.
void FormDialog::centre() const noexcept {
    const RECT area = workArea();
    RECT around = area;
    HWND active = ::GetActiveWindow();
    if (form_.startPosition() == StartPosition::centerOwner && active != nullptr && active != window_.get() &&
        ::IsWindowVisible(active) != FALSE && ::IsIconic(active) == FALSE)
        ::GetWindowRect(active, &around);
    RECT own{};
    ::GetWindowRect(window_.get(), &own);
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    const LONG left = std::min((around.left + around.right - width) / 2, area.right - width);
    const LONG top = std::min((around.top + around.bottom - height) / 2, area.bottom - height);
    ::SetWindowPos(window_.get(), nullptr, std::max(left, area.left), std::max(top, area.top), 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void showModal(Form &form) {
    FormDialog dialog(form);
    dialog.run();
}

} // namespace kx3::win32
