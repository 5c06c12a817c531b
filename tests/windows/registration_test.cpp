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
    /// All keys stand below `root`, with the values that no use of the class would miss, or nothing is left.
    void expectEntries(HKEY root, bool present = true) const {
        const std::wstring classes = L"Software\\Classes\\";
        const std::wstring classKey = classes + L"CLSID\\" + registryText(__uuidof(::clsMPU));
        const std::wstring libraryKey = classes + L"TypeLib\\" + registryText(LIBID_kx3mpu6);
        const std::wstring interfaceKey = classes + L"Interface\\" + registryText(__uuidof(::_clsMPU));
        const struct {
            std::wstring key;
            const wchar_t *name;
            std::wstring value;
        } entries[] = {
            {classes + progId, L"", progId},
            {classKey + L"\\ProgID", L"", progId},
            {classKey + L"\\InprocServer32", L"", plugIn.path()},
            {classKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
            {classKey + L"\\Programmable", L"", L""},
            {classKey + L"\\TypeLib", L"", registryText(LIBID_kx3mpu6)},
            {classKey + L"\\VERSION", L"", L"1.0"},
            {interfaceKey, L"", L"_clsMPU"},
            {interfaceKey + L"\\TypeLib", L"Version", L"1.0"},
            {libraryKey + L"\\1.0", L"", L"kx3mpu6 device-family plug-in"},
            {libraryKey + L"\\1.0\\FLAGS", L"", L"0"},
        };
        for (const auto &[key, name, value] : entries) {
            wchar_t text[512] = {};
            DWORD bytes = sizeof text;
            const LSTATUS error = ::RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes);
            EXPECT_EQ(error, present ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND) << key.c_str();
            EXPECT_EQ(text, present ? value : L"") << key.c_str();
        }
        for (const std::wstring &key : {classes + progId, classKey, interfaceKey, libraryKey}) {
            HKEY opened = nullptr;
            const LSTATUS error = ::RegOpenKeyExW(root, key.c_str(), 0, KEY_READ, &opened);
            EXPECT_EQ(error, present ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND);
            ::RegCloseKey(opened);
        }
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
