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

std::wstring valueOf(HKEY root, const std::wstring &key, const wchar_t *name) {
    wchar_t text[512] = {};
    DWORD bytes = sizeof text;
    const std::wstring path = L"Software\\Classes\\" + key;
    const LSTATUS error = ::RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return error == ERROR_SUCCESS ? text : L"(none)";
}

class Registration : public ::testing::Test {
  protected:
    /// All entries stand below `root`, or nothing of them does.
    void expectEntries(HKEY root, bool present = true) const {
        const std::wstring classId = registryText(__uuidof(::clsMPU));
        const std::wstring classKey = L"CLSID\\" + classId;
        const std::wstring interfaceKey = L"Interface\\" + registryText(__uuidof(::_clsMPU));
        const std::wstring library = registryText(LIBID_kx3mpu6);
        const std::wstring libraryKey = L"TypeLib\\" + library;
        const struct {
            std::wstring key;
            const wchar_t *name;
            std::wstring value;
        } entries[] = {
            {progId, nullptr, progId},
            {std::wstring(progId) + L"\\CLSID", nullptr, classId},
            {classKey, nullptr, progId},
            {classKey + L"\\ProgID", nullptr, progId},
            {classKey + L"\\InprocServer32", nullptr, plugIn.path()},
            {classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
            {classKey + L"\\Programmable", nullptr, L""},
            {classKey + L"\\TypeLib", nullptr, library},
            {classKey + L"\\VERSION", nullptr, L"1.0"},
            {interfaceKey, nullptr, L"_clsMPU"},
            {interfaceKey + L"\\ProxyStubClsid32", nullptr, L"{00020424-0000-0000-C000-000000000046}"},
            {interfaceKey + L"\\TypeLib", nullptr, library},
            {interfaceKey + L"\\TypeLib", L"Version", L"1.0"},
            {libraryKey + L"\\1.0", nullptr, L"kx3mpu6 device-family plug-in"},
            {libraryKey + L"\\1.0\\0\\win32", nullptr, plugIn.path()},
            {libraryKey + L"\\1.0\\FLAGS", nullptr, L"0"},
        };
        for (const auto &entry : entries)
            EXPECT_EQ(valueOf(root, entry.key, entry.name), present ? entry.value : L"(none)") << entry.key.c_str();
        for (const std::wstring &key : {std::wstring(progId), classKey, interfaceKey, libraryKey}) {
            HKEY opened = nullptr;
            const LSTATUS error = ::RegOpenKeyExW(root, (L"Software\\Classes\\" + key).c_str(), 0, KEY_READ, &opened);
            EXPECT_EQ(error, present ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
            ::RegCloseKey(opened);
        }
    }

    ComThread com;
    Library plugIn;
};

TEST_F(Registration, MachineWideMakesTheClassCreatable) {
    ASSERT_EQ(plugIn.call("DllRegisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(createByName<::_clsMPU>(progId));
    com::ComPtr<ITypeLib> library;
    EXPECT_EQ(::LoadRegTypeLib(LIBID_kx3mpu6, 1, 0, 0, receive(library)), S_OK);
    EXPECT_EQ(plugIn.call("DllRegisterServer"), S_OK) << "twice is once";
    EXPECT_EQ(plugIn.call("DllUnregisterServer"), S_OK);
    expectEntries(HKEY_LOCAL_MACHINE, false);
    EXPECT_EQ(plugIn.call("DllUnregisterServer"), S_OK) << "nothing left to remove";
}

TEST_F(Registration, PerUserLeavesTheMachineAlone) {
    const auto install = [&](BOOL on, const wchar_t *whom) { return plugIn.call("DllInstall", on, whom); };
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
