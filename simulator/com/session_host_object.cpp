#include "simulator/com/session_host_object.h"

#include "base/error.h"
#include "base/text.h"
#include "com/error_object.h"
#include "outside/ui.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

namespace kx3sim {

namespace {

using kx3::Byte;
using kx3::ErrorNumber;
using kx3::Integer;
using kx3::com::OwnedVariant;

/// What an argument must be for a parameter of type `Value`. Raises type mismatch.
template <class Value> Value argumentAs(VARIANTARG &given) {
    constexpr bool isText = std::is_same_v<Value, std::u16string>;
    OwnedVariant plain;
    OwnedVariant converted;
    constexpr VARTYPE type = isText ? VT_BSTR : std::is_same_v<Value, Byte> ? VT_UI1 : VT_I4;
    if (FAILED(::VariantCopyInd(plain.get(), &given)) ||
        FAILED(::VariantChangeType(converted.get(), plain.get(), 0, type)))
        kx3::raise(ErrorNumber::typeMismatch);
    if constexpr (isText)
        return std::u16string(kx3::platform::utf16({V_BSTR(converted.get()), ::SysStringLen(V_BSTR(converted.get()))}));
    else if constexpr (type == VT_UI1)
        return V_UI1(converted.get());
    else
        return static_cast<Value>(V_I4(converted.get()));
}

void give(VARIANT &result, Long value) {
    V_VT(&result) = VT_I4;
    V_I4(&result) = value;
}
void give(VARIANT &result, bool value) {
    V_VT(&result) = VT_BOOL;
    V_BOOL(&result) = value ? VARIANT_TRUE : VARIANT_FALSE;
}

/// Call `member` of `object` with the arguments of a late-bound call, the last of which stands first.
template <class Object, class Class, class Result, class... Parameters>
void callMember(Object &object, Result (Class::*member)(Parameters...), VARIANTARG *arguments, VARIANT &result) {
    [&]<std::size_t... Index>(std::index_sequence<Index...>) {
        const auto called = [&] {
            return (object.*member)(
                argumentAs<std::remove_cvref_t<Parameters>>(arguments[sizeof...(Parameters) - 1 - Index])...);
        };
        if constexpr (std::is_void_v<Result>)
            called();
        else
            give(result, called());
    }
    (std::index_sequence_for<Parameters...>());
}

template <class Result, class Class, class... Parameters> constexpr UINT countOf(Result (Class::*)(Parameters...)) {
    return sizeof...(Parameters);
}

struct Operation {
    const wchar_t *name;
    UINT arguments;
    void (*call)(SessionHostObject &object, VARIANTARG *arguments, VARIANT &result);
};

/// A row for an operation of the session host, and one for what only this object can do.
template <auto member> constexpr Operation ofHost(const wchar_t *name) {
    return {name, countOf(member), [](SessionHostObject &object, VARIANTARG *arguments, VARIANT &result) {
                callMember(object.host(), member, arguments, result);
            }};
}
template <auto member> constexpr Operation ofObject(const wchar_t *name) {
    return {name, countOf(member), [](SessionHostObject &object, VARIANTARG *arguments, VARIANT &result) {
                callMember(object, member, arguments, result);
            }};
}

constexpr Operation operations[] = {
#define KX3_OPERATION(name, result, parameters, arguments) ofHost<&kx3::SessionHost::name>(L"" #name),
#include "outside/session_host_operations.inc"
    ofObject<&SessionHostObject::insert>(L"Insert"), ofObject<&SessionHostObject::open>(L"Open"),
    ofObject<&SessionHostObject::close>(L"Close"),   ofObject<&SessionHostObject::carryOut>(L"CarryOut"),
    ofObject<&SessionHostObject::passed>(L"Passed"),
};

constexpr DISPID firstIdentifier = 1;

/// The blocks exist already, so that nothing is ever shown.
class NoUi final : public kx3::Ui {
  public:
    kx3::MessageBoxResult messageBox(std::u16string_view prompt, Long, std::optional<std::u16string_view>) override {
        kx3::raise(ErrorNumber::deviceIo, prompt);
    }
    void yield() override {}
    void showModal(kx3::Form &) override {}
};

HRESULT describe(const kx3::Failure &failure, EXCEPINFO *exception) noexcept {
    if (exception != nullptr) {
        *exception = {};
        exception->scode = kx3::com::statusOf(failure.number);
        exception->bstrSource = ::SysAllocString(L"kx3host.SessionHost");
        exception->bstrDescription = ::SysAllocString(kx3::platform::wide(failure.description));
    }
    return DISP_E_EXCEPTION;
}

} // namespace

SessionHostObject &SessionHostObject::theOne() {
    // Never destroyed: the process's end takes it.
    static auto *const object = new SessionHostObject;
    return *object;
}

SessionHost &SessionHostObject::host() {
    if (!host_) kx3::raise(ErrorNumber::objectNotSet, u"Object variable not set: call Open first");
    return *host_;
}

void SessionHostObject::insert(Byte maker, Byte deviceCode) {
    maker_ = maker;
    deviceCode_ = deviceCode;
}

void SessionHostObject::open(Integer instance, const std::u16string &chipFile, const std::u16string &faults) {
    Options options;
    if (!chipFile.empty()) options.chipFile = std::filesystem::path(chipFile);
    options.faults = kx3::toUtf8(faults);
    options.maker = maker_;
    options.deviceCodes = {deviceCode_};
    NoUi ui;
    blocks_.MapSharedBlocks(instance, ui);
    blocks_.MapDeviceBuffer(blocks_.buflength(0) + kx3::deviceBufferExtra, ui);
    host_.emplace(std::move(options));
    host_->setBlocks(hostBlocks(blocks_));
}

void SessionHostObject::close() {
    host().saveChip();
    host_.reset();
    blocks_.UnmapDeviceBuffer();
    blocks_.UnmapSharedBlocks();
}

void SessionHostObject::carryOut(Long operation) { host().carryOut(operation); }

bool SessionHostObject::passed() { return host().signal() == Signal::pass; }

HRESULT SessionHostObject::QueryInterface(REFIID id, void **object) {
    if (object == nullptr) return E_POINTER;
    *object = id == IID_IUnknown || id == IID_IDispatch ? this : nullptr;
    return *object == nullptr ? E_NOINTERFACE : S_OK;
}

HRESULT SessionHostObject::GetTypeInfoCount(UINT *count) {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
}

HRESULT SessionHostObject::GetTypeInfo(UINT, LCID, ITypeInfo **typeInfo) {
    if (typeInfo != nullptr) *typeInfo = nullptr;
    return E_NOTIMPL;
}

HRESULT SessionHostObject::GetIDsOfNames(REFIID, LPOLESTR *names, UINT count, LCID, DISPID *identifiers) {
    if (names == nullptr || identifiers == nullptr || count == 0) return E_INVALIDARG;
    std::fill_n(identifiers, count, DISPID_UNKNOWN);
    const auto *found = std::ranges::find_if(operations, [&](const Operation &operation) {
        return ::CompareStringOrdinal(operation.name, -1, names[0], -1, TRUE) == CSTR_EQUAL;
    });
    if (found == std::end(operations)) return DISP_E_UNKNOWNNAME;
    identifiers[0] = firstIdentifier + static_cast<DISPID>(found - operations);
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT SessionHostObject::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS *parameters, VARIANT *result,
                                  EXCEPINFO *exception, UINT *) {
    if (parameters == nullptr) return E_INVALIDARG;
    const auto index = static_cast<std::size_t>(member - firstIdentifier);
    if (index >= std::size(operations)) return DISP_E_MEMBERNOTFOUND;
    const Operation &operation = operations[index];
    if (parameters->cArgs != operation.arguments) return DISP_E_BADPARAMCOUNT;
    try {
        OwnedVariant value;
        operation.call(*this, parameters->rgvarg, *value.get());
        if (result != nullptr) *result = *value.get(); // a scalar
        return S_OK;
    } catch (...) {
        return describe(kx3::describeCurrentException(), exception);
    }
}

} // namespace kx3sim
