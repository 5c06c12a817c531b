// What the plug-in asks of whoever shows things to the user and runs the message loop.
#pragma once

#include "base/types.h"

#include <optional>
#include <string_view>

namespace kx3 {

class Form;

/// Message box styles: buttons plus icon, by the system's numbers.
inline constexpr Long messageBoxOkOnly = 0;
inline constexpr Long messageBoxOkCancelQuestion = 33;
inline constexpr Long messageBoxAbortRetryIgnoreExclamation = 50;
inline constexpr Long messageBoxInformation = 64;

/// The button that closed a message box, by the system's numbers.
enum class MessageBoxResult : Long { ok = 1, cancel = 2, abort = 3, retry = 4, ignore = 5 };

/// Message boxes, modal forms and the message loop of the host's thread.
class Ui {
  public:
    virtual ~Ui() = default;

    /// Show a modal message box without an owner. No `title` leaves the system's default caption.
    /// Lines of `prompt` are broken by carriage returns.
    virtual MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                        std::optional<std::u16string_view> title) = 0;

    /// Let the message loop run once: the host repaints, handles the user's stop and carries out
    /// announced work; any shared block may have changed afterwards.
    virtual void yield() = 0;

    /// Show `form` modally without an owner; return when it has unloaded itself.
    virtual void showModal(Form &form) = 0;
};

} // namespace kx3
