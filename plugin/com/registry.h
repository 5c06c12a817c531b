// Entries in the registry's list of classes.
#pragma once

#include <span>
#include <string>
#include <windows.h>

namespace kx3::com {

/// Whom a registration is for.
enum class Scope { machine, user };

/// A text value below the list of classes; `name` is empty for the key's own.
struct RegistryEntry {
    std::wstring key;
    std::wstring name;
    std::wstring value;
};

/// Write all `entries`. When one cannot be written, `keys` are removed again.
[[nodiscard]] HRESULT writeEntries(Scope scope, std::span<const RegistryEntry> entries,
                                   std::span<const std::wstring> keys) noexcept;
/// Remove `keys` with all that is below them; missing ones are no failure.
[[nodiscard]] HRESULT removeKeys(Scope scope, std::span<const std::wstring> keys) noexcept;

/// `identifier` as the registry writes it, in braces.
[[nodiscard]] std::wstring registryText(const GUID &identifier);

} // namespace kx3::com
