// The five functions that the library exports, and its entry point.

#include <windows.h>

#include <initguid.h> // makes data of the identifiers that follow
#include <kx3mpu6_idl.h>

#include "com/com_mpu.h"
#include "com/error_object.h"
#include "com/host_thread.h"
#include "com/server.h"

#include <iterator>
#include <string_view>

namespace {

using namespace kx3::com;

ClassFactory factory([](REFIID id, void **object) { return ComMpu::create()->QueryInterface(id, object); });

/// The entries of class, type library and interface.
Registration registration() {
    constexpr wchar_t progId[] = L"kx3mpu6.clsMPU";
    constexpr wchar_t typeLibraryVersion[] = L"1.0";
    // The system's marshaller for interfaces that a type library describes.
    constexpr wchar_t automationMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";

    const std::wstring path = modulePath();
    const std::wstring library = registryText(LIBID_kx3mpu6);
    const std::wstring classKey = L"CLSID\\" + registryText(__uuidof(::clsMPU));
    const std::wstring libraryKey = L"TypeLib\\" + library;
    const std::wstring version = libraryKey + L'\\' + typeLibraryVersion;
    const std::wstring interfaceKey = L"Interface\\" + registryText(__uuidof(::_clsMPU));
    Registration made = classRegistration(__uuidof(::clsMPU), progId, progId);
    const RegistryEntry more[] = {
        {classKey + L"\\Programmable", L"", L""},
        {classKey + L"\\TypeLib", L"", library},
        {classKey + L"\\VERSION", L"", typeLibraryVersion},
        {version, L"", L"kx3mpu6 device-family plug-in"},
        {version + L"\\0\\win32", L"", path},
        {version + L"\\FLAGS", L"", L"0"},
        {version + L"\\HELPDIR", L"", path.substr(0, path.rfind(L'\\'))},
        {interfaceKey, L"", L"_clsMPU"},
        {interfaceKey + L"\\ProxyStubClsid32", L"", automationMarshaller},
        {interfaceKey + L"\\TypeLib", L"", library},
        {interfaceKey + L"\\TypeLib", L"Version", typeLibraryVersion},
    };
    made.entries.insert(made.entries.end(), std::begin(more), std::end(more));
    made.keys.insert(made.keys.end(), {libraryKey, interfaceKey});
    return made;
}

HRESULT install(bool on, Scope scope) noexcept {
    return guarded([=] { return on ? registration().write(scope) : registration().remove(scope); });
}

/// Keep the library loaded until the process ends, whoever unloads it. The run time linked into it
/// cannot be unloaded without leaving thread-local slots and locks behind, a host's thread may still
/// hold objects, and what a thread has attached outlives its objects anyway.
bool stayLoaded() noexcept {
    HMODULE self = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN;
    return ::GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&stayLoaded), &self) != FALSE;
}

} // namespace

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID *object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return classId == __uuidof(::clsMPU) ? factory.QueryInterface(id, object) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return moduleInUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return install(true, Scope::machine); }

STDAPI DllUnregisterServer() { return install(false, Scope::machine); }

/// Register or unregister for the whole machine, or with "user" for the current user alone.
STDAPI DllInstall(BOOL on, LPCWSTR commandLine) {
    const std::wstring_view wanted = commandLine == nullptr ? std::wstring_view() : commandLine;
    if (!wanted.empty() && wanted != L"user") return E_INVALIDARG;
    return install(on != FALSE, wanted.empty() ? Scope::machine : Scope::user);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) return stayLoaded() && HostThread::startUp() ? TRUE : FALSE;
    if (reason == DLL_THREAD_DETACH) HostThread::endCurrent();
    return TRUE;
}
