// The functions that kx3host.dll exports, and its class factory.

#include "com/error_object.h"
#include "com/module.h"
#include "com/registry.h"
#include "simulator/com/session_host_object.h"

#include <string>
#include <vector>

namespace {

using kx3::com::RegistryEntry;
using kx3::com::Scope;

constexpr CLSID classId = {0x130e8e4c, 0xd8c8, 0x4a81, {0xb6, 0xc0, 0x85, 0x07, 0x64, 0x07, 0xcc, 0x76}};
constexpr wchar_t progId[] = L"kx3host.SessionHost";

class ClassFactory final : public IClassFactory {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override {
        if (object == nullptr) return E_POINTER;
        *object = id == IID_IUnknown || id == IID_IClassFactory ? this : nullptr;
        return *object == nullptr ? E_NOINTERFACE : S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID id, void **object) override {
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        return kx3::com::guarded([&] { return kx3sim::SessionHostObject::theOne().QueryInterface(id, object); });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

ClassFactory theFactory;

std::wstring classKey() { return L"CLSID\\" + kx3::com::registryText(classId); }

std::vector<std::wstring> keys() { return {progId, classKey()}; }

std::vector<RegistryEntry> entries() {
    return {{progId, L"", L"Session host on the simulated programmer"},
            {std::wstring(progId) + L"\\CLSID", L"", kx3::com::registryText(classId)},
            {classKey(), L"", progId},
            {classKey() + L"\\InprocServer32", L"", kx3::com::modulePath()},
            {classKey() + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
            {classKey() + L"\\ProgID", L"", progId}};
}

} // namespace

STDAPI DllGetClassObject(REFCLSID wanted, REFIID id, LPVOID *object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return wanted == classId ? theFactory.QueryInterface(id, object) : CLASS_E_CLASSNOTAVAILABLE;
}

/// The one object lives as long as the process.
STDAPI DllCanUnloadNow() { return S_FALSE; }

STDAPI DllRegisterServer() {
    return kx3::com::guarded([] { return kx3::com::writeEntries(Scope::machine, entries(), keys()); });
}

STDAPI DllUnregisterServer() {
    return kx3::com::guarded([] { return kx3::com::removeKeys(Scope::machine, keys()); });
}
