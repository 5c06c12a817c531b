// The plug-in's configuration calls, with a person's hands played by the program: the dialogs are
// opened, read and worked as anybody would who sits in front of them.
#pragma once

#include "../blocks.h"
#include "../window.h"
#include "editor.h"
#include "field_value.h"

#include <exception>
#include <functional>
#include <kx3mpu6.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kx3console::config {

struct Assignment {
    const Field *field;
    Entry entry;
    std::string value; ///< as typed
};

/// A message box of a note.
struct Note {
    std::string title; ///< empty: the system's own
    std::vector<std::string> lines;
    std::int32_t style = 0; ///< as in kx3_ui
};

/// The plug-in attached to `blocks`, with callbacks that lead here. One at a time.
class Dialogs {
  public:
    /// Fails when the plug-in cannot attach the blocks.
    explicit Dialogs(const SharedBlocks &blocks);
    ~Dialogs();
    Dialogs(const Dialogs &) = delete;
    Dialogs &operator=(const Dialogs &) = delete;

    /// Open the editor, look at all of its fields, and cancel it. States beside `editor.fields`.
    [[nodiscard]] std::vector<FieldState> look(const Editor &editor);
    /// Open the editor, make the entries, and press OK. Fails when an entry cannot be made or OK is
    /// refused; the device buffer is then as it was.
    void edit(const std::vector<Assignment> &assignments);
    /// Open the editor for a person; false when it was not closed by OK.
    [[nodiscard]] bool letEdit(const Window &window);
    /// Write the default configuration bytes.
    void writeDefaults();
    /// Show a device note; nothing when this device has no such note.
    [[nodiscard]] std::optional<Note> note(std::uint8_t number);

  private:
    struct Release {
        void operator()(kx3_mpu *mpu) const noexcept;
    };
    using Presenter = std::function<void(kx3_form *)>;

    static kx3_status showForm(void *context, kx3_form *form);
    static kx3_status messageBox(void *context, const std::uint16_t *prompt, std::size_t promptLength,
                                 std::int32_t style, const std::uint16_t *title, std::size_t titleLength,
                                 std::int32_t *button);
    void openEditor(Presenter presenter);
    template <class Action> kx3_status guarded(Action action) noexcept;

    Presenter presenter_;
    std::optional<Note> note_;
    std::exception_ptr failure_; ///< that left a callback
    std::unique_ptr<kx3_mpu, Release> mpu_;
};

} // namespace kx3console::config
