// The five functions that the library exports, and its entry point.

#include "com/class_factory.h"
#include "com/error_object.h"
#include "com/host_thread.h"
#include "com/module.h"
#include "com/registration.h"

#include <kx3mpu6_idl.h>
#include <string_view>

using kx3::com::Scope;

namespace {

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
    return classId == __uuidof(::clsMPU) ? kx3::com::classFactory(id, object) : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return kx3::com::moduleInUse() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() {
    return kx3::com::guarded([] { return kx3::com::registerServer(Scope::machine); });
}

STDAPI DllUnregisterServer() {
    return kx3::com::guarded([] { return kx3::com::unregisterServer(Scope::machine); });
}

/// Register or unregister for the whole machine, or with "user" for the current user alone.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    const std::wstring_view wanted = commandLine == nullptr ? std::wstring_view() : commandLine;
    if (!wanted.empty() && wanted != L"user") return E_INVALIDARG;
    const Scope scope = wanted.empty() ? Scope::machine : Scope::user;
    return kx3::com::guarded(
        [=] { return install != FALSE ? kx3::com::registerServer(scope) : kx3::com::unregisterServer(scope); });
}

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) return stayLoaded() && kx3::com::HostThread::startUp() ? TRUE : FALSE;
    if (reason == DLL_THREAD_DETACH) kx3::com::HostThread::endCurrent();
    return TRUE;
}
