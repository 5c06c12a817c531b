// The library's entries in the registry, and objects made through them.

#include <windows.h>

#include <initguid.h>
#include <kx3mpu6_idl.h>

#include "windows/host.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

using com::receive;

constexpr wchar_t progId[] = L"kx3mpu6.clsMPU";

constexpr wchar_t classes[] = L"Software\\Classes\\";

std::wstring valueOf(HKEY root, const std::wstring &key, const wchar_t *name) {
    wchar_t text[512] = {};
    DWORD bytes = sizeof text;
    const LSTATUS error = ::RegGetValueW(root, (classes + key).c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return error == ERROR_SUCCESS ? text : L"(none)";
}

bool exists(HKEY root, const std::wstring &key) {
    HKEY opened = nullptr;
    const LSTATUS error = ::RegOpenKeyExW(root, (classes + key).c_str(), 0, KEY_READ, &opened);
    if (error == ERROR_SUCCESS) ::RegCloseKey(opened);
    return error != ERROR_FILE_NOT_FOUND;
}

class Registration : public ::testing::Test {
  protected:
    HRESULT call(const char *function) const { return plugin.function<HRESULT WINAPI()>(function)(); }
    HRESULT install(BOOL on, const wchar_t *whom) const {
        return plugin.function<HRESULT WINAPI(BOOL, LPCWSTR)>("DllInstall")(on, whom);
    }
    static std::wstring text(const GUID &identifier) {
        wchar_t buffer[39];
        ::StringFromGUID2(identifier, buffer, 39);
        return buffer;
    }
    /// All entries, or none.
    void expectEntries(HKEY root, bool present = true) const {
        wchar_t path[MAX_PATH];
        ::GetModuleFileNameW(plugin.get(), path, MAX_PATH);
        const std::wstring classId = text(__uuidof(::clsMPU));
        const std::wstring classKey = L"CLSID\\" + classId;
        const std::wstring interfaceKey = L"Interface\\" + text(__uuidof(::_clsMPU));
        const std::wstring library = text(LIBID_kx3mpu6);
        const struct {
            std::wstring key;
            const wchar_t *name;
            std::wstring value;
        } entries[] = {
            {std::wstring(progId) + L"\\CLSID", nullptr, classId},
            {classKey + L"\\ProgID", nullptr, progId},
            {classKey + L"\\InprocServer32", nullptr, path},
            {classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
            {classKey + L"\\TypeLib", nullptr, library},
            {interfaceKey, nullptr, L"_clsMPU"},
            {interfaceKey + L"\\TypeLib", nullptr, library},
            {L"TypeLib\\" + library + L"\\1.0\\0\\win32", nullptr, path},
        };
        for (const auto &entry : entries)
            EXPECT_EQ(valueOf(root, entry.key, entry.name), present ? entry.value : L"(none)");
        for (const std::wstring &key : {std::wstring(progId), classKey, interfaceKey, L"TypeLib\\" + library})
            EXPECT_EQ(exists(root, key), present);
    }

    ComThread com;
    LoadedPlugin plugin;
};

TEST_F(Registration, MachineWideMakesTheClassCreatable) {
    ASSERT_EQ(call("DllRegisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE);
    {
        const auto mpu = createByName<::_clsMPU>(progId);
        SHORT instance = 21;
        ASSERT_TRUE(mpu && mpu->bufcommpu6(&instance) == S_OK);
        EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
        com::ComPtr<ITypeLib> library;
        EXPECT_EQ(::LoadRegTypeLib(LIBID_kx3mpu6, 1, 0, 0, receive(library)), S_OK);
    }
    EXPECT_EQ(call("DllRegisterServer"), S_OK) << "twice is once";
    EXPECT_EQ(call("DllUnregisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(call("DllUnregisterServer"), S_OK) << "nothing left to remove";
}

TEST_F(Registration, PerUserLeavesTheMachineAlone) {
    ASSERT_EQ(install(TRUE, L"user"), S_OK);
    expectEntries(HKEY_CURRENT_USER);
    expectEntries(HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(install(FALSE, L"user"), S_OK);
    expectEntries(HKEY_CURRENT_USER, false);
    EXPECT_EQ(install(TRUE, L"everybody"), E_INVALIDARG);
    EXPECT_EQ(install(TRUE, nullptr), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(install(FALSE, L""), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE, false);
}

TEST_F(Registration, CallFromAnotherApartmentIsCarriedToTheObjectsThread) {
    ASSERT_EQ(call("DllRegisterServer"), S_OK);
    com::ComPtr<::_clsMPU> mpu = plugin.create();
    com::ComPtr<IStream> stream;
    ASSERT_EQ(::CoMarshalInterThreadInterfaceInStream(__uuidof(::_clsMPU), mpu.get(), receive(stream)), S_OK);
    std::atomic<bool> done = false;
    std::jthread other([&, marshalled = stream.release()] {
        const ComThread apartment;
        com::ComPtr<::_clsMPU> proxy;
        EXPECT_EQ(::CoGetInterfaceAndReleaseStream(marshalled, __uuidof(::_clsMPU), receive(proxy)), S_OK);
        EXPECT_NE(proxy.get(), mpu.get());
        SHORT instance = 21;
        EXPECT_TRUE(proxy && proxy->bufcommpu6(&instance) == S_OK && proxy->freesharebuffermpu6() == S_OK);
        proxy.reset();
        done = true;
    });
    while (!done) {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageW(&message);
        ::Sleep(1);
    }
    other.join();
    EXPECT_TRUE(blockExists("tamselalgobuf21"));
    mpu.reset();
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
    EXPECT_EQ(call("DllUnregisterServer"), S_OK);
}

TEST_F(Registration, ManifestMakesTheClassCreatableWithoutIt) {
    expectEntries(HKEY_LOCAL_MACHINE, false);
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetModuleFileNameW(plugin.get(), path.data(), MAX_PATH));
    path.replace(path.rfind(L".dll"), std::wstring::npos, L".assembly.manifest");
    ACTCTXW description{};
    description.cbSize = sizeof description;
    description.lpSource = path.c_str();
    const HANDLE context = ::CreateActCtxW(&description);
    ASSERT_NE(context, INVALID_HANDLE_VALUE);
    ULONG_PTR cookie = 0;
    ASSERT_TRUE(::ActivateActCtx(context, &cookie));
    EXPECT_TRUE(createByName<::_clsMPU>(progId));
    ::DeactivateActCtx(0, cookie);
    ::ReleaseActCtx(context);
}

} // namespace
} // namespace kx3::test
