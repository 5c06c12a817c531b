// A call that names its member by a number and brings its arguments as variants.
#pragma once

#include <oaidl.h>
#include <windows.h>

namespace kx3::com {

/// What the caller says about the member: its identifier, the language of texts that become numbers, and
/// the ways of use that the caller allows (a script reads a property as METHOD or PROPERTYGET).
struct LateBoundMember {
    DISPID identifier;
    LCID locale;
    WORD flags;
};

/// Carry out IDispatch::GetIDsOfNames for a member's name and the names of its arguments, upper and lower
/// case alike. An unknown name gets DISPID_UNKNOWN, and the call fails.
[[nodiscard]] HRESULT identifiersOf(ITypeInfo &type, LPOLESTR *names, UINT count, DISPID *identifiers);

/// Carry out IDispatch::Invoke on `object`, whose interface `type` describes; each of its members takes at
/// most one argument. The call itself is the automation library's. Its argument is not: that library
/// refuses a variable of type Variant, which is what a script passes to an in/out Byte or Integer. So the
/// argument is converted to the member's type before the call, and a changed value is put back into the
/// caller's variable after it, also when the call has failed.
///
/// A caller's mistake leaves an error object that names member and argument; a failed member's status and
/// error object go into `exception` (the object stays when that is null). Raises out of memory.
[[nodiscard]] HRESULT invokeLateBound(ITypeInfo &type, void *object, const LateBoundMember &member,
                                      DISPPARAMS &parameters, VARIANT *result, EXCEPINFO *exception, UINT *badArgument);

} // namespace kx3::com
