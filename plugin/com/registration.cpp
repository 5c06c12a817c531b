#include "com/registration.h"

#include "com/com_ptr.h"
#include "com/module.h"

#include <kx3mpu6_idl.h>
#include <string>
#include <type_traits>
#include <vector>

namespace kx3::com {

namespace {

constexpr wchar_t progId[] = L"kx3mpu6.clsMPU";
constexpr wchar_t interfaceName[] = L"_clsMPU";
constexpr wchar_t libraryDescription[] = L"kx3mpu6 device-family plug-in";
constexpr wchar_t typeLibraryVersion[] = L"1.0";
/// The system's marshaller for interfaces that a type library describes.
constexpr wchar_t automationMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";

struct KeyCloser {
    void operator()(HKEY key) const noexcept { ::RegCloseKey(key); }
};
using UniqueKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

/// A text value; `name` is empty for the key's own.
struct Entry {
    std::wstring key;
    std::wstring name;
    std::wstring value;
};

HRESULT asStatus(LSTATUS error) noexcept { return HRESULT_FROM_WIN32(static_cast<DWORD>(error)); }

std::wstring textOf(const GUID &identifier) {
    wchar_t text[39];
    ::StringFromGUID2(identifier, text, static_cast<int>(std::size(text)));
    return text;
}

const std::wstring &classKey() {
    static const std::wstring key = L"CLSID\\" + textOf(__uuidof(::clsMPU));
    return key;
}
const std::wstring &libraryKey() {
    static const std::wstring key = L"TypeLib\\" + textOf(LIBID_kx3mpu6);
    return key;
}
const std::wstring &interfaceKey() {
    static const std::wstring key = L"Interface\\" + textOf(__uuidof(::_clsMPU));
    return key;
}

std::vector<Entry> entries() {
    const std::wstring path = modulePath();
    const std::wstring folder = path.substr(0, path.rfind(L'\\'));
    const std::wstring library = textOf(LIBID_kx3mpu6);
    const std::wstring version = libraryKey() + L'\\' + typeLibraryVersion;
    return {
        {progId, L"", progId},
        {std::wstring(progId) + L"\\CLSID", L"", textOf(__uuidof(::clsMPU))},
        {classKey(), L"", progId},
        {classKey() + L"\\InprocServer32", L"", path},
        {classKey() + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
        {classKey() + L"\\ProgID", L"", progId},
        {classKey() + L"\\Programmable", L"", L""},
        {classKey() + L"\\TypeLib", L"", library},
        {classKey() + L"\\VERSION", L"", typeLibraryVersion},
        {version, L"", libraryDescription},
        {version + L"\\0\\win32", L"", path},
        {version + L"\\FLAGS", L"", L"0"},
        {version + L"\\HELPDIR", L"", folder},
        {interfaceKey(), L"", interfaceName},
        {interfaceKey() + L"\\ProxyStubClsid32", L"", automationMarshaller},
        {interfaceKey() + L"\\TypeLib", L"", library},
        {interfaceKey() + L"\\TypeLib", L"Version", typeLibraryVersion},
    };
}

HKEY rootOf(Scope scope) noexcept { return scope == Scope::machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER; }

HRESULT openClasses(Scope scope, UniqueKey &classes) noexcept {
    HKEY opened = nullptr;
    const LSTATUS error = ::RegCreateKeyExW(rootOf(scope), L"Software\\Classes", 0, nullptr, 0, KEY_READ | KEY_WRITE,
                                            nullptr, &opened, nullptr);
    classes.reset(opened);
    return asStatus(error);
}

HRESULT write(HKEY classes, const Entry &entry) noexcept {
    const auto bytes = static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t));
    return asStatus(::RegSetKeyValueW(classes, entry.key.c_str(), entry.name.empty() ? nullptr : entry.name.c_str(),
                                      REG_SZ, entry.value.c_str(), bytes));
}

HRESULT removeAll(HKEY classes) {
    for (const std::wstring &key : {std::wstring(progId), classKey(), libraryKey(), interfaceKey()}) {
        const LSTATUS error = ::RegDeleteTreeW(classes, key.c_str());
        if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) return asStatus(error);
    }
    return S_OK;
}

} // namespace

HRESULT registerServer(Scope scope) {
    const std::vector<Entry> all = entries();
    UniqueKey classes;
    HRESULT status = openClasses(scope, classes);
    if (FAILED(status)) return status;
    for (const Entry &entry : all) {
        status = write(classes.get(), entry);
        if (FAILED(status)) {
            (void)removeAll(classes.get());
            return status;
        }
    }
    return S_OK;
}

HRESULT unregisterServer(Scope scope) {
    UniqueKey classes;
    const HRESULT status = openClasses(scope, classes);
    return FAILED(status) ? status : removeAll(classes.get());
}

} // namespace kx3::com
