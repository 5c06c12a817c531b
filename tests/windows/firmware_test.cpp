// Whole operations through COM: both registered classes, the simulated programmer, a real firmware.

#include "windows/host.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <oleauto.h>

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

constexpr SHORT instance = 41;
constexpr std::size_t deviceBytes = 0x40000;

using Image = std::vector<Byte>;

/// The data of an Intel HEX file that lie inside the device; erased flash elsewhere.
Image imageOf(std::istream &file) {
    Image image(deviceBytes, 0xFF);
    std::size_t base = 0;
    for (std::string line; std::getline(file, line) && line[0] == ':';) {
        const auto number = [&](std::size_t digit, std::size_t count) {
            return static_cast<std::size_t>(std::stoul(line.substr(digit, count), nullptr, 16));
        };
        constexpr std::size_t data = 9;
        const std::size_t type = number(7, 2);
        if (type == 2) base = number(data, 4) << 4;
        if (type == 4) base = number(data, 4) << 16;
        if (type != 0) continue;
        for (std::size_t i = 0; i < number(1, 2); ++i)
            if (const std::size_t at = base + number(3, 4) + i; at < deviceBytes)
                image[at] = static_cast<Byte>(number(data + 2 * i, 2));
    }
    return image;
}

/// A registered class of a library beside this program, as long as it lives.
class Registered {
  public:
    explicit Registered(const wchar_t *file) : module_(::LoadLibraryW(file)) {
        EXPECT_EQ(call("DllRegisterServer"), S_OK);
    }
    ~Registered() { EXPECT_EQ(call("DllUnregisterServer"), S_OK); }
    Registered(const Registered &) = delete;
    Registered &operator=(const Registered &) = delete;

  private:
    HRESULT call(const char *name) const {
        auto *function =
            reinterpret_cast<HRESULT WINAPI (*)()>(reinterpret_cast<void *>(::GetProcAddress(module_.get(), name)));
        return function == nullptr ? E_FAIL : function();
    }
    platform::UniqueModule module_;
};

template <class Interface> ComPtr<Interface> createByName(const wchar_t *progId) {
    CLSID classId{};
    ComPtr<Interface> made;
    if (SUCCEEDED(::CLSIDFromProgID(progId, &classId)))
        ::CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), receive(made));
    return made;
}

