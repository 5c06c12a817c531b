// Whole operations through COM, with the simulated programmer's class as session host.

#include "rig/apartment.h"
#include "rig/folder.h"
#include "windows/host.h"
#include "windows/message_loop_watch.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

constexpr Byte automatic = 0, readOperation = 2, program = 3, blankCheck = 4, verify = 5, erase = 8, programFuses = 9;
constexpr Byte maker = 0x1E, deviceCode = 0x95;

/// Both classes are registered; the plug-in works on the blocks and files of host instance 1 with a device.
class ComSession : public ::testing::Test, public Workplace {
  protected:
    ComSession() {
        EXPECT_EQ(plugIn.call("DllRegisterServer"), S_OK);
        EXPECT_EQ(programmerLibrary.call("DllRegisterServer"), S_OK);
    }
    ~ComSession() override {
        EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
        EXPECT_EQ(programmerLibrary.call("DllUnregisterServer"), S_OK);
        EXPECT_EQ(plugIn.call("DllUnregisterServer"), S_OK);
    }
    void start(const Device &device) {
        host.attach(device);
        mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
        programmer = createByName<IDispatch>(L"kx3host.SessionHost");
        ASSERT_TRUE(mpu && programmer);
        EXPECT_EQ(test::attach(*mpu, 1), S_OK);
        (void)callProgrammer(L"Insert", {value(VT_I4, maker), value(VT_I4, deviceCode)});
        (void)callProgrammer(L"Open", {value(VT_I4, 1), VARIANT{}, VARIANT{}});
    }
    /// A call that only the host itself makes: it returns a truth value or nothing.
    bool callProgrammer(const wchar_t *name, std::vector<VARIANT> arguments = {}) {
        auto *asked = const_cast<OLECHAR *>(name);
        DISPID identifier = DISPID_UNKNOWN;
        EXPECT_EQ(programmer->GetIDsOfNames(IID_NULL, &asked, 1, 0, &identifier), S_OK);
        std::ranges::reverse(arguments);
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        VARIANT result{};
        EXPECT_EQ(programmer->Invoke(identifier, IID_NULL, 0, DISPATCH_METHOD, &parameters, &result, nullptr, nullptr),
                  S_OK);
        return V_BOOL(&result) == VARIANT_TRUE;
    }
    HRESULT run(Byte operation) {
        blocks.prgresult(0) = 0;
        blocks.prgresult(1) = operation;
        storeText(blocks.MainRtstr, 0, {});
        VARIANT_BOOL usbenable = VARIANT_TRUE;
        return mpu->runMpu6Prg(&usbenable);
    }
    /// The end of an operation that `run` has carried out.
    bool passes(Byte operation) {
        EXPECT_EQ(run(operation), S_OK);
        return callProgrammer(L"Passed");
    }

    const ComThread com;
    const Library plugIn;
    const Library programmerLibrary{L"kx3host.dll"};
    TestApartment host; ///< only its view of the blocks is used
    sharemap &blocks = host.host;
    com::ComPtr<IDispatch> programmer;
    com::ComPtr<::_clsMPU> mpu;
};

TEST_F(ComSession, ImageIsProgrammedVerifiedAndRead) {
    constexpr Long deviceBytes = 0x40000;
    start({.addresses = deviceBytes, .block = 0xC000});
    const Bytes image = host.buffer(deviceBytes);
    EXPECT_TRUE(passes(program));
    EXPECT_TRUE(passes(verify)) << host.log();
    EXPECT_TRUE(host.log().ends_with("Sec\n")) << host.log();
    blocks.ibuffer(0x1234) ^= 0x10;
    EXPECT_FALSE(passes(verify));
    EXPECT_EQ(blocks.prgresult(0), 1);
    std::ranges::fill(host.data(), Byte{0});
    EXPECT_TRUE(passes(readOperation));
    EXPECT_TRUE(host.buffer(deviceBytes) == image);
    (void)callProgrammer(L"Close");
}

TEST_F(ComSession, WindowAnnouncesItsSequenceToTheHost) {
    const Bytes sequence{erase, blankCheck, program, verify, programFuses};
    start({.width = 2, .addresses = 0x4000, .model = 50, .selection = 0});
    blocks.prgmode(0) = 55;
    blocks.bvcc(0) = 500;
    blocks.bgndpin(0) = 8;
    blocks.chipidtestmode(0).bits = -1;
    blocks.compid(0) = maker;
    blocks.typeid_(0) = deviceCode;
    blocks.wautonum(0) = static_cast<Byte>(sequence.size());
    std::ranges::copy(sequence, blocks.autoprg.range(0, static_cast<Long>(sequence.size())).begin());
    Bytes announced;
    // A host sees what the window announces while the window lets messages through.
    const MessageLoopWatch watch([&] {
        constexpr Byte waiting = 1, finished = 100;
        if (blocks.prgmode(1) != waiting) return;
        blocks.prgmode(1) = finished;
        const Byte asked = blocks.prgresult(1);
        announced.push_back(asked == automatic ? sequence.at(announced.size()) : asked);
        (void)callProgrammer(L"CarryOut", {value(VT_I4, announced.back())});
    });
    const Bytes image = host.buffer(0x8000 + 8);
    EXPECT_TRUE(passes(automatic)) << host.log();
    EXPECT_EQ(announced, sequence);
    std::ranges::fill(host.data(), Byte{0});
    EXPECT_TRUE(passes(readOperation));
    EXPECT_TRUE(host.buffer(0x8000 + 8) == image);
    (void)callProgrammer(L"Close");
}

TEST_F(ComSession, MissingSessionHostIsNamed) {
    start({.model = 45, .selection = 0}); // the session window, whose errors reach the host
    programmerLibrary.call("DllUnregisterServer");
    EXPECT_EQ(run(program), static_cast<HRESULT>(0x800A01AD));
    EXPECT_EQ(takeErrorText(), L"Component can't create object: kx3host.SessionHost");
}

TEST_F(ComSession, LibraryBesideThePlugInWithoutTheFunctionsEndsAnArmSessionInOrder) {
    const std::filesystem::path built = std::filesystem::path(plugIn.path()).parent_path();
    const std::filesystem::path copy = built / "kx3lacking" / "kx3copy.dll";
    std::filesystem::create_directory(copy.parent_path());
    ASSERT_TRUE(::CopyFileW((built / "kx3mpu6.dll").c_str(), copy.c_str(), FALSE));
    ASSERT_TRUE(::CopyFileW((built / "kx3testlib.dll").c_str(), (copy.parent_path() / "kx6io.dll").c_str(), FALSE));
    EXPECT_EQ(Library(copy.c_str()).call("DllRegisterServer"), S_OK);
    start({});
    EXPECT_FALSE(passes(automatic));
    EXPECT_EQ(blocks.prgmode(1), 0);
    EXPECT_TRUE(host.log().ends_with("Sec\n")) << host.log();
    (void)callProgrammer(L"Close");
}

} // namespace
} // namespace kx3::test
