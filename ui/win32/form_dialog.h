// A form as a modal dialog of the system's own controls.
#pragma once

#include "forms/dialog_layout.h"
#include "forms/form.h"
#include "win32/arrangement.h"
#include "win32/dialog_metrics.h"
#include "win32/text_box.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
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

/// The dialog of a loaded form. It shows the model, passes on what the person does, and follows the
/// model's changes. The form outlives the dialog, and is not loaded again meanwhile.
class FormDialog {
  public:
    /// Makes the windows and shows none. Raises "out of memory" when the system refuses one.
    explicit FormDialog(Form &form, int dpi = screenDpi());
    FormDialog(const FormDialog &) = delete;
    FormDialog &operator=(const FormDialog &) = delete;

    [[nodiscard]] HWND window() const noexcept { return window_.get(); }
    [[nodiscard]] HWND windowOf(const Control &control) const noexcept { return items_[control.position()].window; }

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
    void command(WORD id, WORD notification);
    void chosen(const Item &item);

    void createWindow();
    void createControls();
    void createItem(const Control &control);
    HWND createChild(const wchar_t *className, const std::u16string &text, DWORD style, DWORD extendedStyle, int id);
    void fillList(const Item &item) const;
    [[nodiscard]] int idOf(const Control &control) const noexcept;
    [[nodiscard]] Item *itemOf(WORD id) noexcept;

    [[nodiscard]] bool open() const noexcept;
    void refresh();
    void refreshAll();
    void arrangeAnew();
    void placeControls(const Arrangement &arrangement);
    void resize(SIZE client) const;
    void showState(const Item &item) const;
    void followFocus();
    [[nodiscard]] std::u16string structure() const;
    void leave(HWND window) const noexcept;
    [[nodiscard]] RECT workArea() const noexcept;
    void centre() const noexcept;
    void fail() noexcept;

    Form &form_;
    std::uint64_t generation_;
    DialogMetrics metrics_;
    UniqueDialog window_;
    std::vector<Item> items_; ///< by control position
    HWND message_ = nullptr;
    int fieldHeight_ = 0;
    std::uint64_t shownRevision_ = 0;
    std::u16string shownStructure_;
    const Control *shownFocus_ = nullptr;
    bool refreshing_ = false;
    std::exception_ptr failure_;
};

/// Show a loaded form as `Ui::showModal` promises.
void showModal(Form &form);

} // namespace kx3::win32
