// The message queue of the calling thread, for loops inside a host that is no Unicode program.
#pragma once

#include <windows.h>

namespace kx3::win32 {

/// A message, and the character set of its window.
struct QueuedMessage {
    MSG message{};
    bool unicode = true;
};

/// Take the next message in the character set of its window: the texts of a window that is not a
/// Unicode one would suffer otherwise. False when there is none.
bool takeMessage(QueuedMessage &taken) noexcept;

/// Hand a taken message to its window.
void dispatch(const QueuedMessage &taken) noexcept;

/// Whether the message asks the thread to end. It is then put back: it ends the host's own loop, not
/// the one that has taken it.
bool passOnQuit(const QueuedMessage &taken) noexcept;

} // namespace kx3::win32
