// The programmer I/O functions of the suite's two libraries.
#pragma once

#include "outside/programmer_io.h"
#include "platform/dynamic_library.h"

#include <optional>

namespace kx3 {

/// Binds each function by name from its library on the function's first call.
class ProgrammerLibraries final : public ProgrammerIo {
  public:
    Integer usbcomwrite(Byte *packet, Long count) override;
    Integer usbbulkwrite(Byte *data, Long count) override;
    void usbbulkread(Byte *destination, Long count, Byte *state) override;
    std::u16string datstr(Long value, Long digits) override;

  private:
    template <class Function>
    static Function *bound(Function *&function, std::optional<platform::DynamicLibrary> &library,
                           const char *libraryName, const char *name) {
        if (function != nullptr) return function;
        if (!library) library.emplace(libraryName);
        return function = library->function<Function>(name);
    }

    std::optional<platform::DynamicLibrary> kx6io_;
    std::optional<platform::DynamicLibrary> kx3io_;
#define KX3_PROGRAMMER_FUNCTION(name, library, result, parameters)                                                     \
    [[nodiscard]] auto name##Function() { return bound(name##_, library##_, #library, #name); }                        \
    result(KX3_STDCALL *name##_) parameters = nullptr;
#include "outside/programmer_functions.inc"
};

} // namespace kx3
