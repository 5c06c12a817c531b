// The session host's late-bound proxy against a scripted class of that name.

#include "com/dispatch_session_host.h"

#include "windows/failure_of.h"
#include "windows/host.h"
#include "windows/served_class.h"

#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace kx3::com {
namespace {

using test::failureOf;

/// A class of the host's name that answers as the test says.
class ScriptedHost final : public test::OwnDispatch {
  public:
    int lookups = 0;
    std::vector<std::string> calls;
    std::string unknownName;
    std::function<HRESULT(VARIANT *, EXCEPINFO *)> answer = [](VARIANT *, EXCEPINFO *) { return S_OK; };

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR *names, UINT, LCID, DISPID *identifiers) override {
        ++lookups;
        const std::wstring wide = names[0];
        const std::string name(wide.begin(), wide.end());
        if (name == unknownName) return DISP_E_UNKNOWNNAME;
        names_.push_back(name);
        identifiers[0] = static_cast<DISPID>(names_.size() - 1) + 100;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID identifier, REFIID, LCID, WORD, DISPPARAMS *parameters, VARIANT *result,
                                     EXCEPINFO *exception, UINT *) override {
        std::ostringstream call;
        call << names_.at(static_cast<std::size_t>(identifier - 100));
        for (UINT i = parameters->cArgs; i-- > 0;) {
            const VARIANTARG &argument = parameters->rgvarg[i];
            if (V_VT(&argument) == (VT_BYREF | VT_UI1))
                call << " byte " << int{(*V_UI1REF(&argument))++};
            else if (V_VT(&argument) == (VT_BYREF | VT_I4))
                call << " long " << (*V_I4REF(&argument))++;
            else
                call << " type " << V_VT(&argument);
        }
        calls.push_back(call.str());
        return answer(result, exception);
    }

  private:
    std::vector<std::string> names_;
};

/// Makes the class known on this thread, as long as it lives.
class ProxyTest : public ::testing::Test {
  protected:
    ProxyTest() {
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\kx3host.SessionHost\\CLSID", nullptr, REG_SZ,
                          classIdText, sizeof classIdText);
    }
    ~ProxyTest() override { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\kx3host.SessionHost"); }

    void answerWith(const VARIANT &value) {
        script.answer = [value](VARIANT *result, EXCEPINFO *) {
            *result = value;
            return S_OK;
        };
    }

    test::ComThread com;
    ScriptedHost script;
    test::ServedClass served{classId, script};

  private:
    static constexpr wchar_t classIdText[] = L"{5b8f7bb3-7d1c-4a7e-8ac0-6d4c1e0f2a11}";
    static constexpr CLSID classId{0x5b8f7bb3, 0x7d1c, 0x4a7e, {0x8a, 0xc0, 0x6d, 0x4c, 0x1e, 0x0f, 0x2a, 0x11}};
};

constexpr SCODE asStatus(int number) { return static_cast<SCODE>(0x800A0000U + static_cast<unsigned>(number)); }

HRESULT CALLBACK fillInLate(EXCEPINFO *exception) {
    exception->scode = asStatus(5);
    exception->bstrDescription = ::SysAllocString(L"Late text");
    return S_OK;
}

VARIANT valueOf(VARTYPE type, Long number) {
    VARIANT made{};
    V_VT(&made) = type;
    V_I4(&made) = number;
    return made;
}

TEST_F(ProxyTest, ArgumentsGoByReferenceInTheOrderOfTheOperation) {
    DispatchSessionHost host;
    host.EndOperation();
    host.SetVcc(3300);
    host.SetGndPin(7, 1);
    host.PowerStep(0);
    host.SignalPass(0);
    host.SignalFail(0);
    (void)host.StartCheck();
    host.Delay(250);
    (void)host.PollStatus(15);
    host.ReportStartFailure();
    (void)host.PrepareChip(4);
    (void)host.PrepareDevice32f(4, 0);
    (void)host.PrepareDevice(5, 0);
    (void)host.CompareWord(1, 2, 70000, 4, 5);
    (void)host.CompareByte(1, 70000, 3);
    host.AlgorithmLoaded(24576);
    EXPECT_EQ(script.calls,
              (std::vector<std::string>{
                  "EndOperation", "SetVcc long 3300", "SetGndPin byte 7 byte 1", "PowerStep long 0",
                  "SignalPass long 0", "SignalFail long 0", "StartCheck", "Delay long 250", "PollStatus long 15",
                  "ReportStartFailure", "PrepareChip byte 4", "PrepareDevice32f byte 4 byte 0",
                  "PrepareDevice byte 5 byte 0", "CompareWord byte 1 byte 2 long 70000 long 4 long 5",
                  "CompareByte byte 1 long 70000 long 3", "AlgorithmLoaded long 24576"}));
    host.EndOperation();
    (void)host.CompareByte(1, 2, 3);
    EXPECT_EQ(script.lookups, 16) << "each name is asked for once";
    EXPECT_EQ(served.created, 1);
}

