#include "com/com_mpu.h"

#include "base/text.h"
#include "com/error_object.h"
#include "com/late_bound_call.h"

namespace kx3::com {

namespace {

static_assert(sizeof(Boolean) == sizeof(VARIANT_BOOL) && sizeof(Long) == sizeof(LONG));

HRESULT nullPointer(std::u16string_view argument) noexcept {
    return guarded([&] {
        return fail(E_POINTER, join(u"Invalid procedure call or argument: ", argument, u" is a null pointer"));
    });
}

/// The interface as the library's own type library describes it. It is read once and, like the library,
/// stays until the process ends.
struct OwnTypes {
    HRESULT status = S_OK;
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> members; ///< the side of the dual interface that is called through its table

    OwnTypes() {
        status = ::LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, receive(library));
        ComPtr<ITypeInfo> dual;
        if (SUCCEEDED(status)) status = library->GetTypeInfoOfGuid(__uuidof(::_clsMPU), receive(dual));
        constexpr auto tableSide = static_cast<UINT>(-1);
        HREFTYPE reference = 0;
        if (SUCCEEDED(status)) status = dual->GetRefTypeOfImplType(tableSide, &reference);
        if (SUCCEEDED(status)) status = dual->GetRefTypeInfo(reference, receive(members));
    }
    /// Raises out of memory.
    static const OwnTypes &get() {
        static const auto &types = *new OwnTypes;
        return types;
    }
};

} // namespace

ComPtr<ComMpu> ComMpu::create() {
    std::shared_ptr<HostThread> thread = HostThread::current();
    HostThread::Object &object = thread->addObject();
    auto *const fresh = new (std::nothrow) ComMpu(thread, object);
    if (fresh == nullptr) {
        thread->removeObject(object);
        raise(ErrorNumber::outOfMemory);
    }
    return ComPtr<ComMpu>(fresh);
}

ComMpu::~ComMpu() { thread_->removeObject(object_); }

HRESULT ComMpu::QueryInterface(REFIID id, void **object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (id == IID_IUnknown || id == IID_IDispatch || id == __uuidof(::_clsMPU))
        *object = static_cast<::_clsMPU *>(this);
    else if (id == IID_ISupportErrorInfo)
        *object = static_cast<::ISupportErrorInfo *>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG ComMpu::AddRef() { return ++references_; }

ULONG ComMpu::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT ComMpu::InterfaceSupportsErrorInfo(REFIID id) {
    return id == __uuidof(::_clsMPU) || id == IID_IDispatch ? S_OK : S_FALSE;
}

/// Carry out `body` on the engine's object, on its own thread. The object stays alive meanwhile,
/// also when the host drops it from inside a nested message loop.
template <class Body> HRESULT ComMpu::perform(Body body) noexcept {
    const auto alive = addReference(this);
    return guarded([&] {
        if (!thread_->isCurrent())
            return fail(RPC_E_WRONG_THREAD, u"The object was called on another thread than its own");
        thread_->removeReleasedObjects();
        body(object_.mpu);
        return S_OK;
    });
}

HRESULT ComMpu::get_buflg(LONG *value) {
    if (value == nullptr) return nullPointer(u"buflg");
    return perform([&](const clsMPU &mpu) { *value = mpu.buflg; });
}

HRESULT ComMpu::put_buflg(LONG value) {
    return perform([&](clsMPU &mpu) { mpu.buflg = static_cast<Long>(value); });
}

HRESULT ComMpu::get_exitpower(VARIANT_BOOL *value) {
    if (value == nullptr) return nullPointer(u"exitpower");
    return perform([&](const clsMPU &mpu) { *value = mpu.exitpower.bits; });
}

HRESULT ComMpu::put_exitpower(VARIANT_BOOL value) {
    return perform([&](clsMPU &mpu) { mpu.exitpower.bits = value; });
}

HRESULT ComMpu::runMpu6Prg(VARIANT_BOOL *usbenable) {
    if (usbenable == nullptr) return nullPointer(u"usbenable");
    return perform([&](clsMPU &mpu) { mpu.runMpu6Prg(reinterpret_cast<Boolean &>(*usbenable)); });
}

HRESULT ComMpu::mpu6warn(unsigned char *no) {
    if (no == nullptr) return nullPointer(u"no");
    return perform([&](clsMPU &mpu) { mpu.mpu6warn(*no); });
}

HRESULT ComMpu::editfigmpu6() {
    return perform([](clsMPU &mpu) { mpu.editfigmpu6(); });
}

HRESULT ComMpu::bufcommpu6(SHORT *num) {
    if (num == nullptr) return nullPointer(u"num");
    return perform([&](clsMPU &mpu) { mpu.bufcommpu6(*num); });
}

HRESULT ComMpu::freesharebuffermpu6() {
    return perform([](clsMPU &mpu) { mpu.freesharebuffermpu6(); });
}

HRESULT ComMpu::sinitmpu6() {
    return perform([](clsMPU &mpu) { mpu.sinitmpu6(); });
}

HRESULT ComMpu::GetTypeInfoCount(UINT *count) {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
}

HRESULT ComMpu::GetTypeInfo(UINT index, LCID /*locale*/, ITypeInfo **typeInfo) {
    if (typeInfo == nullptr) return E_POINTER;
    *typeInfo = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return guarded([&] {
        const OwnTypes &own = OwnTypes::get();
        return FAILED(own.status) ? own.status : own.library->GetTypeInfoOfGuid(__uuidof(::_clsMPU), typeInfo);
    });
}

HRESULT ComMpu::GetIDsOfNames(REFIID reserved, LPOLESTR *names, UINT count, LCID /*locale*/, DISPID *identifiers) {
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || identifiers == nullptr || count == 0) return E_INVALIDARG;
    return guarded([&] {
        const OwnTypes &own = OwnTypes::get();
        return FAILED(own.status) ? own.status : identifiersOf(*own.members, names, count, identifiers);
    });
}

HRESULT ComMpu::Invoke(DISPID identifier, REFIID reserved, LCID locale, WORD flags, DISPPARAMS *parameters,
                       VARIANT *result, EXCEPINFO *exception, UINT *badArgument) {
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (parameters == nullptr) return E_INVALIDARG;
    if (result != nullptr) ::VariantInit(result);
    return guarded([&] {
        const OwnTypes &own = OwnTypes::get();
        if (FAILED(own.status)) return own.status;
        return invokeLateBound(*own.members, static_cast<::_clsMPU *>(this), {identifier, locale, flags}, *parameters,
                               result, exception, badArgument);
    });
}

} // namespace kx3::com
