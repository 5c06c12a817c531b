#include "com/registration.h"

#include "com/module.h"

#include <kx3mpu6_idl.h>
#include <vector>

namespace kx3::com {

namespace {

constexpr wchar_t progId[] = L"kx3mpu6.clsMPU";
constexpr wchar_t interfaceName[] = L"_clsMPU";
constexpr wchar_t libraryDescription[] = L"kx3mpu6 device-family plug-in";
constexpr wchar_t typeLibraryVersion[] = L"1.0";
/// The system's marshaller for interfaces that a type library describes.
constexpr wchar_t automationMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring classKey() { return L"CLSID\\" + registryText(__uuidof(::clsMPU)); }
std::wstring libraryKey() { return L"TypeLib\\" + registryText(LIBID_kx3mpu6); }
std::wstring interfaceKey() { return L"Interface\\" + registryText(__uuidof(::_clsMPU)); }

/// Everything that the entries stand below.
std::vector<std::wstring> keys() { return {progId, classKey(), libraryKey(), interfaceKey()}; }

std::vector<RegistryEntry> entries() {
    const std::wstring path = modulePath();
    const std::wstring folder = path.substr(0, path.rfind(L'\\'));
    const std::wstring library = registryText(LIBID_kx3mpu6);
    const std::wstring version = libraryKey() + L'\\' + typeLibraryVersion;
    return {
        {progId, L"", progId},
        {std::wstring(progId) + L"\\CLSID", L"", registryText(__uuidof(::clsMPU))},
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

} // namespace

HRESULT registerServer(Scope scope) { return writeEntries(scope, entries(), keys()); }
HRESULT unregisterServer(Scope scope) { return removeKeys(scope, keys()); }

} // namespace kx3::com