/// The host's side of an ARM device of model type 80: it creates the blocks that it uses with the
/// system's calls and leaves the others to the plug-in.
class Host {
  public:
    Host() {
        at<Integer>("modeltype") = 80;
        at<Byte>("selmode") = 0x40;
        at<Byte>("figvol", 1) = 1;
        at<Byte>("wsign", 1) = 1;
        at<Byte>("wordmode") = 1;
        at<Long>("ramlg") = 0xC000;
        at<Long>("tlength") = deviceBytes;
        at<Long>("buflength") = deviceBytes;
        setText("algorithm", 0, L"clock");
        setText("algorithm", 1, L"family");
        setText("algorithm", 2, L"part");
        for (std::size_t i = 0; i < 13; ++i)
            setText("prgnote", i, L"note ");
        for (std::size_t i = 0; i < 20; ++i)
            setText("MainmnuPrg", i, L"operation ");
        std::filesystem::create_directories("algo4/family");
        std::ofstream("algo4/family/part.alg", std::ios::binary) << "an algorithm";
    }
    ~Host() {
        for (const char *root : {"algorithm", "prgnote", "MainmnuPrg", "MainRtstr"})
            for (std::size_t i = 0; i < 30; ++i)
                ::SysFreeString(at<BSTR>(root, i));
        std::filesystem::remove_all("algo4");
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    template <class T> T &at(const std::string &root, std::size_t index = 0) {
        auto &block = blocks_[root];
        if (!block) block = std::make_unique<HostBlock>("tamsel" + root + std::to_string(instance), 400);
        return block->template at<T>(index);
    }
    void setText(const std::string &root, std::size_t index, const wchar_t *text) {
        ::SysFreeString(std::exchange(at<BSTR>(root, index), ::SysAllocString(text)));
    }
    Byte *buffer() { return &buffer_.at<Byte>(0); }

    HRESULT run(::_clsMPU &mpu, Byte operation) {
        at<Byte>("prgresult", 0) = 0;
        at<Byte>("prgresult", 1) = operation;
        setText("MainRtstr", 0, L"");
        VARIANT_BOOL usbenable = VARIANT_TRUE;
        const HRESULT status = mpu.runMpu6Prg(&usbenable);
        EXPECT_EQ(usbenable, VARIANT_TRUE);
        return status;
    }
    std::wstring log() { return at<BSTR>("MainRtstr") == nullptr ? L"" : at<BSTR>("MainRtstr"); }

  private:
    std::map<std::string, std::unique_ptr<HostBlock>> blocks_;
    HostBlock buffer_{"tamselibuffer", deviceBytes + 2200};
};

/// Call an operation of the session host that only the host itself uses.
com::OwnedVariant &callHost(IDispatch &host, const wchar_t *name, std::vector<VARIANT> arguments,
                            com::OwnedVariant &result) {
    auto *asked = const_cast<OLECHAR *>(name);
    DISPID identifier = DISPID_UNKNOWN;
    EXPECT_EQ(host.GetIDsOfNames(IID_NULL, &asked, 1, 0, &identifier), S_OK);
    std::reverse(arguments.begin(), arguments.end());
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    EXPECT_EQ(host.Invoke(identifier, IID_NULL, 0, DISPATCH_METHOD, &parameters, result.get(), nullptr, nullptr), S_OK);
    return result;
}

void openProgrammer(IDispatch &host) {
    VARIANT number{};
    V_VT(&number) = VT_I2;
    V_I2(&number) = instance;
    VARIANT none{};
    V_VT(&none) = VT_BSTR; // a null text is an empty one
    com::OwnedVariant ignored;
    callHost(host, L"Open", {number, none, none}, ignored);
}

bool passed(IDispatch &host) {
    com::OwnedVariant result;
    callHost(host, L"Passed", {}, result);
    return V_BOOL(result.get()) == VARIANT_TRUE;
}

TEST(Firmware, IsProgrammedVerifiedAndReadThroughCom) {
    std::ifstream file(KX3_FIRMWARE);
    if (!file) GTEST_SKIP() << KX3_FIRMWARE << " is not installed";
    const Image image = imageOf(file);

    const Registered plugin(L"kx3mpu6.dll");
    const Registered sessionHost(L"kx3host.dll");
    const ComThread com;
    Host host;
    const auto mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
    ASSERT_TRUE(mpu);
    SHORT number = instance;
    ASSERT_EQ(mpu->bufcommpu6(&number), S_OK);
    const auto programmer = createByName<IDispatch>(L"kx3host.SessionHost");
    ASSERT_TRUE(programmer);
    openProgrammer(*programmer);

    constexpr Byte readOperation = 2, program = 3, verify = 5;
    std::copy(image.begin(), image.end(), host.buffer());
    ASSERT_EQ(host.run(*mpu, program), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 0);
    EXPECT_TRUE(passed(*programmer));

    ASSERT_EQ(host.run(*mpu, verify), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 0);
    EXPECT_TRUE(passed(*programmer));

    constexpr std::size_t place = 0x1234;
    host.buffer()[place] ^= 0x10;
    ASSERT_EQ(host.run(*mpu, verify), S_OK);
    EXPECT_EQ(host.at<Byte>("prgresult"), 1);
    EXPECT_FALSE(passed(*programmer));

    std::fill_n(host.buffer(), deviceBytes, Byte{0});
    ASSERT_EQ(host.run(*mpu, readOperation), S_OK);
    EXPECT_TRUE(passed(*programmer));
    EXPECT_TRUE(std::equal(image.begin(), image.end(), host.buffer()));
    EXPECT_NE(host.log().find(L"Sec"), std::wstring::npos);
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

TEST(Firmware, MissingSessionHostIsNamed) {
    const Registered plugin(L"kx3mpu6.dll");
    const ComThread com;
    Host host;
    const auto mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
    ASSERT_TRUE(mpu);
    SHORT number = instance;
    ASSERT_EQ(mpu->bufcommpu6(&number), S_OK);
    host.at<Integer>("modeltype") = 45;
    host.at<Byte>("selmode") = 0; // the session window, whose errors reach the host
    EXPECT_EQ(host.run(*mpu, 3), static_cast<HRESULT>(0x800A01AD));
    EXPECT_EQ(takeErrorText(), L"Component can't create object: kx3host.SessionHost");
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
