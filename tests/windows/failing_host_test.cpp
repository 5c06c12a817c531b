// A session host that fails at every one of its calls in turn, and a programmer without its functions.

#include "windows/served_class.h"
#include "windows/suite_host.h"

namespace kx3::test {
namespace {

constexpr SHORT instance = 43;
constexpr Long deviceBytes = 0x40;
constexpr Byte automatic = 0, readOperation = 2, verify = 5;

/// How a call of the session host fails. A text is a success without the call having been made.
enum class Way { status, exception, textResult, unknownName };
constexpr std::pair<Way, const char *> ways[] = {{Way::status, "status"},
                                                 {Way::exception, "exception"},
                                                 {Way::textResult, "text as result"},
                                                 {Way::unknownName, "unknown name"}};

/// The simulated programmer's class, whose calls fail as planned.
class FailingHost final : public OwnDispatch {
  public:
    int calls = 0;        ///< since the last `plan`; look-ups when it is names that are unknown
    int failed = 0;       ///< of those
    bool passed = false;  ///< the pass signal came
    bool compared = true; ///< every byte that was to be compared

    /// Fail call `at` (from 1; 0: none), and with `from` all after it.
    void plan(int at, Way way, bool from) {
        calls = failed = 0;
        passed = false;
        compared = true;
        at_ = at;
        way_ = way;
        from_ = from;
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR *names, UINT count, LCID locale,
                                            DISPID *identifiers) override {
        if (way_ == Way::unknownName && strikes()) return DISP_E_UNKNOWNNAME;
        return real_->GetIDsOfNames(id, names, count, locale, identifiers);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID id, LCID locale, WORD flags, DISPPARAMS *parameters,
                                     VARIANT *result, EXCEPINFO *exception, UINT *bad) override {
        const bool struck = way_ != Way::unknownName && strikes();
        passed = passed || (!struck && member == signalPass_);
        compared = compared && !(struck && member == compareByte_);
        if (!struck) return real_->Invoke(member, id, locale, flags, parameters, result, exception, bad);
        if (way_ == Way::exception && exception != nullptr) {
            exception->scode = E_UNEXPECTED;
            exception->bstrDescription = ::SysAllocString(L"The cable is unplugged");
            return DISP_E_EXCEPTION;
        }
        // Texts stand for reports that never end the operation; it waits for as long as they come.
        if (way_ == Way::status || calls > patience) return E_FAIL;
        V_VT(result) = VT_BSTR;
        V_BSTR(result) = ::SysAllocString(L"no number");
        return S_OK;
    }

  private:
    static constexpr int patience = 500;

    bool strikes() {
        ++calls;
        const bool struck = at_ != 0 && (calls == at_ || (from_ && calls > at_));
        failed += struck ? 1 : 0;
        return struck;
    }

    [[nodiscard]] DISPID identifierOf(const wchar_t *name) {
        auto *asked = const_cast<OLECHAR *>(name);
        DISPID identifier = DISPID_UNKNOWN;
        EXPECT_EQ(real_->GetIDsOfNames(IID_NULL, &asked, 1, 0, &identifier), S_OK);
        return identifier;
    }

    com::ComPtr<IDispatch> real_ = createByName<IDispatch>(sessionHostName);
    const DISPID signalPass_ = identifierOf(L"SignalPass");
    const DISPID compareByte_ = identifierOf(L"CompareByte");
    int at_ = 0;
    Way way_ = Way::status;
    bool from_ = false;
};

/// An operation on a small device of an ARM driver, or on one that the session window drives.
struct Setting {
    Integer modelType;
    bool arm;
    Byte operation;
};

class FailingSessionHost : public testing::TestWithParam<Setting> {
  protected:
    FailingSessionHost() {
        if (GetParam().arm)
            host.setArmDevice(GetParam().modelType, deviceBytes, deviceBytes);
        else
            host.setPinDrivenDevice(GetParam().modelType, deviceBytes, 1, {});
        mpu = host.plugIn();
        programmer.open(instance);
    }
    ~FailingSessionHost() override {
        programmer.close();
        EXPECT_TRUE(boxes.texts().empty());
    }

