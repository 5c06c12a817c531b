// The rest of what the plug-in asks of the operating system: time of day, current directory, files.
#pragma once

#include "base/types.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kx3::platform {

/// Seconds since local midnight, with fractions.
[[nodiscard]] float secondsSinceMidnight() noexcept;

/// The process's current directory without a trailing separator. Raises "File not found" when it
/// no longer exists.
[[nodiscard]] std::u16string currentDirectory();

/// Length of the regular file at `path` (separators "\" on every system); nothing when there is no
/// such file, or it is a directory, a pipe or a device.
[[nodiscard]] std::optional<std::uint64_t> regularFileLength(std::u16string_view path);

/// Fill `destination` from the start of the regular file at `path`. False when it cannot be opened
/// or holds fewer bytes.
[[nodiscard]] bool readFile(std::u16string_view path, std::span<Byte> destination);

} // namespace kx3::platform
