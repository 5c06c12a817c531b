// A host of the plug-in, as small as tests need it.
#pragma once

#include "com/com_ptr.h"
#include "platform/win32/unique_handle.h"

#include <kx3mpu6_idl.h>
#include <string>

namespace kx3::test {

inline constexpr auto overflowStatus = static_cast<HRESULT>(0x800A0006);
inline constexpr auto subscriptStatus = static_cast<HRESULT>(0x800A0009);

/// COM on the calling thread, as long as the object lives.
class ComThread {
  public:
    ComThread() { ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~ComThread() { ::CoUninitialize(); }
    ComThread(const ComThread &) = delete;
    ComThread &operator=(const ComThread &) = delete;
};

[[nodiscard]] inline VARIANT value(VARTYPE type, LONG number) {
    VARIANT made{};
    V_VT(&made) = type;
    V_I4(&made) = number;
    return made;
}

/// An object of a registered class; null when there is none of that name.
template <class Interface> com::ComPtr<Interface> createByName(const wchar_t *progId) {
    CLSID classId{};
    ::CLSIDFromProgID(progId, &classId);
    com::ComPtr<Interface> made;
    ::CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), com::receive(made));
    return made;
}

/// A library of the build, loaded by hand: the plug-in, when no other is named.
class Library {
  public:
    explicit Library(const wchar_t *file = L"kx3mpu6.dll") : module_(::LoadLibraryW(file)) {}

    /// Call one of its functions.
    template <class... Values> HRESULT call(const char *name, Values... values) const {
        auto *function = reinterpret_cast<HRESULT WINAPI (*)(Values...)>(
            reinterpret_cast<void *>(::GetProcAddress(module_.get(), name)));
        return function == nullptr ? E_FAIL : function(values...);
    }
    [[nodiscard]] HRESULT getClassObject(const CLSID &classId, const IID &id, void **object) const {
        return call("DllGetClassObject", &classId, &id, object);
    }
    [[nodiscard]] com::ComPtr<IClassFactory> factory() const {
        com::ComPtr<IClassFactory> made;
        (void)getClassObject(__uuidof(::clsMPU), IID_IClassFactory, com::receive(made));
        return made;
    }
    [[nodiscard]] com::ComPtr<::_clsMPU> create() const {
        com::ComPtr<::_clsMPU> made;
        factory()->CreateInstance(nullptr, __uuidof(::_clsMPU), com::receive(made));
        return made;
    }
    [[nodiscard]] bool canUnload() const { return call("DllCanUnloadNow") == S_OK; }
    [[nodiscard]] std::wstring path() const {
        std::wstring path(MAX_PATH, L'\0');
        path.resize(::GetModuleFileNameW(module_.get(), path.data(), MAX_PATH));
        return path;
    }

  private:
    platform::UniqueModule module_;
};

inline HRESULT attach(::_clsMPU &mpu, SHORT instance) { return mpu.bufcommpu6(&instance); }

/// One block that the host has created with the system's own call.
class HostBlock {
  public:
    HostBlock(const std::string &name, DWORD bytes)
        : handle_(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, bytes, name.c_str())),
          view_(::MapViewOfFile(handle_.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0)) {}
    ~HostBlock() { ::UnmapViewOfFile(view_); }
    HostBlock(const HostBlock &) = delete;
    HostBlock &operator=(const HostBlock &) = delete;

    template <class T> [[nodiscard]] T &at(std::size_t index) const { return static_cast<T *>(view_)[index]; }

  private:
    platform::UniqueHandle handle_;
    void *view_;
};

[[nodiscard]] inline bool blockExists(const char *name) {
    return platform::UniqueHandle(::OpenFileMappingA(FILE_MAP_READ, FALSE, name)) != nullptr;
}

/// Description of the thread's current error object, which is taken; empty when there is none.
[[nodiscard]] inline std::wstring takeErrorText() {
    com::ComPtr<IErrorInfo> info;
    com::Bstr text;
    if (::GetErrorInfo(0, com::receive(info)) == S_OK) info->GetDescription(com::receive(text));
    return text ? text.get() : L"";
}

} // namespace kx3::test
