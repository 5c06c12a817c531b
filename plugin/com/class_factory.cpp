#include "com/class_factory.h"

#include "com/com_mpu.h"
#include "com/error_object.h"

namespace kx3::com {

namespace {

/// The one factory. Each reference to it keeps the library loaded; it is never destroyed.
class ClassFactory final : public IClassFactory {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (id != IID_IUnknown && id != IID_IClassFactory) return E_NOINTERFACE;
        *object = static_cast<IClassFactory *>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        lockModule();
        return 2;
    }
    ULONG STDMETHODCALLTYPE Release() override {
        unlockModule();
        return 1;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown *outer, REFIID id, void **object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        return guarded([&] { return ComMpu::create()->QueryInterface(id, object); });
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock != FALSE)
            lockModule();
        else
            unlockModule();
        return S_OK;
    }
};

ClassFactory theFactory;

} // namespace

HRESULT classFactory(REFIID id, void **factory) noexcept { return theFactory.QueryInterface(id, factory); }

} // namespace kx3::com
