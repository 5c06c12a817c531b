#include "com/dispatch_argument.h"

#include <cstring>

namespace kx3::com {

namespace {

constexpr VARTYPE variantVariable = VT_BYREF | VT_VARIANT;

bool isReference(const VARIANT &argument) noexcept { return (V_VT(&argument) & VT_BYREF) != 0; }

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

/// The argument itself, or the variant variable that it refers to; nullptr for a reference to
/// nothing.
VARIANT *behindVariable(VARIANTARG &given) noexcept {
    return V_VT(&given) == variantVariable ? V_VARIANTREF(&given) : &given;
}

} // namespace

HRESULT DispatchArgument::coerce(VARTYPE type, LCID locale) noexcept {
    VARIANT *source = behindVariable(given_);
    if (source == nullptr) return E_POINTER;
    if (V_VT(source) == VT_ERROR && V_ERROR(source) == DISP_E_PARAMNOTFOUND) return DISP_E_PARAMNOTOPTIONAL;
    if (isReference(*source)) {
        if (V_BYREF(source) == nullptr) return E_POINTER;
        const auto pointee = static_cast<VARTYPE>(V_VT(source) & ~VT_BYREF);
        if (widthOf(pointee) == 0) return DISP_E_TYPEMISMATCH;
    }
    OwnedVariant plain;
    HRESULT status = ::VariantCopyInd(plain.get(), source);
    if (SUCCEEDED(status)) status = ::VariantChangeTypeEx(value_.get(), plain.get(), locale, 0, type);
    if (SUCCEEDED(status)) before_ = *value_.get(); // a scalar: nothing is owned
    return status;
}

bool DispatchArgument::changed() const noexcept {
    return std::memcmp(&V_UI1(value_.get()), &V_UI1(&before_), widthOf(V_VT(&before_))) != 0;
}

HRESULT DispatchArgument::storeChanged(LCID locale) noexcept {
    if (!isReference(given_) || !changed()) return S_OK;
    VARIANT &variable = *behindVariable(given_);
    return isReference(variable) ? storeThrough(variable, locale) : storeInto(variable, locale);
}

HRESULT DispatchArgument::storeInto(VARIANT &variable, LCID locale) noexcept {
    OwnedVariant fresh;
    const bool keepsType = V_VT(&variable) != VT_EMPTY &&
                           SUCCEEDED(::VariantChangeTypeEx(fresh.get(), value_.get(), locale, 0, V_VT(&variable)));
    return ::VariantCopy(&variable, keepsType ? fresh.get() : value_.get());
}

HRESULT DispatchArgument::storeThrough(const VARIANT &reference, LCID locale) noexcept {
    const auto pointee = static_cast<VARTYPE>(V_VT(&reference) & ~VT_BYREF);
    OwnedVariant fresh;
    const HRESULT status = ::VariantChangeTypeEx(fresh.get(), value_.get(), locale, 0, pointee);
    if (SUCCEEDED(status)) std::memcpy(V_BYREF(&reference), &V_UI1(fresh.get()), widthOf(pointee));
    return status;
}

} // namespace kx3::com
