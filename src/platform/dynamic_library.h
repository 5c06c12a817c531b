// Functions of other libraries, bound by name.
#pragma once

#include <string>
#include <string_view>

#if defined(_WIN32) && !defined(_WIN64)
/// Calling convention of the suite's library functions.
#define KX3_STDCALL __stdcall
#else
#define KX3_STDCALL
#endif

namespace kx3::platform {

/// An opened library; it stays loaded until the object ends.
class DynamicLibrary {
  public:
    /// Open library `name` without prefix and extension ("kx6io" is kx6io.dll on Windows,
    /// libkx6io.so elsewhere): first beside this plug-in, then by the system's search. Raises
    /// "File not found" with the file's name, and "Error in loading DLL" for a file that is no library.
    explicit DynamicLibrary(std::string_view name);
    ~DynamicLibrary();
    DynamicLibrary(const DynamicLibrary &) = delete;
    DynamicLibrary &operator=(const DynamicLibrary &) = delete;

    /// Address of function `symbol`. Raises "Can't find DLL entry point" with both names.
    template <class Function> [[nodiscard]] Function *function(std::string_view symbol) const {
        return reinterpret_cast<Function *>(address(symbol));
    }

  private:
    [[nodiscard]] void *address(std::string_view symbol) const;

    std::string fileName_;
    void *handle_;
};

} // namespace kx3::platform
