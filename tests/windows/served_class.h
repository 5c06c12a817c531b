// Objects of the test itself that stand for registered classes.
#pragma once

#include "com/com_ptr.h"

#include <oleauto.h>
#include <stdexcept>

namespace kx3::test {

/// A late-bound object that its test owns: no count of references destroys it.
class OwnDispatch : public IDispatch {
  public:
    ULONG references = 1;

    OwnDispatch() = default;
    virtual ~OwnDispatch() = default;
    OwnDispatch(const OwnDispatch &) = delete;
    OwnDispatch &operator=(const OwnDispatch &) = delete;

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
};

/// Who asks for an object of the class gets `object`, as long as this lives.
class ServedClass final : private IClassFactory {
  public:
    int created = 0;

    ServedClass(const CLSID &classId, IDispatch &object) : object_(object) {
        if (FAILED(::CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_)))
            throw std::runtime_error("the class cannot be served");
    }
    ~ServedClass() { ::CoRevokeClassObject(cookie_); }
    ServedClass(const ServedClass &) = delete;
    ServedClass &operator=(const ServedClass &) = delete;

  private:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void **object) override {
        *object = static_cast<IClassFactory *>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *, REFIID id, void **object) override {
        ++created;
        return object_.QueryInterface(id, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    IDispatch &object_;
    DWORD cookie_ = 0;
};

} // namespace kx3::test
