// What every in-process server needs: a count of what keeps its library loaded, its class factory and
// its entries in the registry.
#pragma once

#include <string>
#include <unknwn.h>
#include <vector>
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

/// Whether objects, references to a class factory or locks are left.
[[nodiscard]] bool moduleInUse() noexcept;

/// Full path of the library's file. Raises an error when it cannot be told.
[[nodiscard]] std::wstring modulePath();

/// Creates the objects of one class. Each reference to it keeps the library loaded; the factory itself
/// is a static object, which references neither create nor destroy.
class ClassFactory final : public IClassFactory {
  public:
    /// Hands out interface `id` of an object; it may raise errors.
    using Create = HRESULT (*)(REFIID id, void **object);
    explicit constexpr ClassFactory(Create create) noexcept : create_(create) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID id, void **object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

  private:
    Create create_;
};

/// Whom a registration is for.
enum class Scope { machine, user };

/// A text value below the registry's list of classes; `name` is empty for the key's own value.
struct RegistryEntry {
    std::wstring key;
    std::wstring name;
    std::wstring value;
};

/// The entries of a library, and the keys that they all stand below.
struct Registration {
    std::vector<RegistryEntry> entries;
    std::vector<std::wstring> keys;

    /// Write all entries. When one cannot be written, the keys are removed again.
    [[nodiscard]] HRESULT write(Scope scope) const noexcept;
    /// Remove the keys with all that is below them; missing ones are no failure.
    [[nodiscard]] HRESULT remove(Scope scope) const noexcept;
};

/// What makes a class of this library creatable by identifier and by name, at the library's present
/// place. Raises out of memory.
[[nodiscard]] Registration classRegistration(const CLSID &classId, const wchar_t *progId, const wchar_t *description);

/// `identifier` as the registry writes it, in braces.
[[nodiscard]] std::wstring registryText(const GUID &identifier);

} // namespace kx3::com
