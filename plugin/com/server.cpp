#include "com/server.h"

#include "com/error_object.h"

#include <atomic>
#include <iterator>
#include <memory>
#include <objbase.h>
#include <type_traits>

namespace kx3::com {

namespace {

std::atomic<long> references{0};

HMODULE ownModule() {
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&references), &module) == FALSE)
        raise(ErrorNumber::internal);
    return module;
}

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

HRESULT writeEntry(HKEY classes, const RegistryEntry &entry) noexcept {
    const auto bytes = static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t));
    const wchar_t *name = entry.name.empty() ? nullptr : entry.name.c_str();
    return asStatus(::RegSetKeyValueW(classes, entry.key.c_str(), name, REG_SZ, entry.value.c_str(), bytes));
}

} // namespace

ModuleReference::ModuleReference() noexcept { ++references; }
ModuleReference::~ModuleReference() { --references; }

bool moduleInUse() noexcept { return references != 0; }

std::wstring modulePath() {
    constexpr DWORD longestPath = 32768;
    std::wstring path(longestPath, L'\0');
    path.resize(::GetModuleFileNameW(ownModule(), path.data(), longestPath));
    if (path.empty()) raise(ErrorNumber::internal);
    return path;
}

HRESULT ClassFactory::QueryInterface(REFIID id, void **object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (id != IID_IUnknown && id != IID_IClassFactory) return E_NOINTERFACE;
    *object = static_cast<IClassFactory *>(this);
    AddRef();
    return S_OK;
}

ULONG ClassFactory::AddRef() {
    ++references;
    return 2;
}

ULONG ClassFactory::Release() {
    --references;
    return 1;
}

HRESULT ClassFactory::CreateInstance(IUnknown *outer, REFIID id, void **object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return guarded([&] { return create_(id, object); });
}

HRESULT ClassFactory::LockServer(BOOL lock) {
    references += lock != FALSE ? 1 : -1;
    return S_OK;
}

HRESULT Registration::write(Scope scope) const noexcept {
    UniqueKey classes;
    HRESULT status = openClasses(scope, classes);
    if (FAILED(status)) return status;
    for (const RegistryEntry &entry : entries) {
        status = writeEntry(classes.get(), entry);
        if (FAILED(status)) {
            (void)remove(scope);
            return status;
        }
    }
    return S_OK;
}

HRESULT Registration::remove(Scope scope) const noexcept {
    UniqueKey classes;
    const HRESULT status = openClasses(scope, classes);
    if (FAILED(status)) return status;
    for (const std::wstring &key : keys) {
        const LSTATUS error = ::RegDeleteTreeW(classes.get(), key.c_str());
        if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) return asStatus(error);
    }
    return S_OK;
}

Registration classRegistration(const CLSID &classId, const wchar_t *progId, const wchar_t *description) {
    const std::wstring identifier = registryText(classId);
    const std::wstring key = L"CLSID\\" + identifier;
    return {{{progId, L"", description},
             {std::wstring(progId) + L"\\CLSID", L"", identifier},
             {key, L"", progId},
             {key + L"\\InprocServer32", L"", modulePath()},
             {key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
             {key + L"\\ProgID", L"", progId}},
            {progId, key}};
}

std::wstring registryText(const GUID &identifier) {
    wchar_t text[39];
    ::StringFromGUID2(identifier, text, static_cast<int>(std::size(text)));
    return text;
}

} // namespace kx3::com
