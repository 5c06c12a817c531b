// The library as a whole: what keeps it loaded, and where it lies.
#pragma once

#include <string>
#include <windows.h>

namespace kx3::com {

/// Counts as one reason to keep the library loaded, as long as it lives.
class ModuleReference {
  public:
    ModuleReference() noexcept;
    ~ModuleReference();
    ModuleReference(const ModuleReference &) = delete;
    ModuleReference &operator=(const ModuleReference &) = delete;
};

/// The same by hand, for a host that locks the class factory.
void lockModule() noexcept;
void unlockModule() noexcept;
/// Whether objects, class factories or locks are left.
[[nodiscard]] bool moduleInUse() noexcept;

/// Full path of the library's file. Raises an error when it cannot be told.
[[nodiscard]] std::wstring modulePath();

} // namespace kx3::com
