// The five functions that the library exports, and its entry point.

#include "com/class_factory.h"
#include "com/error_object.h"
#include "com/host_thread.h"
#include "com/module.h"
#include "com/registration.h"

#include <kx3mpu6_idl.h>
#include <string_view>

using kx3::com::Scope;

namespace __gnu_cxx {
void __freeres(); // of the compiler's run time: frees its reserve for exceptions
} // namespace __gnu_cxx

/// The library's own directory of thread-local storage, as the linker has laid it out.
extern "C" const IMAGE_TLS_DIRECTORY _tls_used;

namespace {

/// The run time linked into this library frees what it keeps for a thread when the thread ends. The
/// thread that unloads the library leaves it just as well, but nobody tells the run time.
void releaseRunTime(HINSTANCE module) noexcept {
    const auto *callbacks = reinterpret_cast<const PIMAGE_TLS_CALLBACK *>(_tls_used.AddressOfCallBacks);
    for (; *callbacks != nullptr; ++callbacks)
        (*callbacks)(module, DLL_THREAD_DETACH, nullptr);
    __gnu_cxx::__freeres();
}

} // namespace

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID *object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return classId == __uuidof(::clsMPU) ? kx3::com::classFactory(id, object) : CLASS_E_CLASSNOTAVAILABLE;
}

/// What a thread has attached outlives its objects, and the library with it.
STDAPI DllCanUnloadNow() { return kx3::com::moduleInUse() || kx3::com::HostThread::anyLeft() ? S_FALSE : S_OK; }

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

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    switch (reason) {
    case DLL_PROCESS_ATTACH: return kx3::com::HostThread::startUp() ? TRUE : FALSE;
    case DLL_THREAD_DETACH: kx3::com::HostThread::endCurrent(); break;
    case DLL_PROCESS_DETACH:
        // The system takes everything back from a process that ends.
        if (processEnds != nullptr) break;
        kx3::com::HostThread::shutDown();
        releaseRunTime(module);
        break;
    default: break;
    }
    return TRUE;
}
