// One argument of a late-bound call.
#pragma once

#include "com/com_ptr.h"

namespace kx3::com {

/// An argument coerced to the type that the member takes. Callers hand over values, typed variables
/// (VT_BYREF and a type) or, as scripts do, variant variables (VT_BYREF | VT_VARIANT).
class DispatchArgument {
  public:
    explicit DispatchArgument(VARIANTARG &given) noexcept : given_(given) {}

    /// Convert to `type`, one of the automation library's scalar types. Fails with type mismatch,
    /// overflow, "not optional" for a missing argument, or E_POINTER for a reference to nothing.
    [[nodiscard]] HRESULT coerce(VARTYPE type, LCID locale) noexcept;
    /// Put a changed value back into the caller's variable, in that variable's type where it fits.
    [[nodiscard]] HRESULT storeChanged(LCID locale) noexcept;

    /// The value, in the field that belongs to `type`.
    [[nodiscard]] VARIANT *value() noexcept { return value_.get(); }

  private:
    [[nodiscard]] bool changed() const noexcept;
    [[nodiscard]] HRESULT storeInto(VARIANT &variable, LCID locale) noexcept;
    [[nodiscard]] HRESULT storeThrough(const VARIANT &reference, LCID locale) noexcept;

    VARIANTARG &given_;
    OwnedVariant value_;
    VARIANT before_{};
};

} // namespace kx3::com
