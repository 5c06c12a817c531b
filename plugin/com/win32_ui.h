// The plug-in's user interface with the system's own means.
#pragma once

#include "outside/ui.h"

namespace kx3::com {

/// Message boxes, dialogs and the message loop of the host's thread.
class Win32Ui final : public Ui {
  public:
    /// Modal for all windows of the thread, so that the host is not entered again meanwhile.
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override;
    void yield() override;
    /// A dialog of the system's own controls.
    void showModal(Form &form) override;
};

} // namespace kx3::com
