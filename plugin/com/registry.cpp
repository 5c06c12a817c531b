#include "com/registry.h"

#include <iterator>
#include <memory>
#include <objbase.h>
#include <type_traits>

namespace kx3::com {

namespace {

struct KeyCloser {
    void operator()(HKEY key) const noexcept { ::RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

HRESULT asStatus(LSTATUS error) noexcept { return HRESULT_FROM_WIN32(static_cast<DWORD>(error)); }

HRESULT openClasses(Scope scope, UniqueKey &classes) noexcept {
    const HKEY root = scope == Scope::machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    HKEY opened = nullptr;
    const LSTATUS error =
        ::RegCreateKeyExW(root, L"Software\\Classes", 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &opened, nullptr);
    classes.reset(opened);
    return asStatus(error);
}

HRESULT write(HKEY classes, const RegistryEntry &entry) noexcept {
    const auto bytes = static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t));
    const wchar_t *name = entry.name.empty() ? nullptr : entry.name.c_str();
    return asStatus(::RegSetKeyValueW(classes, entry.key.c_str(), name, REG_SZ, entry.value.c_str(), bytes));
}

} // namespace

HRESULT writeEntries(Scope scope, std::span<const RegistryEntry> entries, std::span<const std::wstring> keys) noexcept {
    UniqueKey classes;
    HRESULT status = openClasses(scope, classes);
    if (FAILED(status)) return status;
    for (const RegistryEntry &entry : entries) {
        status = write(classes.get(), entry);
        if (FAILED(status)) {
            (void)removeKeys(scope, keys);
            return status;
        }
    }
    return S_OK;
}

HRESULT removeKeys(Scope scope, std::span<const std::wstring> keys) noexcept {
    UniqueKey classes;
    const HRESULT status = openClasses(scope, classes);
    if (FAILED(status)) return status;
    for (const std::wstring &key : keys) {
        const LSTATUS error = ::RegDeleteTreeW(classes.get(), key.c_str());
        if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) return asStatus(error);
    }
    return S_OK;
}

std::wstring registryText(const GUID &identifier) {
    wchar_t text[39];
    ::StringFromGUID2(identifier, text, static_cast<int>(std::size(text)));
    return text;
}

} // namespace kx3::com
