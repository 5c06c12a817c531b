// The session host's late-bound proxy against a scripted class of that name.

#include "com/dispatch_session_host.h"

#include "windows/suite.h"

#include <sstream>

namespace kx3::com {
namespace {

using test::failureOf;
using test::valueOf;

class ProxyTest : public ::testing::Test {
  protected:
    void answerWith(const VARIANT &value) {
        script.answer = [value](auto &, auto &, VARIANT *result, auto *) {
            *result = value;
            return S_OK;
        };
    }

    test::ComThread com;
    test::Registered registered{L"kx3host.dll"};
    test::ScriptedHost script;
};

TEST_F(ProxyTest, ArgumentsGoByReferenceInTheOrderOfTheOperation) {
    std::ostringstream calls;
    script.answer = [&](const std::wstring &name, DISPPARAMS &parameters, auto *, auto *) {
        calls << std::string(name.begin(), name.end());
        for (UINT i = parameters.cArgs; i-- > 0;) {
            const VARIANTARG &argument = parameters.rgvarg[i];
            if (V_VT(&argument) == (VT_BYREF | VT_UI1))
                calls << " byte " << int{(*V_UI1REF(&argument))++};
            else if (V_VT(&argument) == (VT_BYREF | VT_I4))
                calls << " long " << (*V_I4REF(&argument))++;
            else
                calls << " type " << V_VT(&argument);
        }
        calls << '\n';
        return S_OK;
    };
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
    host.EndOperation();
    EXPECT_EQ(calls.str(), "EndOperation\nSetVcc long 3300\nSetGndPin byte 7 byte 1\nPowerStep long 0\n"
                           "SignalPass long 0\nSignalFail long 0\nStartCheck\nDelay long 250\nPollStatus long 15\n"
                           "ReportStartFailure\nPrepareChip byte 4\nPrepareDevice32f byte 4 byte 0\n"
                           "PrepareDevice byte 5 byte 0\nCompareWord byte 1 byte 2 long 70000 long 4 long 5\n"
                           "CompareByte byte 1 long 70000 long 3\nAlgorithmLoaded long 24576\nEndOperation\n");
    EXPECT_EQ(script.lookups, 16) << "each name is asked for once";
    EXPECT_EQ(script.created, 1);
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
    for (const auto &[text, expected] : {std::pair(L"2", 2), std::pair(L"no number", -1)}) {
        script.answer = [asText = text](auto &, auto &, VARIANT *result, auto *) {
            V_VT(result) = VT_BSTR;
            V_BSTR(result) = ::SysAllocString(asText);
            return S_OK;
        };
        Long got = -1;
        const Failure failure = failureOf([&] { got = host.StartCheck(); });
        EXPECT_EQ(got, expected);
        EXPECT_EQ(failure.description, got < 0 ? u"SessionHost.StartCheck: Type mismatch" : u"");
        EXPECT_TRUE(host.PollStatus(15));
    }
}

HRESULT CALLBACK fillInLate(EXCEPINFO *exception) {
    exception->scode = static_cast<SCODE>(0x800A0005);
    exception->bstrDescription = ::SysAllocString(L"Late text");
    return S_OK;
}

TEST_F(ProxyTest, FailingCallOrLookUpCarriesNumberDescriptionAndName) {
    DispatchSessionHost host;
    const struct {
        HRESULT status; ///< DISP_E_EXCEPTION: of the call, with the three that follow
        std::uint32_t scode;
        WORD code;
        const wchar_t *description;
        int number;
        std::u16string_view text;
    } cases[] = {
        {DISP_E_EXCEPTION, 0x800A0039, 0, L"No programmer", 57, u"No programmer"},
        {DISP_E_EXCEPTION, 0x80004005, 0, L"Broken", 440, u"Broken"},
        {DISP_E_EXCEPTION, 0, 1004, L"Own error", 1004, u"Own error"},
        {DISP_E_EXCEPTION, 0x800A0006, 0, nullptr, 6, u"Overflow"},
        {DISP_E_EXCEPTION, 0, 0, nullptr, 5, u"Late text"}, // filled in when asked for
        {DISP_E_MEMBERNOTFOUND, 0, 0, nullptr, 438, u"Object doesn't support this property or method"},
        {DISP_E_TYPEMISMATCH, 0, 0, nullptr, 13, u"Type mismatch"},
        {DISP_E_OVERFLOW, 0, 0, nullptr, 6, u"Overflow"},
        {E_OUTOFMEMORY, 0, 0, nullptr, 7, u"Out of memory"},
        {RPC_E_DISCONNECTED, 0, 0, nullptr, 440, u"Automation error 80010108"},
    };
    for (const auto &c : cases) {
        script.answer = [&](auto &, auto &, VARIANT *, EXCEPINFO *exception) {
            exception->scode = static_cast<SCODE>(c.scode);
            exception->wCode = c.code;
            exception->bstrDescription = ::SysAllocString(c.description);
            if (c.number == 5) exception->pfnDeferredFillIn = &fillInLate;
            return c.status;
        };
        const Failure failure = failureOf([&] { host.Delay(1); });
        EXPECT_EQ(static_cast<int>(failure.number), c.number);
        EXPECT_EQ(failure.description, u"SessionHost.Delay: " + std::u16string(c.text));
    }
    script.knows = [](const std::wstring &) { return false; };
    EXPECT_EQ(failureOf([&] { (void)host.PrepareDevice(1, 0); }).description,
              u"SessionHost.PrepareDevice: Object doesn't support this property or method");
}

TEST_F(ProxyTest, ObjectIsGivenUpAndMadeAgain) {
    {
        DispatchSessionHost host;
        EXPECT_EQ(script.references, 2U);
        host.disconnect();
        EXPECT_EQ(script.references, 1U);
        host.EndOperation();
        EXPECT_EQ(script.created, 2);
        // A host may drop the plug-in's last object from inside a call.
        script.answer = [&](auto &&...) { return host.disconnect(), S_OK; };
        host.EndOperation();
    }
    EXPECT_EQ(script.references, 1U);
}

} // namespace
} // namespace kx3::com
