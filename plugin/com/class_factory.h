// The class object that creates clsMPU objects.
#pragma once

#include <windows.h>

namespace kx3::com {

/// Interface `id` of the class factory, as DllGetClassObject hands it out.
HRESULT classFactory(REFIID id, void **factory) noexcept;

} // namespace kx3::com
