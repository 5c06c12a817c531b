// The library or program that this code has been linked into.
#pragma once

#include <windows.h>

extern "C" IMAGE_DOS_HEADER __ImageBase; // NOLINT(bugprone-reserved-identifier): the linker's name

namespace kx3::win32 {

[[nodiscard]] inline HINSTANCE ownModule() noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

} // namespace kx3::win32
