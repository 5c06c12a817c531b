#include "simulator/com/session_host_object.h"

#include "base/error.h"
#include "base/text.h"
#include "com/error_object.h"
#include "outside/ui.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kx3sim {

namespace {

using kx3::Byte;
using kx3::ErrorNumber;
using kx3::Integer;
using kx3::com::OwnedVariant;

/// Arguments of a call, in the order of the operation, each converted to what it is asked for.
class Arguments {
  public:
    explicit Arguments(const DISPPARAMS &parameters) noexcept : parameters_(parameters) {}

    [[nodiscard]] Long number(UINT index) const {
        OwnedVariant converted;
        convert(index, VT_I4, converted);
        return V_I4(converted.get());
    }
    [[nodiscard]] Byte byte(UINT index) const {
        OwnedVariant converted;
        convert(index, VT_UI1, converted);
        return V_UI1(converted.get());
    }
    [[nodiscard]] std::u16string text(UINT index) const {
        OwnedVariant converted;
        convert(index, VT_BSTR, converted);
        const BSTR text = V_BSTR(converted.get());
        return std::u16string(kx3::platform::utf16({text, ::SysStringLen(text)}));
    }

  private:
    void convert(UINT index, VARTYPE type, OwnedVariant &converted) const {
        VARIANTARG *given = &parameters_.rgvarg[parameters_.cArgs - 1 - index];
        OwnedVariant plain;
        if (FAILED(::VariantCopyInd(plain.get(), given)) ||
            FAILED(::VariantChangeType(converted.get(), plain.get(), 0, type)))
            kx3::raise(ErrorNumber::typeMismatch);
    }

    const DISPPARAMS &parameters_;
};

void give(VARIANT &result, Long value) {
    V_VT(&result) = VT_I4;
    V_I4(&result) = value;
}
void give(VARIANT &result, bool value) {
    V_VT(&result) = VT_BOOL;
    V_BOOL(&result) = value ? VARIANT_TRUE : VARIANT_FALSE;
}

using Object = SessionHostObject;
struct Operation {
    const wchar_t *name;
    UINT arguments;
    void (*call)(Object &object, const Arguments &given, VARIANT &result);
};

constexpr Operation operations[] = {
    {L"EndOperation", 0, [](Object &o, const Arguments &, VARIANT &) { o.host().EndOperation(); }},
    {L"SetVcc", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().SetVcc(a.number(0)); }},
    {L"SetGndPin", 2, [](Object &o, const Arguments &a, VARIANT &) { o.host().SetGndPin(a.byte(0), a.byte(1)); }},
    {L"PowerStep", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().PowerStep(a.number(0)); }},
    {L"SignalPass", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().SignalPass(a.number(0)); }},
    {L"SignalFail", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().SignalFail(a.number(0)); }},
    {L"StartCheck", 0, [](Object &o, const Arguments &, VARIANT &r) { give(r, o.host().StartCheck()); }},
    {L"Delay", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().Delay(a.number(0)); }},
    {L"PollStatus", 1, [](Object &o, const Arguments &a, VARIANT &r) { give(r, o.host().PollStatus(a.number(0))); }},
    {L"ReportStartFailure", 0, [](Object &o, const Arguments &, VARIANT &) { o.host().ReportStartFailure(); }},
    {L"PrepareChip", 1, [](Object &o, const Arguments &a, VARIANT &r) { give(r, o.host().PrepareChip(a.byte(0))); }},
    {L"PrepareDevice32f", 2,
     [](Object &o, const Arguments &a, VARIANT &r) { give(r, o.host().PrepareDevice32f(a.byte(0), a.byte(1))); }},
    {L"PrepareDevice", 2,
     [](Object &o, const Arguments &a, VARIANT &r) { give(r, o.host().PrepareDevice(a.byte(0), a.byte(1))); }},
    {L"CompareWord", 5,
     [](Object &o, const Arguments &a, VARIANT &r) {
         give(r, o.host().CompareWord(a.byte(0), a.byte(1), a.number(2), a.number(3), a.number(4)));
     }},
    {L"CompareByte", 3,
     [](Object &o, const Arguments &a, VARIANT &r) {
         give(r, o.host().CompareByte(a.byte(0), a.number(1), a.number(2)));
     }},
    {L"AlgorithmLoaded", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().AlgorithmLoaded(a.number(0)); }},
    {L"Insert", 2, [](Object &o, const Arguments &a, VARIANT &) { o.insert(a.byte(0), a.byte(1)); }},
    {L"Open", 3,
     [](Object &o, const Arguments &a, VARIANT &) { o.open(static_cast<Integer>(a.number(0)), a.text(1), a.text(2)); }},
    {L"Close", 0, [](Object &o, const Arguments &, VARIANT &) { o.close(); }},
    {L"CarryOut", 1, [](Object &o, const Arguments &a, VARIANT &) { o.host().carryOut(a.number(0)); }},
    {L"Passed", 0, [](Object &o, const Arguments &, VARIANT &r) { give(r, o.host().signal() == Signal::pass); }},
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

void SessionHostObject::insert(Byte maker, Byte deviceCode) noexcept {
    maker_ = maker;
    deviceCode_ = deviceCode;
}

void SessionHostObject::open(Integer instance, std::u16string_view chipFile, std::u16string_view faults) {
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
        operation.call(*this, Arguments(*parameters), *value.get());
        if (result != nullptr) *result = *value.get(); // a scalar
        return S_OK;
    } catch (...) {
        return describe(kx3::describeCurrentException(), exception);
    }
}

} // namespace kx3sim
