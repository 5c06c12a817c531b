#include "com/late_bound_call.h"

#include "base/text.h"
#include "com/com_ptr.h"
#include "com/error_object.h"
#include "platform/win32/wide.h"

#include <algorithm>
#include <cstring>

namespace kx3::com {

namespace {

struct FunctionReleaser {
    ITypeInfo *type;
    void operator()(FUNCDESC *function) const noexcept { type->ReleaseFuncDesc(function); }
};
/// One way to use a member: a method, or the reading or writing of a property.
using Function = std::unique_ptr<FUNCDESC, FunctionReleaser>;

Function functionOf(ITypeInfo &type, const LateBoundMember &member) {
    FUNCDESC *found = nullptr;
    for (UINT i = 0; SUCCEEDED(type.GetFuncDesc(i, &found)); ++i) {
        Function function(found, {&type});
        if (function->memid == member.identifier && (function->invkind & member.flags) != 0) return function;
    }
    return Function(nullptr, {&type});
}

/// Arguments that callers pass: a property's value comes back as the result.
UINT argumentCount(const FUNCDESC &function) noexcept {
    return function.invkind == INVOKE_PROPERTYGET ? 0 : static_cast<UINT>(function.cParams);
}

VARTYPE argumentType(const FUNCDESC &function) noexcept {
    const TYPEDESC &type = function.lprgelemdescParam[0].tdesc;
    return type.vt == VT_PTR ? type.lptdesc->vt : type.vt;
}

/// Whether the call's named arguments are the member's.
bool namesFit(const FUNCDESC &function, const DISPPARAMS &parameters) noexcept {
    const bool writesProperty = function.invkind == INVOKE_PROPERTYPUT;
    if (parameters.cNamedArgs == 0) return !writesProperty;
    constexpr DISPID onlyArgument = 0;
    return parameters.cNamedArgs == 1 && parameters.cArgs == 1 &&
           parameters.rgdispidNamedArgs[0] == (writesProperty ? DISPID_PROPERTYPUT : onlyArgument);
}

/// "member" or "member: argument"; the argument of a written property has the property's name.
std::u16string nameOf(ITypeInfo &type, const FUNCDESC &function, bool withArgument) {
    BSTR names[2] = {};
    UINT count = 0;
    type.GetNames(function.memid, names, 2, &count);
    const Bstr member(names[0]);
    const Bstr argument(names[1]);
    const auto text = [](const Bstr &name) { return platform::utf16({name.get(), ::SysStringLen(name.get())}); };
    if (!withArgument) return std::u16string(text(member));
    return join(text(member), u": ", text(function.invkind == INVOKE_FUNC ? argument : member));
}

std::u16string_view detailOf(HRESULT status) noexcept {
    switch (status) {
    case DISP_E_TYPEMISMATCH: return standardDescription(ErrorNumber::typeMismatch);
    case DISP_E_OVERFLOW: return standardDescription(ErrorNumber::overflow);
    case DISP_E_PARAMNOTOPTIONAL: return u"Argument not optional";
    case E_OUTOFMEMORY: return standardDescription(ErrorNumber::outOfMemory);
    default: return standardDescription(ErrorNumber::invalidCall);
    }
}

bool isReference(const VARIANT &argument) noexcept { return (V_VT(&argument) & VT_BYREF) != 0; }

VARTYPE pointeeOf(const VARIANT &reference) noexcept { return static_cast<VARTYPE>(V_VT(&reference) & ~VT_BYREF); }

/// Bytes of a scalar type that a typed variable can have; 0 for all other types.
std::size_t widthOf(VARTYPE type) noexcept {
    switch (type) {
    case VT_I1:
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL: return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4: return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE: return 8;
    default: return 0;
    }
}

/// An argument on its way to a member and back. Callers hand over values, typed variables (VT_BYREF and
/// a type) or, as scripts do, variables of type Variant (VT_BYREF | VT_VARIANT), which may in turn hold a
/// reference to a typed variable.
class Argument {
  public:
    explicit Argument(VARIANTARG &given) noexcept
        : given_(given), source_(pointeeOf(given) == VT_VARIANT ? V_VARIANTREF(&given) : &given) {}

