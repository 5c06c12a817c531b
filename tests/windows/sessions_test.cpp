// Whole operations through COM, with the simulated programmer's class as session host.

#include "windows/suite.h"

#include <utility>

namespace kx3::test {
namespace {

constexpr Byte automatic = 0, readOperation = 2, program = 3, blankCheck = 4, verify = 5, erase = 8, programFuses = 9;

/// The data of an Intel HEX file that lie inside a device of `bytes` bytes; erased flash elsewhere.
Bytes imageOf(std::istream &file, std::size_t bytes) {
    Bytes image(bytes, 0xFF);
    std::size_t base = 0;
    for (std::string line; std::getline(file, line) && line[0] == ':';) {
        const auto number = [&](std::size_t digit, std::size_t count) {
            return static_cast<std::size_t>(std::stoul(line.substr(digit, count), nullptr, 16));
        };
        const std::size_t type = number(7, 2);
        if (type == 4) base = number(9, 4) << 16;
        for (std::size_t i = 0; type == 0 && i < number(1, 2); ++i)
            if (base + number(3, 4) + i < bytes)
                image[base + number(3, 4) + i] = static_cast<Byte>(number(9 + 2 * i, 2));
    }
    return image;
}

TEST(ComSession, FirmwareIsProgrammedVerifiedAndRead) {
    constexpr Long deviceBytes = 0x40000;
    std::ifstream file(KX3_FIRMWARE);
    if (!file) GTEST_SKIP() << KX3_FIRMWARE << " is not installed";
    const Bytes image = imageOf(file, deviceBytes);
    Suite suite({.addresses = deviceBytes, .block = 0xC000});
    suite.programmer.open();
    const auto run = [&](Byte operation) {
        EXPECT_EQ(suite.run(operation), S_OK);
        EXPECT_NE(suite.host.log().find("Sec\n"), std::string::npos);
        return suite.programmer.passed();
    };
    std::ranges::copy(image, suite.host.data().begin());
    EXPECT_TRUE(run(program));
    EXPECT_TRUE(run(verify));
    suite.blocks.ibuffer(0x1234) ^= 0x10;
    EXPECT_FALSE(run(verify));
    EXPECT_EQ(suite.blocks.prgresult(0), 1);
    std::ranges::fill(suite.host.data(), Byte{0});
    EXPECT_TRUE(run(readOperation));
    EXPECT_TRUE(suite.host.buffer(deviceBytes) == image);
    suite.programmer.close();
}

/// Carries out what the session window announces, from the message loop that runs in its yields: a message
/// that comes back looks at the state cell, until `most` operations are done.
class AnnouncementWatch {
  public:
    AnnouncementWatch(Suite &suite, std::size_t most) : suite_(suite), most_(most) {
        window_ = ::CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        ::SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&receive));
        (void)taken();
    }
    ~AnnouncementWatch() { ::DestroyWindow(window_); }
    AnnouncementWatch(const AnnouncementWatch &) = delete;
    AnnouncementWatch &operator=(const AnnouncementWatch &) = delete;

    /// Operations carried out since the last call; looks for more from now on.
    Bytes taken() {
        ::PostMessageW(window_, look, 0, 0);
        return std::exchange(taken_, {});
    }

  private:
    static constexpr UINT look = WM_APP;

    static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM word, LPARAM number) {
        if (message != look) return ::DefWindowProcW(window, message, word, number);
        auto &watch = *reinterpret_cast<AnnouncementWatch *>(::GetWindowLongPtrW(window, GWLP_USERDATA));
        constexpr Byte announced = 1, finished = 100;
        if (Byte &state = watch.suite_.blocks.prgmode(1); state == announced) {
            state = finished;
            watch.taken_.push_back(watch.suite_.blocks.prgresult(1) != automatic
                                       ? watch.suite_.blocks.prgresult(1)
                                       : watch.suite_.blocks.autoprg(static_cast<Long>(watch.taken_.size())));
            watch.suite_.programmer.carryOut(watch.taken_.back());
        }
        if (watch.taken_.size() < watch.most_) ::PostMessageW(window, look, 0, 0);
        return 0;
    }

    Suite &suite_;
    std::size_t most_;
    HWND window_ = nullptr;
    Bytes taken_;
};

TEST(ComSession, WindowAnnouncesItsSequenceToTheHost) {
    const Bytes sequence{erase, blankCheck, program, verify, programFuses};
    Suite suite({.width = 2, .addresses = 0x4000, .model = 50, .selection = 0});
    suite.blocks.prgmode(0) = 55;
    suite.blocks.bvcc(0) = 500;
    suite.blocks.bgndpin(0) = 8;
    suite.blocks.chipidtestmode(0).bits = -1;
    suite.blocks.compid(0) = 0x1E;
    suite.blocks.typeid_(0) = 0x95;
    suite.blocks.wautonum(0) = static_cast<Byte>(sequence.size());
    for (std::size_t i = 0; i < sequence.size(); ++i)
        suite.blocks.autoprg(static_cast<Long>(i)) = sequence[i];
    suite.programmer.insert(0x1E, 0x95);
    suite.programmer.open();
    AnnouncementWatch watch(suite, sequence.size());

    const Bytes image = suite.host.buffer(0x8000 + 8);
    EXPECT_EQ(suite.run(automatic), S_OK);
    EXPECT_TRUE(suite.programmer.passed()) << suite.host.log();
    EXPECT_EQ(watch.taken(), sequence);
    std::ranges::fill(suite.host.data(), Byte{0});
    EXPECT_EQ(suite.run(readOperation), S_OK);
    EXPECT_TRUE(suite.programmer.passed());
    EXPECT_TRUE(suite.host.buffer(0x8000 + 8) == image);
    suite.programmer.close();
}

