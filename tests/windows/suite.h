// The suite around the plug-in: its host with a device, the registered classes, and a session host that
// answers as a test says.
#pragma once

#include "com/server.h"
#include "rig/apartment.h"
#include "rig/folder.h"
#include "windows/host.h"

#include <gtest/gtest.h>
#include <oleauto.h>

namespace kx3::test {

inline constexpr wchar_t sessionHostName[] = L"kx3host.SessionHost";

/// Number and description of the error that `action` raises; number 0 when it raises none.
template <class Action> [[nodiscard]] Failure failureOf(Action action) {
    try {
        action();
    } catch (...) {
        return describeCurrentException();
    }
    return {ErrorNumber{}, u""};
}

/// The class of a library, registered as long as this lives.
class Registered {
  public:
    explicit Registered(const wchar_t *file) : library_(file) { EXPECT_EQ(library_.call("DllRegisterServer"), S_OK); }
    ~Registered() { EXPECT_EQ(library_.call("DllUnregisterServer"), S_OK); }
    Registered(const Registered &) = delete;
    Registered &operator=(const Registered &) = delete;

  private:
    Library library_;
};

/// Call a method of a late-bound object by its name.
inline HRESULT invokeByName(IDispatch &object, const std::wstring &name, DISPPARAMS &parameters, VARIANT *result,
                            EXCEPINFO *exception = nullptr) {
    auto *asked = const_cast<OLECHAR *>(name.c_str());
    DISPID identifier = DISPID_UNKNOWN;
    EXPECT_EQ(object.GetIDsOfNames(IID_NULL, &asked, 1, 0, &identifier), S_OK);
    return object.Invoke(identifier, IID_NULL, 0, DISPATCH_METHOD, &parameters, result, exception, nullptr);
}

/// Stands for the session host, whose class is registered, as long as it lives.
class ScriptedHost final : public IDispatch {
  public:
    std::function<bool(const std::wstring &name)> knows = [](const std::wstring &) { return true; };
    std::function<HRESULT(const std::wstring &name, DISPPARAMS &, VARIANT *result, EXCEPINFO *)> answer =
        [](const std::wstring &, DISPPARAMS &, VARIANT *, EXCEPINFO *) { return S_OK; };
    int created = 0;
    int lookups = 0;
    ULONG references = 1;

    ScriptedHost() {
        served_ = this;
        EXPECT_EQ(::CoRegisterClassObject(classIdOf(sessionHostName), &factory_, CLSCTX_INPROC_SERVER,
                                          REGCLS_MULTIPLEUSE, &cookie_),
                  S_OK);
    }
    ~ScriptedHost() { ::CoRevokeClassObject(cookie_); }
    ScriptedHost(const ScriptedHost &) = delete;
    ScriptedHost &operator=(const ScriptedHost &) = delete;

  private:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override {
        *object = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR *names, UINT, LCID, DISPID *identifiers) override {
        ++lookups;
        if (!knows(names[0])) return DISP_E_UNKNOWNNAME;
        names_.emplace_back(names[0]);
        identifiers[0] = static_cast<DISPID>(names_.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID identifier, REFIID, LCID, WORD, DISPPARAMS *parameters, VARIANT *result,
                                     EXCEPINFO *exception, UINT *) override {
        return answer(names_.at(static_cast<std::size_t>(identifier - 1)), *parameters, result, exception);
    }

    static inline ScriptedHost *served_ = nullptr;
    static inline com::ClassFactory factory_{[](REFIID id, void **object) {
        ++served_->created;
        return served_->QueryInterface(id, object);
    }};
    std::vector<std::wstring> names_;
    DWORD cookie_ = 0;
};

inline VARIANT valueOf(VARTYPE type, Long number) {
    VARIANT made{};
    V_VT(&made) = type;
    V_I4(&made) = number;
    return made;
}

/// The simulated programmer's class, and what only the host itself calls of it.
class Programmer {
  public:
    /// Both classes must be registered.
    Programmer() : host(createByName<IDispatch>(sessionHostName)) { EXPECT_TRUE(host); }

    /// Switch on for instance 1 with a chip in memory, which has the identity of the newest `insert`.
    void open() { call(L"Open", {valueOf(VT_I4, 1), valueOf(VT_BSTR, 0), valueOf(VT_BSTR, 0)}); }
    void insert(Byte maker, Byte code) { call(L"Insert", {valueOf(VT_I4, maker), valueOf(VT_I4, code)}); }
    void carryOut(Byte operation) { call(L"CarryOut", {valueOf(VT_I4, operation)}); }
    void close() { call(L"Close", {}); }
    bool passed() { return call(L"Passed", {}) == VARIANT_TRUE; }

    const com::ComPtr<IDispatch> host;

  private:
    VARIANT_BOOL call(const wchar_t *name, std::vector<VARIANT> arguments) {
        std::ranges::reverse(arguments);
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        VARIANT result{}; // a truth value or nothing
        EXPECT_EQ(invokeByName(*host, name, parameters, &result), S_OK);
        return V_BOOL(&result);
    }
};

/// COM, both classes registered, and the blocks and files of host instance 1 with a device.
class Suite : public Workplace {
  public:
    explicit Suite(const Device &device, const wchar_t *plugInFile = L"kx3mpu6.dll") : plugIn_(plugInFile) {
        host.attach(device);
        connect();
    }
    /// A new object of the plug-in, in place of the old one.
    void connect() {
        mpu.reset();
        mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
        SHORT instance = 1;
        EXPECT_TRUE(mpu && mpu->bufcommpu6(&instance) == S_OK);
    }
    ~Suite() { EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK); }

    HRESULT run(Byte operation) {
        blocks.prgresult(0) = 0;
        blocks.prgresult(1) = operation;
        storeText(blocks.MainRtstr, 0, {});
        VARIANT_BOOL usbenable = VARIANT_TRUE;
        const HRESULT status = mpu->runMpu6Prg(&usbenable);
        EXPECT_EQ(usbenable, VARIANT_TRUE);
        return status;
    }

  private:
    ComThread com_;
    Registered plugIn_;
    Registered sessionHost_{L"kx3host.dll"};

  public:
    TestApartment host; ///< only its view of the blocks is used
    sharemap &blocks = host.host;
    Programmer programmer;
    com::ComPtr<::_clsMPU> mpu;
};

} // namespace kx3::test
