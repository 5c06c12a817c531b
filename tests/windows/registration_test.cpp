// The library's entries in the registry, and objects made through them.

#include <windows.h>

#include <initguid.h> // makes data of the identifiers that follow
#include <kx3mpu6_idl.h>

#include "com/server.h"
#include "windows/host.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace kx3::test {
namespace {

using com::receive;
using com::registryText;

constexpr wchar_t progId[] = L"kx3mpu6.clsMPU";

class Registration : public ::testing::Test {
  protected:
    /// All entries stand below `root`, or nothing is left of them.
    void expectEntries(HKEY root, bool present = true) const {
        const std::wstring classId = registryText(__uuidof(::clsMPU));
        const std::wstring library = registryText(LIBID_kx3mpu6);
        const std::wstring keys[] = {progId, L"CLSID\\" + classId, L"Interface\\" + registryText(__uuidof(::_clsMPU)),
                                     L"TypeLib\\" + library};
        const auto &[nameKey, classKey, interfaceKey, libraryKey] = keys;
        const std::pair<std::wstring, std::wstring> entries[] = {
            {nameKey + L"\\", progId},
            {nameKey + L"\\CLSID\\", classId},
            {classKey + L"\\", progId},
            {classKey + L"\\ProgID\\", progId},
            {classKey + L"\\InprocServer32\\", plugIn.path()},
            {classKey + L"\\InprocServer32\\ThreadingModel", L"Apartment"},
            {classKey + L"\\Programmable\\", L""},
            {classKey + L"\\TypeLib\\", library},
            {classKey + L"\\VERSION\\", L"1.0"},
            {interfaceKey + L"\\", L"_clsMPU"},
            {interfaceKey + L"\\ProxyStubClsid32\\", L"{00020424-0000-0000-C000-000000000046}"},
            {interfaceKey + L"\\TypeLib\\", library},
            {interfaceKey + L"\\TypeLib\\Version", L"1.0"},
            {libraryKey + L"\\1.0\\", L"kx3mpu6 device-family plug-in"},
            {libraryKey + L"\\1.0\\0\\win32\\", plugIn.path()},
            {libraryKey + L"\\1.0\\FLAGS\\", L"0"},
        };
        for (const auto &[entry, value] : entries)
            EXPECT_EQ(read(root, entry), present ? value : L"(none)") << entry.c_str();
        for (const std::wstring &key : keys) {
            HKEY opened = nullptr;
            const LSTATUS error = ::RegOpenKeyExW(root, (L"Software\\Classes\\" + key).c_str(), 0, KEY_READ, &opened);
            EXPECT_EQ(error, present ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
            ::RegCloseKey(opened);
        }
    }
    /// What the value of a key and its name holds; a key's own value has no name.
    static std::wstring read(HKEY root, const std::wstring &entry) {
        const std::size_t end = entry.rfind(L'\\');
        const std::wstring key = L"Software\\Classes\\" + entry.substr(0, end);
        wchar_t text[512] = {};
        DWORD bytes = sizeof text;
        const LSTATUS error = ::RegGetValueW(root, key.c_str(), &entry[end + 1], RRF_RT_REG_SZ, nullptr, text, &bytes);
        return error == ERROR_SUCCESS ? text : L"(none)";
    }
    HRESULT install(BOOL on, const wchar_t *whom) const { return plugIn.call("DllInstall", on, whom); }

    const ComThread com;
    const Library plugIn;
};

TEST_F(Registration, MachineWideMakesTheClassCreatable) {
    ASSERT_EQ(plugIn.call("DllRegisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(createByName<::_clsMPU>(progId));
    com::ComPtr<ITypeLib> library;
    EXPECT_EQ(::LoadRegTypeLib(LIBID_kx3mpu6, 1, 0, 0, receive(library)), S_OK);
    EXPECT_EQ(install(TRUE, nullptr), S_OK) << "twice is once";
    EXPECT_EQ(plugIn.call("DllUnregisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(install(FALSE, L""), S_OK) << "nothing left to remove";
}

TEST_F(Registration, PerUserLeavesTheMachineAlone) {
    ASSERT_EQ(install(TRUE, L"user"), S_OK);
    expectEntries(HKEY_CURRENT_USER);
    expectEntries(HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(install(FALSE, L"user"), S_OK);
    expectEntries(HKEY_CURRENT_USER, false);
    EXPECT_EQ(install(TRUE, L"everybody"), E_INVALIDARG);
}

TEST_F(Registration, CallFromAnotherApartmentIsCarriedToTheObjectsThread) {
    ASSERT_EQ(plugIn.call("DllRegisterServer"), S_OK);
    com::ComPtr<::_clsMPU> mpu = plugIn.create();
    com::ComPtr<IStream> stream;
    ASSERT_EQ(::CoMarshalInterThreadInterfaceInStream(__uuidof(::_clsMPU), mpu.get(), receive(stream)), S_OK);
    std::atomic<bool> done = false;
    std::jthread other([&, marshalled = stream.release()] {
        const ComThread apartment;
        com::ComPtr<::_clsMPU> proxy;
        EXPECT_EQ(::CoGetInterfaceAndReleaseStream(marshalled, __uuidof(::_clsMPU), receive(proxy)), S_OK);
        EXPECT_NE(proxy.get(), mpu.get());
        EXPECT_TRUE(proxy && attach(*proxy, 21) == S_OK);
        proxy.reset();
        done = true;
    });
    while (!done) {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageW(&message);
        ::Sleep(1);
    }
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
    EXPECT_TRUE(blockExists("tamselalgobuf21"));
    mpu.reset();
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
    EXPECT_EQ(plugIn.call("DllUnregisterServer"), S_OK);
}

TEST_F(Registration, ManifestMakesTheClassCreatableWithoutIt) {
    expectEntries(HKEY_LOCAL_MACHINE, false);
    std::wstring path = plugIn.path();
    path.replace(path.rfind(L".dll"), std::wstring::npos, L".assembly.manifest");
    ACTCTXW description{};
    description.cbSize = sizeof description;
    description.lpSource = path.c_str();
    const HANDLE context = ::CreateActCtxW(&description);
    ULONG_PTR cookie = 0;
    ASSERT_TRUE(::ActivateActCtx(context, &cookie));
    EXPECT_TRUE(createByName<::_clsMPU>(progId));
    ::DeactivateActCtx(0, cookie);
    ::ReleaseActCtx(context);
}

} // namespace
} // namespace kx3::test