TEST_F(ProxyTest, ResultsAreConverted) {
    DispatchSessionHost host;
    const struct {
        VARIANT result;
        Long asByte;
        Long asNumber;
        bool polled;
    } cases[] = {
        {valueOf(VT_EMPTY, 0), 0, 0, true},
        {valueOf(VT_I4, 2), 2, 2, true},
        {valueOf(VT_UI1, 1), 1, 1, true},
        {valueOf(VT_I2, 300), 300, 300, true},
        {valueOf(VT_I4, 0), 0, 0, true},
        {valueOf(VT_BOOL, VARIANT_TRUE), 255, -1, true},
        {valueOf(VT_BOOL, VARIANT_FALSE), 0, 0, false},
    };
    for (const auto &c : cases) {
        answerWith(c.result);
        EXPECT_EQ(host.PrepareChip(0), c.asByte) << V_VT(&c.result);
        EXPECT_EQ(host.CompareByte(0, 0, 0), c.asNumber) << V_VT(&c.result);
        EXPECT_EQ(host.PollStatus(15), c.polled) << V_VT(&c.result);
    }
    script.answer = [](VARIANT *result, EXCEPINFO *) {
        V_VT(result) = VT_BSTR;
        V_BSTR(result) = ::SysAllocString(L"2");
        return S_OK;
    };
    EXPECT_EQ(host.StartCheck(), 2);
    answerWith(valueOf(VT_NULL, 0));
    const Failure failure = failureOf([&] { (void)host.StartCheck(); });
    EXPECT_EQ(failure.number, ErrorNumber::typeMismatch);
    EXPECT_EQ(failure.description, u"SessionHost.StartCheck: Type mismatch");
    EXPECT_TRUE(host.PollStatus(15));
}

TEST_F(ProxyTest, FailingCallOrLookUpCarriesNumberDescriptionAndName) {
    DispatchSessionHost host;
    const struct {
        HRESULT status; ///< DISP_E_EXCEPTION: of the call, with the three that follow
        SCODE scode;
        WORD code;
        const wchar_t *description;
        int number;
        std::u16string_view text;
    } cases[] = {
        {DISP_E_EXCEPTION, asStatus(57), 0, L"No programmer", 57, u"No programmer"},
        {DISP_E_EXCEPTION, E_FAIL, 0, L"Broken", 440, u"Broken"},
        {DISP_E_EXCEPTION, 0, 1004, L"Own error", 1004, u"Own error"},
        {DISP_E_EXCEPTION, asStatus(6), 0, nullptr, 6, u"Overflow"},
        {DISP_E_EXCEPTION, 0, 0, nullptr, 5, u"Late text"}, // filled in when asked for
        {DISP_E_MEMBERNOTFOUND, 0, 0, nullptr, 438, u"Object doesn't support this property or method"},
        {DISP_E_TYPEMISMATCH, 0, 0, nullptr, 13, u"Type mismatch"},
        {DISP_E_OVERFLOW, 0, 0, nullptr, 6, u"Overflow"},
        {E_OUTOFMEMORY, 0, 0, nullptr, 7, u"Out of memory"},
        {RPC_E_DISCONNECTED, 0, 0, nullptr, 440, u"Automation error 80010108"},
    };
    for (const auto &c : cases) {
        script.answer = [&](VARIANT *, EXCEPINFO *exception) {
            exception->scode = c.scode;
            exception->wCode = c.code;
            exception->bstrDescription = ::SysAllocString(c.description);
            if (c.number == 5) exception->pfnDeferredFillIn = &fillInLate;
            return c.status;
        };
        const Failure failure = failureOf([&] { host.Delay(1); });
        EXPECT_EQ(static_cast<int>(failure.number), c.number);
        EXPECT_EQ(failure.description, u"SessionHost.Delay: " + std::u16string(c.text));
    }
    script.unknownName = "PrepareDevice";
    const Failure failure = failureOf([&] { (void)host.PrepareDevice(1, 0); });
    EXPECT_EQ(failure.description, u"SessionHost.PrepareDevice: Object doesn't support this property or method");
}

TEST_F(ProxyTest, ObjectIsGivenUpAndMadeAgain) {
    {
        DispatchSessionHost host;
        EXPECT_EQ(script.references, 2U);
        host.disconnect();
        EXPECT_EQ(script.references, 1U);
        host.EndOperation();
        EXPECT_EQ(served.created, 2);
        // A host may drop the plug-in's last object from inside a call.
        script.answer = [&](VARIANT *, EXCEPINFO *) { return host.disconnect(), S_OK; };
        host.EndOperation();
    }
    EXPECT_EQ(script.references, 1U);
}

} // namespace
} // namespace kx3::com
