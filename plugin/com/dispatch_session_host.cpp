#include "com/dispatch_session_host.h"

#include "base/error.h"
#include "base/text.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <iterator>

namespace kx3::com {

namespace {

constexpr std::u16string_view className = u"SessionHost";
constexpr const wchar_t *operationNames[] = {
#define KX3_OPERATION(name, result, parameters, arguments) L"" #name,
#include "outside/session_host_operations.inc"
};

/// "name: detail", the form of all messages about a call.
[[noreturn]] void raiseAbout(ErrorNumber number, const wchar_t *operation, std::u16string_view detail) {
    raise(number, join(className, u".", platform::utf16(operation), u": ", detail));
}

/// Exceptions of the late-bound call that stand for an error number of its own.
ErrorNumber numberOf(HRESULT status) noexcept {
    constexpr DWORD facilityMask = 0xFFFF0000U;
    constexpr DWORD controlFacility = 0x800A0000U;
    const auto bits = static_cast<DWORD>(status);
    if ((bits & facilityMask) == controlFacility) return static_cast<ErrorNumber>(bits & 0xFFFFU);
    switch (status) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND: return ErrorNumber::memberNotFound;
    case DISP_E_TYPEMISMATCH: return ErrorNumber::typeMismatch;
    case DISP_E_OVERFLOW: return ErrorNumber::overflow;
    case E_OUTOFMEMORY: return ErrorNumber::outOfMemory;
    default: return ErrorNumber::automation;
    }
}

/// What an EXCEPINFO holds, freed at the end.
struct CallException : EXCEPINFO {
    CallException() noexcept : EXCEPINFO{} {}
    ~CallException() {
        ::SysFreeString(bstrSource);
        ::SysFreeString(bstrDescription);
        ::SysFreeString(bstrHelpFile);
    }
    CallException(const CallException &) = delete;
    CallException &operator=(const CallException &) = delete;

    [[nodiscard]] ErrorNumber number() const noexcept {
        // A server fills one of the two.
        return scode != 0 ? numberOf(scode) : static_cast<ErrorNumber>(wCode);
    }
    [[nodiscard]] std::u16string_view description() const noexcept {
        if (bstrDescription == nullptr) return {};
        return platform::utf16({bstrDescription, ::SysStringLen(bstrDescription)});
    }
};

[[noreturn]] void raiseFailedCall(HRESULT status, CallException &exception, const wchar_t *operation) {
    if (status != DISP_E_EXCEPTION) {
        const ErrorNumber number = numberOf(status);
        const std::u16string_view wording = standardDescription(number);
        if (number != ErrorNumber::automation) raiseAbout(number, operation, wording);
        raiseAbout(number, operation, join(wording, u" ", hex(static_cast<Long>(status))));
    }
    if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
    const ErrorNumber number = exception.number();
    const std::u16string_view description = exception.description();
    raiseAbout(number, operation, description.empty() ? standardDescription(number) : description);
}

VARIANTARG byReference(Byte &value) noexcept {
    VARIANTARG argument;
    V_VT(&argument) = VT_BYREF | VT_UI1;
    V_UI1REF(&argument) = &value;
    return argument;
}

VARIANTARG byReference(Long &value) noexcept {
    static_assert(sizeof(Long) == sizeof(LONG));
    VARIANTARG argument;
    V_VT(&argument) = VT_BYREF | VT_I4;
    V_BYREF(&argument) = &value;
    return argument;
}

/// A call's own variables, as the late-bound call takes them: by reference, the last one first.
template <class... Arguments> std::array<VARIANTARG, sizeof...(Arguments)> asVariables(Arguments &...arguments) {
    std::array<VARIANTARG, sizeof...(Arguments)> variables{byReference(arguments)...};
    std::reverse(variables.begin(), variables.end());
    return variables;
}

bool isFalse(const OwnedVariant &result) noexcept {
    return V_VT(result.get()) == VT_BOOL && V_BOOL(result.get()) == VARIANT_FALSE;
}

// What each kind of result in the list of operations makes of the variant that came back; an empty one is 0.
void resultAs_void(OwnedVariant & /*result*/, const wchar_t * /*operation*/) noexcept {}
bool resultAs_bool(OwnedVariant &result, const wchar_t * /*operation*/) noexcept { return !isFalse(result); }
Long resultAs_Long(OwnedVariant &result, const wchar_t *operation) {
    if (V_VT(result.get()) == VT_I4) return V_I4(result.get());
    const HRESULT status = ::VariantChangeType(result.get(), result.get(), 0, VT_I4);
    if (FAILED(status)) raiseAbout(numberOf(status), operation, standardDescription(numberOf(status)));
    return V_I4(result.get());
}
Long resultAs_ByteResult(OwnedVariant &result, const wchar_t *operation) {
    constexpr Long trueAsByte = 255;
    if (V_VT(result.get()) == VT_BOOL) return isFalse(result) ? 0 : trueAsByte;
    return resultAs_Long(result, operation);
}

} // namespace

DispatchSessionHost::DispatchSessionHost() { connect(); }

void DispatchSessionHost::connect() {
    CLSID classId{};
    HRESULT status = ::CLSIDFromProgID(sessionHostProgId, &classId);
    if (SUCCEEDED(status)) {
        constexpr DWORD anywhere = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER;
        status = ::CoCreateInstance(classId, nullptr, anywhere, IID_IDispatch, receive(host_));
    }
    if (FAILED(status))
        raise(ErrorNumber::cannotCreateObject,
              join(standardDescription(ErrorNumber::cannotCreateObject), u": ", platform::utf16(sessionHostProgId)));
    identifiers_.fill(DISPID_UNKNOWN);
}

void DispatchSessionHost::disconnect() noexcept { host_.reset(); }

void DispatchSessionHost::abandon() noexcept { (void)host_.release(); }

DISPID DispatchSessionHost::identifierOf(Operation operation) {
    DISPID &known = identifiers_[static_cast<std::size_t>(operation)];
    if (known == DISPID_UNKNOWN) {
        const wchar_t *name = operationNames[static_cast<std::size_t>(operation)];
        auto *asked = const_cast<OLECHAR *>(name); // the call does not write to it
        const HRESULT status = host_->GetIDsOfNames(IID_NULL, &asked, 1, LOCALE_USER_DEFAULT, &known);
        if (FAILED(status)) {
            known = DISPID_UNKNOWN;
            raiseAbout(numberOf(status), name, standardDescription(numberOf(status)));
        }
    }
    return known;
}

void DispatchSessionHost::call(Operation operation, std::span<VARIANTARG> arguments, OwnedVariant &result) {
    if (!host_) connect();
    const DISPID identifier = identifierOf(operation);
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    CallException exception;
    // The host's object must live while it runs, whatever it lets happen here meanwhile.
    const ComPtr<IDispatch> host = addReference(host_.get());
    const HRESULT status = host->Invoke(identifier, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                                        result.get(), &exception, nullptr);
    if (FAILED(status)) raiseFailedCall(status, exception, operationNames[static_cast<std::size_t>(operation)]);
    if ((V_VT(result.get()) & VT_BYREF) != 0) ::VariantCopyInd(result.get(), result.get());
}

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result DispatchSessionHost::name parameters {                                                                      \
        auto variables = asVariables arguments;                                                                        \
        OwnedVariant returned;                                                                                         \
        call(Operation::name, variables, returned);                                                                    \
        return resultAs_##result(returned, L"" #name);                                                                 \
    }
#include "outside/session_host_operations.inc"

} // namespace kx3::com
