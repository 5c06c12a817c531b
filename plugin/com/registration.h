// The plug-in's entries in the registry.
#pragma once

#include "com/registry.h"

namespace kx3::com {

/// Write the entries of class, type library and interface for the library's present place. Raises
/// out of memory.
[[nodiscard]] HRESULT registerServer(Scope scope);
/// Remove the entries; missing ones are no failure.
[[nodiscard]] HRESULT unregisterServer(Scope scope);

} // namespace kx3::com
