// The session host's late-bound proxy against a scripted class of that name.

#include "com/dispatch_session_host.h"

#include "com/server.h"
#include "host/error_of.h"
#include "windows/host.h"

#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace kx3::com {
namespace {

using test::failureOf;
using test::value;

/// Stands for the session host, whose class is registered; answers as a test says.
class ProxyTest : public ::testing::Test, public IDispatch {
  protected:
    ProxyTest() {
        EXPECT_EQ(programmerLibrary.call("DllRegisterServer"), S_OK);
        CLSID classId{};
        EXPECT_EQ(::CLSIDFromProgID(sessionHostProgId, &classId), S_OK);
        served = this;
        ::CoRegisterClassObject(classId, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    }
    ~ProxyTest() override {
        EXPECT_EQ(references, 1U);
        ::CoRevokeClassObject(cookie);
        EXPECT_EQ(programmerLibrary.call("DllUnregisterServer"), S_OK);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override {
        EXPECT_EQ(id, IID_IDispatch);
        AddRef();
        *object = static_cast<IDispatch *>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR *asked, UINT, LCID, DISPID *identifiers) override {
        const std::wstring name(*asked);
        names.emplace_back(name.begin(), name.end());
        *identifiers = static_cast<DISPID>(names.size());
        return lookUp;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID identifier, REFIID, LCID, WORD, DISPPARAMS *parameters, VARIANT *result,
                                     EXCEPINFO *exception, UINT *) override {
        return answer(names.at(static_cast<std::size_t>(identifier - 1)), *parameters, *result, *exception);
    }

    const test::ComThread com;
    const test::Library programmerLibrary{L"kx3host.dll"};
    int created = 0;
    static inline ProxyTest *served = nullptr;
    static inline ClassFactory factory{[](REFIID id, void **object) {
        ++served->created;
        return served->QueryInterface(id, object);
    }};
    DWORD cookie = 0;
    ULONG references = 1;
    std::vector<std::string> names; ///< that were asked for
    HRESULT lookUp = S_OK;
    std::function<HRESULT(const std::string &name, DISPPARAMS &, VARIANT &result, EXCEPINFO &)> answer =
        [](auto &&...) { return S_OK; };
};

/// Call an operation with the numbers 1, 2, 3 ...
template <class Result, class... Values> void call(SessionHost &host, Result (SessionHost::*operation)(Values...)) {
    [&]<std::size_t... Index>(std::index_sequence<Index...>) {
        (void)(host.*operation)(static_cast<Values>(Index + 1)...);
    }
    (std::index_sequence_for<Values...>());
}

TEST_F(ProxyTest, ArgumentsGoByReferenceInTheOrderOfTheOperation) {
    std::ostringstream calls;
    answer = [&](const std::string &name, DISPPARAMS &parameters, auto &&...) {
        calls << name;
        for (UINT i = parameters.cArgs; i-- > 0;) {
            const VARIANTARG &argument = parameters.rgvarg[i];
            const bool isByte = V_VT(&argument) == (VT_BYREF | VT_UI1);
            EXPECT_TRUE(isByte || V_VT(&argument) == (VT_BYREF | VT_I4)) << V_VT(&argument);
            calls << (isByte ? " byte " : " long ") << (isByte ? *V_UI1REF(&argument) : *V_I4REF(&argument));
        }
        calls << '\n';
        return S_OK;
    };
    DispatchSessionHost host;
    host.EndOperation();
#define KX3_OPERATION(name, result, parameters, arguments) call(host, &SessionHost::name);
#include "outside/session_host_operations.inc"
    EXPECT_EQ(calls.str(), "EndOperation\nEndOperation\nSetVcc long 1\nSetGndPin byte 1 byte 2\nPowerStep long 1\n"
                           "SignalPass long 1\nSignalFail long 1\nStartCheck\nDelay long 1\nPollStatus long 1\n"
                           "ReportStartFailure\nPrepareChip byte 1\nPrepareDevice32f byte 1 byte 2\n"
                           "PrepareDevice byte 1 byte 2\nCompareWord byte 1 byte 2 long 3 long 4 long 5\n"
                           "CompareByte byte 1 long 2 long 3\nAlgorithmLoaded long 1\n");
    EXPECT_EQ(names.size(), 16U) << "each name is asked for once";
}

TEST_F(ProxyTest, ResultsAreConverted) {
    DispatchSessionHost host;
    const struct {
        VARIANT result;
        Long asByte, asNumber;
        bool polled = true;
    } cases[] = {
        {value(VT_EMPTY, 0), 0, 0},
        {value(VT_I4, 2), 2, 2},
        {value(VT_UI1, 1), 1, 1},
        {value(VT_I2, 300), 300, 300},
        {value(VT_BOOL, VARIANT_TRUE), 255, -1},
        {value(VT_BOOL, VARIANT_FALSE), 0, 0, false},
    };
    for (const auto &c : cases) {
        answer = [&](auto &, auto &, VARIANT &result, auto &) { return result = c.result, S_OK; };
        EXPECT_EQ(host.PrepareChip(0), c.asByte) << V_VT(&c.result);
        EXPECT_EQ(host.CompareByte(0, 0, 0), c.asNumber) << V_VT(&c.result);
        EXPECT_EQ(host.PollStatus(15), c.polled) << V_VT(&c.result);
    }
    answer = [](auto &, auto &, VARIANT &result, auto &) {
        V_VT(&result) = VT_BSTR;
        V_BSTR(&result) = ::SysAllocString(L"no number");
        return S_OK;
    };
    EXPECT_EQ(failureOf([&] { (void)host.StartCheck(); })->description, u"SessionHost.StartCheck: Type mismatch");
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
        answer = [&](auto &, auto &, auto &, EXCEPINFO &exception) {
            exception.scode = static_cast<SCODE>(c.scode);
            exception.wCode = c.code;
            exception.bstrDescription = ::SysAllocString(c.description);
            if (c.number == 5) exception.pfnDeferredFillIn = &fillInLate;
            return c.status;
        };
        const auto failure = failureOf([&] { host.Delay(1); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(static_cast<int>(failure->number), c.number);
        EXPECT_EQ(failure->description, u"SessionHost.Delay: " + std::u16string(c.text));
    }
    lookUp = DISP_E_UNKNOWNNAME;
    EXPECT_EQ(failureOf([&] { (void)host.PrepareDevice(1, 0); })->description,
              u"SessionHost.PrepareDevice: Object doesn't support this property or method");
}

TEST_F(ProxyTest, ObjectIsGivenUpAndMadeAgain) {
    DispatchSessionHost host;
    EXPECT_EQ(references, 2U);
    host.disconnect();
    EXPECT_EQ(references, 1U);
    // A host may drop the plug-in's last object from inside a call.
    answer = [&](auto &&...) { return host.disconnect(), S_OK; };
    host.EndOperation();
    EXPECT_EQ(created, 2);
}

} // namespace
} // namespace kx3::com
