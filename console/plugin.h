// The plug-in, attached to the blocks of this host.
#pragma once

#include "blocks.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <kx3mpu6.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kx3console {

/// Run `action` inside a callback of the plug-in, which no exception may cross: it becomes the failure
/// of the callback.
[[nodiscard]] kx3_status callbackFailure() noexcept;
template <class Action> [[nodiscard]] kx3_status guarded(Action action) noexcept {
    try {
        action();
        return KX3_OK;
    } catch (...) {
        return callbackFailure();
    }
}

/// UTF-8 of a text of the plug-in; empty for a null pointer.
[[nodiscard]] std::string utf8(const std::uint16_t *units, std::size_t length);
/// The same without the tabs that some languages carry.
[[nodiscard]] std::string shownText(const kx3_text &text);

/// A message box of a note.
struct Note {
    std::string title; ///< empty: the system's own
    std::vector<std::string> lines;
    std::int32_t style = 0; ///< as in kx3_ui
};

/// The plug-in attached, with its callbacks in place. One at a time.
class Plugin {
  public:
    /// What the plug-in calls while it works. Both may throw: the plug-in's operation then fails.
    struct Callbacks {
        std::function<void()> yield;
        /// Shows a message box and gives the button, as in kx3_ui. Without it every box is answered with OK.
        std::function<std::int32_t(const std::string &title, const std::string &prompt, std::int32_t style)> ask;
    };

    /// Fails when the plug-in cannot attach the blocks.
    explicit Plugin(const SharedBlocks &blocks, Callbacks callbacks = {});
    ~Plugin();
    Plugin(const Plugin &) = delete;
    Plugin &operator=(const Plugin &) = delete;

    /// Run the operation that the blocks describe; why the call failed, or nothing.
    [[nodiscard]] std::optional<std::string> run();

    // These fail with what a callback threw, or else when the plug-in's call fails.

    /// Write the default configuration bytes of the device into the device buffer.
    void writeDefaults();
    /// Open the device's configuration editor and let `present` work the form until it is closed.
    void openEditor(std::function<void(kx3_form *)> present);
    /// Show a device note; nothing when this device has no such note.
    [[nodiscard]] std::optional<Note> note(std::uint8_t number);

  private:
    struct Release {
        void operator()(kx3_mpu *mpu) const noexcept;
    };

    template <class Action> kx3_status remembering(Action action) noexcept;
    void finish(kx3_status status, std::string_view what);

    Callbacks callbacks_;
    std::function<void(kx3_form *)> present_;
    std::exception_ptr failure_; ///< that left a callback
    std::unique_ptr<kx3_mpu, Release> mpu_;
};

} // namespace kx3console
