// The engine's array descriptor is the automation library's, field for field: a real SAFEARRAY can
// be bound, and an array of ours can go wherever one is expected.

#include "blocks/array.h"
#include "blocks/variant.h"

#include <windows.h>

#include <oleauto.h>

namespace kx3 {

static_assert(sizeof(ArrayBound) == sizeof(SAFEARRAYBOUND));
static_assert(offsetof(ArrayBound, cElements) == offsetof(SAFEARRAYBOUND, cElements));
static_assert(offsetof(ArrayBound, lLbound) == offsetof(SAFEARRAYBOUND, lLbound));

static_assert(sizeof(ArrayDescriptor) == sizeof(SAFEARRAY));
static_assert(offsetof(ArrayDescriptor, cDims) == offsetof(SAFEARRAY, cDims));
static_assert(offsetof(ArrayDescriptor, fFeatures) == offsetof(SAFEARRAY, fFeatures));
static_assert(offsetof(ArrayDescriptor, cbElements) == offsetof(SAFEARRAY, cbElements));
static_assert(offsetof(ArrayDescriptor, cLocks) == offsetof(SAFEARRAY, cLocks));
static_assert(offsetof(ArrayDescriptor, pvData) == offsetof(SAFEARRAY, pvData));
static_assert(offsetof(ArrayDescriptor, rgsabound) == offsetof(SAFEARRAY, rgsabound));

static_assert(int{variantEmpty} == VT_EMPTY && int{variantNull} == VT_NULL);
static_assert(int{variantInteger} == VT_I2 && int{variantLong} == VT_I4 && int{variantDouble} == VT_R8);
static_assert(int{variantString} == VT_BSTR && int{variantBoolean} == VT_BOOL && int{variantByte} == VT_UI1);
static_assert(int{variantArray} == VT_ARRAY && int{variantByReference} == VT_BYREF);

} // namespace kx3
