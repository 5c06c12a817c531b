// A form as a modal dialog of the system's own controls.
#pragma once

#include "forms/form_view.h"
#include "win32/arrangement.h"
#include "win32/dialog_metrics.h"
#include "win32/text_box.h"

#include <exception>
#include <memory>
#include <vector>
#include <windows.h>

namespace kx3::win32 {

struct DialogDestroyer {
    /// What a dialog's controls tell while they go reaches nobody.
    void operator()(HWND dialog) const noexcept {
        ::SetWindowLongPtrW(dialog, DWLP_USER, 0);
        ::DestroyWindow(dialog);
    }
};
using UniqueDialog = std::unique_ptr<std::remove_pointer_t<HWND>, DialogDestroyer>;

/// Window class and styles of a control.
struct ChildClass {
    const wchar_t *name;
    DWORD style;
    DWORD extendedStyle;
};

/// The dialog of a loaded form. It shows the model, passes on what the person does, and follows the
/// model's changes. The form outlives the dialog, and is not loaded again meanwhile.
class FormDialog {
  public:
    /// Makes the windows and shows none. Raises "out of memory" when the system refuses one.
    explicit FormDialog(Form &form, int dpi = screenDpi());
    FormDialog(const FormDialog &) = delete;
    FormDialog &operator=(const FormDialog &) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_.get(); }
    [[nodiscard]] HWND windowOf(const Control &control) const noexcept;

    /// Show the dialog where the form wants it and give its first field the focus.
    void show();
    /// Show the dialog, and run the thread's message loop until the form unloads itself. The thread's
    /// other windows take no input meanwhile. A request to end the thread closes the form and stays
    /// requested. Raises what has gone wrong in showing the form; the form's own failure stays with it.
    void run();

  private:
    /// The windows of a control.
    struct Item {
        const Control *control = nullptr;
        HWND window = nullptr;
        HWND mark = nullptr;            ///< of a text box
        std::unique_ptr<TextBox> box{}; ///< of a text box
    };

    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wide, LPARAM parameter) noexcept;
    bool handle(UINT message, WPARAM wide, LPARAM parameter);
    void command(const Item &item, WORD notification);

    void createWindow();
    void createControls();
    void createItem(const Control &control);
    HWND createChild(const ChildClass &kind, int id);
    void fillList(const Item &item) const;
    [[nodiscard]] int listHeight(const Item &item) const;
    [[nodiscard]] int idOf(const Control &control) const noexcept;

    void refresh();
    void arrangeAnew();
    void placeControls(const Arrangement &arrangement) const;
    void showState(const Item &item) const;
    void giveFocus(HWND window) const noexcept;
    void leave(HWND window) const noexcept;
    [[nodiscard]] SIZE outerSize(SIZE client) const noexcept;
    void centre() const noexcept;
    void fail() noexcept;

    Form &form_;
    FormView view_;
    DialogMetrics metrics_;
    UniqueDialog window_;
    std::vector<Item> items_; ///< by control position
    HWND message_ = nullptr;
    int fieldHeight_ = 0;
    bool refreshing_ = false;
    std::exception_ptr failure_;
};

/// Show a loaded form as `Ui::showModal` promises.
void showModal(Form &form);

} // namespace kx3::win32