TEST(ComSession, MissingSessionHostIsNamed) {
    Suite suite({.model = 45, .selection = 0}); // the session window, whose errors reach the host
    Library(L"kx3host.dll").call("DllUnregisterServer");
    EXPECT_EQ(suite.run(program), static_cast<HRESULT>(0x800A01AD));
    EXPECT_EQ(takeErrorText(), L"Component can't create object: kx3host.SessionHost");
}

TEST(ComSession, LibraryBesideThePlugInWithoutTheFunctionsEndsAnArmSessionInOrder) {
    const std::filesystem::path built = std::filesystem::path(Library().path()).parent_path();
    const std::filesystem::path folder = built / "kx3lacking";
    std::filesystem::create_directory(folder);
    ASSERT_TRUE(::CopyFileW((built / "kx3mpu6.dll").c_str(), (folder / "kx3copy.dll").c_str(), FALSE));
    ASSERT_TRUE(::CopyFileW((built / "kx3testlib.dll").c_str(), (folder / "kx6io.dll").c_str(), FALSE));
    Suite suite({}, (folder / "kx3copy.dll").c_str());
    suite.programmer.open();
    EXPECT_EQ(suite.run(automatic), S_OK);
    EXPECT_FALSE(suite.programmer.passed());
    EXPECT_EQ(suite.blocks.prgmode(1), 0);
    EXPECT_TRUE(suite.host.log().ends_with("Sec\n")) << suite.host.log();
    suite.programmer.close();
}

/// How a call of the session host fails.
enum class Way { status, exception, unknownName };

struct Setting {
    Integer model;
    Byte selection;
    Byte operation;
};

class FailingSessionHost : public testing::TestWithParam<Setting> {
  protected:
    FailingSessionHost() {
        host.knows = [this](const std::wstring &) { return way_ != Way::unknownName || !strikes(); };
        host.answer = [this](const std::wstring &name, DISPPARAMS &parameters, VARIANT *result, EXCEPINFO *exception) {
            if (way_ == Way::unknownName || !strikes()) {
                signalledPass = signalledPass || name == L"SignalPass";
                return invokeByName(*suite.programmer.host, name, parameters, result, exception);
            }
            if (way_ == Way::status) return E_FAIL;
            exception->scode = E_UNEXPECTED;
            exception->bstrDescription = ::SysAllocString(L"The cable is unplugged");
            return DISP_E_EXCEPTION;
        };
        suite.programmer.open();
    }
    ~FailingSessionHost() override { suite.programmer.close(); }

    /// Run with call `k` failing (0: none), and with `from` all after it. A new object looks names up again.
    void run(Byte operation, Way way, int k, bool from) {
        way_ = way;
        first_ = k;
        last_ = from ? INT_MAX : k;
        if (way == Way::unknownName) suite.connect();
        calls = 0;
        signalledPass = false;
        ::SetErrorInfo(0, nullptr);
        const HRESULT status = suite.run(operation);
        EXPECT_EQ(SUCCEEDED(status), takeErrorText().empty()) << "a failed call has a text";
        EXPECT_TRUE(FAILED(status) || suite.host.log().ends_with("Sec\n")) << "an orderly end tells the time";
        EXPECT_TRUE(from || status == S_OK) << "an ARM session ends in order";
        EXPECT_EQ(suite.blocks.prgmode(1), 0);
    }
    void expectCleanRun(Byte operation) {
        run(operation, Way::status, 0, false);
        EXPECT_TRUE(suite.programmer.passed()) << suite.host.log();
    }

    Suite suite{{.addresses = 0x40, .block = 0x40, .model = GetParam().model, .selection = GetParam().selection}};
    ScriptedHost host;
    int calls = 0;
    bool signalledPass = false; ///< in the newest run

  private:
    bool strikes() { return ++calls >= first_ && first_ != 0 && calls <= last_; }

    Way way_ = Way::status;
    int first_ = 0, last_ = 0;
};

TEST_P(FailingSessionHost, NoFailureEndsInAFalsePass) {
    Byte pattern = 0;
    expectCleanRun(automatic);
    for (const Way way : {Way::status, Way::exception, Way::unknownName})
        for (const bool from : {false, true}) {
            run(GetParam().operation, way, 0, from);
            const int clean = calls;
            ASSERT_GT(clean, 5);
            for (int k = 1; k <= clean; ++k) {
                SCOPED_TRACE(testing::Message() << "way " << static_cast<int>(way) << ", call " << k << ", " << from);
                if (GetParam().operation != verify) std::ranges::fill(suite.host.data(0x40), ++pattern);
                run(GetParam().operation, way, k, from);
                EXPECT_GE(calls, k);
                if (signalledPass) expectCleanRun(verify);
            }
            expectCleanRun(automatic);
        }
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingSessionHost,
                         testing::Values(Setting{80, 0x40, automatic}, Setting{50, 0x40, readOperation},
                                         Setting{50, 0x40, verify}));

} // namespace
} // namespace kx3::test
