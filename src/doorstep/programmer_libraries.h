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
    using ComWrite = Integer KX3_STDCALL(Byte *, Long);
    using BulkWrite = Integer KX3_STDCALL(Byte *, Long);
    using BulkRead = void KX3_STDCALL(Byte *, Long, Byte *);
    using DatStr = void KX3_STDCALL(char *, Long, Long);

    const platform::DynamicLibrary &io();
    const platform::DynamicLibrary &text();

    std::optional<platform::DynamicLibrary> io_;   ///< kx6io
    std::optional<platform::DynamicLibrary> text_; ///< kx3io
    ComWrite *comWrite_ = nullptr;
    BulkWrite *bulkWrite_ = nullptr;
    BulkRead *bulkRead_ = nullptr;
    DatStr *datStr_ = nullptr;
};

} // namespace kx3
