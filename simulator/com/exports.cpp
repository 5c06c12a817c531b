// The functions that kx3host.dll exports.

#include "com/error_object.h"
#include "com/server.h"
#include "simulator/com/session_host_object.h"

namespace {

using namespace kx3::com;

constexpr CLSID classId = {0x130e8e4c, 0xd8c8, 0x4a81, {0xb6, 0xc0, 0x85, 0x07, 0x64, 0x07, 0xcc, 0x76}};

ClassFactory factory([](REFIID id, void **object) {
    return kx3sim::SessionHostObject::theOne().QueryInterface(id, object);
});

Registration registration() {
    return classRegistration(classId, L"kx3host.SessionHost", L"Session host on the simulated programmer");
}

} // namespace

STDAPI DllGetClassObject(REFCLSID wanted, REFIID id, LPVOID *object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return wanted == classId ? factory.QueryInterface(id, object) : CLASS_E_CLASSNOTAVAILABLE;
}

/// The one object lives as long as the process.
STDAPI DllCanUnloadNow() { return S_FALSE; }

STDAPI DllRegisterServer() {
    return guarded([] { return registration().write(Scope::machine); });
}

STDAPI DllUnregisterServer() {
    return guarded([] { return registration().remove(Scope::machine); });
}