    /// Convert to `type`, a scalar of at most four bytes. Fails with type mismatch, overflow, "not
    /// optional" for a missing argument, or E_POINTER for a reference to nothing.
    [[nodiscard]] HRESULT convert(VARTYPE type, LCID locale) noexcept {
        if (source_ == nullptr) return E_POINTER;
        if (V_VT(source_) == VT_ERROR && V_ERROR(source_) == DISP_E_PARAMNOTFOUND) return DISP_E_PARAMNOTOPTIONAL;
        if (isReference(*source_)) {
            if (V_BYREF(source_) == nullptr) return E_POINTER;
            if (widthOf(pointeeOf(*source_)) == 0) return DISP_E_TYPEMISMATCH;
        }
        OwnedVariant plain;
        HRESULT status = ::VariantCopyInd(plain.get(), source_);
        if (SUCCEEDED(status)) status = ::VariantChangeTypeEx(value_.get(), plain.get(), locale, 0, type);
        before_ = V_I4(value_.get());
        return status;
    }

    /// The converted value, as a variable of its own.
    [[nodiscard]] VARIANTARG variable() noexcept {
        VARIANTARG made{};
        V_VT(&made) = static_cast<VARTYPE>(VT_BYREF | V_VT(value_.get()));
        V_BYREF(&made) = &V_I4(value_.get());
        return made;
    }

    /// Put a changed value back into the caller's variable, in that variable's type where it fits.
    [[nodiscard]] HRESULT storeChanged(LCID locale) noexcept {
        if (!isReference(given_) || V_I4(value_.get()) == before_) return S_OK;
        OwnedVariant fresh;
        const VARTYPE type = pointeeOf(*source_);
        const HRESULT status =
            type == VT_EMPTY ? DISP_E_TYPEMISMATCH : ::VariantChangeTypeEx(fresh.get(), value_.get(), locale, 0, type);
        if (!isReference(*source_)) return ::VariantCopy(source_, SUCCEEDED(status) ? fresh.get() : value_.get());
        if (SUCCEEDED(status)) std::memcpy(V_BYREF(source_), &V_UI1(fresh.get()), widthOf(type));
        return status;
    }

  private:
    VARIANTARG &given_;
    VARIANT *source_; ///< `given_` itself, or the Variant that it refers to
    OwnedVariant value_;
    LONG before_ = 0;
};

} // namespace

HRESULT identifiersOf(ITypeInfo &type, LPOLESTR *names, UINT count, DISPID *identifiers) {
    const HRESULT status = type.GetIDsOfNames(names, count, identifiers);
    constexpr WORD anyUse = DISPATCH_METHOD | DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT;
    const Function function = functionOf(type, {identifiers[0], 0, anyUse});
    // The description also knows the members of IUnknown and IDispatch, which nobody calls late-bound, and
    // a name for the value of a property, which is no argument of its caller.
    const UINT known = !function ? 0 : function->invkind == INVOKE_FUNC ? count : 1;
    std::fill(identifiers + known, identifiers + count, DISPID_UNKNOWN);
    return known < count ? DISP_E_UNKNOWNNAME : status;
}

HRESULT invokeLateBound(ITypeInfo &type, void *object, const LateBoundMember &member, DISPPARAMS &parameters,
                        VARIANT *result, EXCEPINFO *exception, UINT *badArgument) {
    const Function function = functionOf(type, member);
    if (!function) return DISP_E_MEMBERNOTFOUND;
    const auto badCall = [&](HRESULT status, bool namesArgument, std::u16string_view detail) {
        return fail(status, join(nameOf(type, *function, namesArgument), u": ", detail));
    };
    if (parameters.cArgs != argumentCount(*function))
        return badCall(DISP_E_BADPARAMCOUNT, false, u"Wrong number of arguments");
    if (!namesFit(*function, parameters)) return badCall(DISP_E_PARAMNOTFOUND, false, u"Named argument not found");
    if (parameters.cArgs == 0)
        return type.Invoke(object, member.identifier, member.flags, &parameters, result, exception, badArgument);

    Argument argument(parameters.rgvarg[0]);
    const HRESULT unfit = argument.convert(argumentType(*function), member.locale);
    if (FAILED(unfit)) {
        if (badArgument != nullptr) *badArgument = 0;
        return badCall(unfit, true, detailOf(unfit));
    }
    VARIANTARG variable = argument.variable();
    DISPPARAMS converted = parameters;
    converted.rgvarg = &variable;
    const HRESULT status =
        type.Invoke(object, member.identifier, member.flags, &converted, result, exception, badArgument);
    const HRESULT stored = argument.storeChanged(member.locale);
    return SUCCEEDED(status) && FAILED(stored) ? badCall(stored, false, detailOf(stored)) : status;
}

} // namespace kx3::com
