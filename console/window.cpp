#include "window.h"

#include "base/text.h"
#include "failure.h"

#include <dlfcn.h>
#include <fmt/format.h>

namespace kx3console {

namespace {

constexpr const char *libraryName = "libkx3mpu6-qt.so.1";

Failure noLibrary() {
    return {Exit::noDisplay, fmt::format("no window can be drawn: {}", ::dlerror()),
            fmt::format("Put {} beside mpu6: it is built where Qt 6 is installed (package qt6-base-dev to build it, "
                        "libqt6widgets6 to run it). `mpu6 config show` and `mpu6 config set` need no window.",
                        libraryName)};
}

/// The library stays for good: Qt cannot be unloaded.
void *library() {
    void *const loaded = ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr) throw noLibrary();
    return loaded;
}

template <class Function> Function find(const char *symbol) {
    void *const address = ::dlsym(library(), symbol);
    if (address == nullptr) throw noLibrary();
    return reinterpret_cast<Function>(address);
}

const std::uint16_t *units(const std::u16string &text) { return reinterpret_cast<const std::uint16_t *>(text.data()); }

} // namespace

Window::Window()
    : showForm_(find<decltype(showForm_)>("kx3_qt_show_form")),
      messageBox_(find<decltype(messageBox_)>("kx3_qt_message_box")) {
    const char *const reason = find<decltype(&kx3_qt_start)>("kx3_qt_start")();
    if (reason == nullptr) return;
    throw Failure(Exit::noDisplay, fmt::format("no window can be drawn: {}", reason),
                  "Run it in a graphical session, where DISPLAY or WAYLAND_DISPLAY is set. `mpu6 config show` and "
                  "`mpu6 config set` need no window.");
}

bool Window::show(kx3_form *form) const {
    if (showForm_(nullptr, form) != KX3_OK) throw Failure(Exit::failed, "the dialog could not be shown");
    return kx3_form_accepted(form) != 0;
}

std::int32_t Window::ask(const std::string &title, const std::string &prompt, std::int32_t style) const {
    const std::u16string titleText = kx3::fromUtf8(title);
    const std::u16string promptText = kx3::fromUtf8(prompt);
    std::int32_t button = KX3_BUTTON_OK;
    if (messageBox_(nullptr, units(promptText), promptText.size(), style, title.empty() ? nullptr : units(titleText),
                    titleText.size(), &button) != KX3_OK)
        throw Failure(Exit::failed, "the message box could not be shown");
    return button;
}

} // namespace kx3console
