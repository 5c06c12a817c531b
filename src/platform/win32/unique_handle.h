// Ownership of the system's handles.
#pragma once

#include <memory>
#include <type_traits>
#include <windows.h>

namespace kx3::platform {

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
/// A kernel handle. A call that reports failure by INVALID_HANDLE_VALUE goes through `fileHandle`.
using UniqueHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

[[nodiscard]] inline UniqueHandle fileHandle(HANDLE opened) noexcept {
    return UniqueHandle(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
}

struct ModuleFreer {
    void operator()(HMODULE module) const noexcept { ::FreeLibrary(module); }
};
/// A loaded library.
using UniqueModule = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleFreer>;

} // namespace kx3::platform
