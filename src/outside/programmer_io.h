// The programmer I/O libraries: command packets and bulk data to and from the programmer.
#pragma once

#include "base/types.h"

#include <string>

namespace kx3 {

/// Four functions that the suite installs in two libraries. A library or function that cannot be
/// found makes the call raise an error that names it.
class ProgrammerIo {
  public:
    virtual ~ProgrammerIo() = default;

    /// Send `count` (4, 8 or 16) bytes of a command packet. Returns the library's 16-bit status.
    virtual Integer usbcomwrite(Byte *packet, Long count) = 0;

    /// Send `count` bytes of data; returns when they are sent. 1 means a failed transfer.
    virtual Integer usbbulkwrite(Byte *data, Long count) = 0;

    /// Start receiving `count` bytes into `destination`. The caller sets `state` to 0 first; the
    /// library later sets it to 2 when the data have arrived, or to a value above 3 on failure.
    /// Both places must stay valid until then.
    virtual void usbbulkread(Byte *destination, Long count, Byte *state) = 0;

    /// `value` as `digits` (2 or 8) hexadecimal digits.
    virtual std::u16string datstr(Long value, Long digits) = 0;
};

} // namespace kx3
