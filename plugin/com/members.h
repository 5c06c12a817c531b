// The members of _clsMPU as late-bound callers name them.
#pragma once

#include <kx3mpu6_idl.h>
#include <span>
#include <windows.h>

#include <oaidl.h>

namespace kx3::com {

/// One way to use a member: a method, or the reading or writing of a property.
struct Member {
    const wchar_t *name;
    DISPID identifier;
    WORD kind;               ///< DISPATCH_METHOD, DISPATCH_PROPERTYGET or DISPATCH_PROPERTYPUT
    VARTYPE type;            ///< of the one argument, or of the property's value; VT_EMPTY when none
    const wchar_t *argument; ///< name of a method's argument, or of the property that is written
    /// Call the member; `value` holds the argument, in/out, or takes the property's value.
    HRESULT (*call)(::_clsMPU &object, VARIANT *value);

    [[nodiscard]] UINT argumentCount() const noexcept { return argument == nullptr ? 0 : 1; }
};

/// All members, in the order of the interface.
[[nodiscard]] std::span<const Member> members() noexcept;
/// The member that `flags` select; nullptr when there is none.
[[nodiscard]] const Member *memberOf(DISPID identifier, WORD flags) noexcept;
/// Identifiers of a member's name and of names of its arguments, upper and lower case alike. False
/// when one is unknown, which then gets DISPID_UNKNOWN.
[[nodiscard]] bool identifiersOf(std::span<LPOLESTR> names, std::span<DISPID> identifiers) noexcept;
/// Whether the call's named arguments are the member's.
[[nodiscard]] bool namesFit(const Member &member, const DISPPARAMS &parameters) noexcept;

} // namespace kx3::com