    HRESULT run(Byte operation) {
        watch.taken();
        ::SetErrorInfo(0, nullptr);
        const HRESULT status = host.run(*mpu, operation);
        EXPECT_EQ(SUCCEEDED(status), takeErrorText().empty()) << "a failed call has a text";
        EXPECT_TRUE(FAILED(status) || host.log().ends_with(L"Sec\n")) << "an orderly end tells the time";
        if (GetParam().arm) {
            EXPECT_EQ(host.at<Byte>("prgmode", 1), 0);
        }
        return status;
    }
    void expectCleanRun(Byte operation) {
        failing.plan(0, Way::status, false);
        EXPECT_EQ(run(operation), S_OK);
        EXPECT_TRUE(failing.passed);
    }
    void fillBuffer() {
        ++pattern_;
        for (Long i = 0; i < deviceBytes; ++i)
            host.buffer()[i] = static_cast<Byte>((i * 7 + pattern_) & 0x7F);
    }
    /// Run with other data than the chip has, unless it is to compare them.
    void runPlanned(int at, Way way, bool from) {
        if (GetParam().operation != verify) fillBuffer();
        if (way == Way::unknownName) {
            mpu.reset(); // the next object looks up names again
            mpu = host.plugIn();
        }
        failing.plan(at, way, from);
        const HRESULT status = run(GetParam().operation);
        EXPECT_TRUE(from || !GetParam().arm || status == S_OK) << "an ARM session ends in order";
    }

    Suite suite;
    Programmer programmer; // of the real class, as all that is made before another one is served
    FailingHost failing;
    ServedClass served{classIdOf(sessionHostName), failing};
    SuiteHost host{instance, deviceBytes};
    com::ComPtr<::_clsMPU> mpu;
    AnnouncementWatch watch{host, programmer, GetParam().arm ? 0U : 1U};
    BoxPresser boxes;

  private:
    int pattern_ = 0;
};

TEST_P(FailingSessionHost, NoFailureEndsInAFalsePass) {
    fillBuffer();
    expectCleanRun(automatic);
    for (const auto &[way, name] : ways)
        for (const bool from : {false, true}) {
            runPlanned(0, way, from);
            ASSERT_TRUE(failing.passed);
            const int calls = failing.calls;
            ASSERT_GT(calls, 5);
            for (int k = 1; k <= calls; ++k) {
                SCOPED_TRACE(std::string(name) + (from ? " from call " : " at call ") + std::to_string(k));
                runPlanned(k, way, from);
                EXPECT_GT(failing.failed, 0);
                EXPECT_TRUE(failing.compared || !failing.passed);
                if (failing.passed) expectCleanRun(verify);
            }
            expectCleanRun(GetParam().operation);
        }
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingSessionHost,
                         testing::Values(Setting{80, true, automatic}, Setting{80, true, readOperation},
                                         Setting{80, true, verify}, Setting{50, true, automatic},
                                         Setting{50, true, readOperation}, Setting{50, true, verify},
                                         Setting{45, false, automatic}),
                         [](const auto &test) {
                             return std::to_string(test.param.operation) + "OfModel" +
                                    std::to_string(test.param.modelType);
                         });

TEST(FailingProgrammer, LibraryWithoutItsFunctionsEndsTheSessionInOrder) {
    // A plug-in of its own, with a library of that name beside it.
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::filesystem::path built = std::filesystem::path(program).parent_path();
    const std::filesystem::path folder = built / "kx3lacking";
    std::filesystem::create_directory(folder);
    ASSERT_TRUE(::CopyFileW((built / "kx3mpu6.dll").c_str(), (folder / "kx3mpu6.dll").c_str(), FALSE));
    ASSERT_TRUE(::CopyFileW((built / "kx3testlib.dll").c_str(), (folder / "kx6io.dll").c_str(), FALSE));
    const Suite suite((folder / "kx3mpu6.dll").c_str());
    SuiteHost host(instance, deviceBytes);
    host.setArmDevice(80, deviceBytes, deviceBytes);
    const auto mpu = host.plugIn();
    Programmer programmer;
    programmer.open(instance);
    EXPECT_EQ(host.run(*mpu, automatic), S_OK);
    EXPECT_FALSE(programmer.passed());
    EXPECT_EQ(host.at<Byte>("prgmode", 1), 0);
    EXPECT_EQ(host.log().find(L"note \n>> "), 0U) << std::string(host.log().begin(), host.log().end());
    programmer.close();
}

} // namespace
} // namespace kx3::test
