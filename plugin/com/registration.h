// The library's entries in the registry.
#pragma once

#include <windows.h>

namespace kx3::com {

/// Whom the registration is for.
enum class Scope { machine, user };

/// Write the entries of class, type library and interface for the library's present place. When an
/// entry cannot be written, those written before are removed again. Raises out of memory.
[[nodiscard]] HRESULT registerServer(Scope scope);
/// Remove the entries; missing ones are no failure.
[[nodiscard]] HRESULT unregisterServer(Scope scope);

} // namespace kx3::com
