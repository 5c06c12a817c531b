// A host of the plug-in, as small as tests need it.
#pragma once

#include "base/types.h"
#include "com/com_ptr.h"
#include "platform/win32/unique_handle.h"

#include <array>
#include <atomic>
#include <functional>
#include <kx3mpu6_idl.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kx3::test {

/// COM on the calling thread, as long as the object lives.
class ComThread {
  public:
    ComThread() { ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~ComThread() { ::CoUninitialize(); }
    ComThread(const ComThread &) = delete;
    ComThread &operator=(const ComThread &) = delete;
};

/// The identifier of a registered class; GUID_NULL when there is none.
inline CLSID classIdOf(const wchar_t *progId) {
    CLSID classId{};
    ::CLSIDFromProgID(progId, &classId);
    return classId;
}

template <class Interface> com::ComPtr<Interface> createByName(const wchar_t *progId) {
    com::ComPtr<Interface> made;
    ::CoCreateInstance(classIdOf(progId), nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), com::receive(made));
    return made;
}

/// The plug-in's file, loaded by hand.
class LoadedPlugin {
  public:
    LoadedPlugin() : module_(::LoadLibraryW(L"kx3mpu6.dll")) {}

    template <class Function> [[nodiscard]] Function *function(const char *name) const {
        return reinterpret_cast<Function *>(reinterpret_cast<void *>(::GetProcAddress(module_.get(), name)));
    }
    [[nodiscard]] HRESULT getClassObject(REFCLSID classId, REFIID id, void **object) const {
        return function<HRESULT WINAPI(REFCLSID, REFIID, void **)>("DllGetClassObject")(classId, id, object);
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
    [[nodiscard]] bool canUnload() const { return function<HRESULT WINAPI()>("DllCanUnloadNow")() == S_OK; }
    [[nodiscard]] HMODULE get() const { return module_.get(); }

  private:
    platform::UniqueModule module_;
};

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

/// Presses `buttons` in turn, then OK, on the message boxes of the process and keeps their texts, as
/// long as it lives.
class BoxPresser {
  public:
    explicit BoxPresser(std::vector<int> buttons = {})
        : buttons_(std::move(buttons)), thread_([this](const std::stop_token &stop) { watch(stop); }) {}
    ~BoxPresser() {
        thread_.request_stop();
        thread_.join();
    }
    BoxPresser(const BoxPresser &) = delete;
    BoxPresser &operator=(const BoxPresser &) = delete;

    /// Texts of the boxes so far; call when no box can be open.
    [[nodiscard]] const std::vector<std::wstring> &texts() const { return texts_; }

  private:
    static constexpr int textControl = 0xFFFF;

    void watch(const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            if (const HWND box = ::FindWindowW(L"#32770", nullptr); box != nullptr && box != last_) press(box);
            ::Sleep(1);
        }
    }
    void press(HWND box) {
        std::array<wchar_t, 512> text{};
        if (::GetDlgItemTextW(box, textControl, text.data(), static_cast<int>(text.size())) == 0) return;
        const int button = texts_.size() < buttons_.size() ? buttons_[texts_.size()] : IDOK;
        texts_.emplace_back(text.data());
        last_ = box;
        ::PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    }

    std::vector<int> buttons_;
    std::vector<std::wstring> texts_;
    HWND last_ = nullptr;
    std::jthread thread_;
};

} // namespace kx3::test
