#include "blocks/safe_array.h"

#include "base/checked.h"

#include <algorithm>
#include <cstring>

namespace kx3 {

namespace {

constexpr std::size_t headBytes = offsetof(ArrayDescriptor, rgsabound);

/// An address that came as a number is one of an array variable when its type number has either of
/// its two lowest bits set.
constexpr std::uint16_t numericBits = 3;

ArrayDescriptor *descriptorAtVariable(ArrayDescriptor **variable) { return variable == nullptr ? nullptr : *variable; }

std::intptr_t asAddress(const Variant &variant) {
    switch (variant.type) {
    case variantInteger:
    case variantLong:
    case variantBoolean:
    case variantByte: return variant.number;
    case variantDouble: return roundToLong(variant.real);
    default: raise(ErrorNumber::typeMismatch);
    }
}

ArrayDescriptor *descriptorOf(const Variant &variant) {
    if ((variant.type & variantArray) != 0)
        return (variant.type & variantByReference) != 0 ? descriptorAtVariable(variant.arrayVariable) : variant.array;
    if ((variant.type & numericBits) == 0) return nullptr;
    return descriptorAtVariable(reinterpret_cast<ArrayDescriptor **>(asAddress(variant)));
}

} // namespace

void clsSafeArray::AttachToArray(const Variant &varArray) {
    ReleaseArray();
    ArrayDescriptor *descriptor = descriptorOf(varArray);
    if (descriptor == nullptr) return;
    const std::size_t dimensions = std::max<std::size_t>(descriptor->cDims, 1);
    savedBounds_.assign(descriptor->rgsabound, descriptor->rgsabound + dimensions);
    std::memcpy(static_cast<void *>(&savedHead_), descriptor, headBytes);
    target_ = descriptor;
    ++target_->cLocks;
}

void clsSafeArray::ReleaseArray() noexcept {
    if (target_ == nullptr) return;
    std::memcpy(static_cast<void *>(target_), &savedHead_, headBytes);
    std::copy(savedBounds_.begin(), savedBounds_.end(), target_->rgsabound);
    target_ = nullptr;
    savedBounds_.clear();
}

ArrayDescriptor &clsSafeArray::head() const {
    if (target_ == nullptr) raise(ErrorNumber::subscript);
    return *target_;
}

ArrayBound *clsSafeArray::bound(Long lngDim) const noexcept {
    const bool known = lngDim >= 1 && static_cast<std::size_t>(lngDim) <= savedBounds_.size();
    return known ? target_->rgsabound + (lngDim - 1) : nullptr;
}

Integer clsSafeArray::Dimensions() const { return static_cast<Integer>(head().cDims); }
void clsSafeArray::Dimensions(Integer nDims) {
    ArrayDescriptor &live = head();
    if (nDims <= static_cast<Long>(savedHead_.cDims)) live.cDims = static_cast<std::uint16_t>(nDims);
}

Long clsSafeArray::Features() const { return static_cast<Integer>(head().fFeatures); }
void clsSafeArray::Features(Long iFeatures) {
    ArrayDescriptor &live = head();
    live.fFeatures = static_cast<std::uint16_t>(narrow<Integer>(iFeatures));
}

Long clsSafeArray::SizeofElements() const { return static_cast<Long>(head().cbElements); }
void clsSafeArray::SizeofElements(Long lngElementsSize) {
    head().cbElements = static_cast<std::uint32_t>(lngElementsSize);
}

Long clsSafeArray::Locks() const { return static_cast<Long>(head().cLocks); }
void clsSafeArray::Locks(Long nLocks) { head().cLocks = static_cast<std::uint32_t>(nLocks); }

void *clsSafeArray::PointerToData() const { return head().pvData; }
void clsSafeArray::PointerToData(void *lngPtr) { head().pvData = lngPtr; }

Long clsSafeArray::LowerBound(Long lngDim) const noexcept {
    const ArrayBound *record = bound(lngDim);
    return record == nullptr ? 0 : record->lLbound;
}
void clsSafeArray::LowerBound(Long lngDim, Long lngLwrBound) noexcept {
    if (ArrayBound *record = bound(lngDim)) record->lLbound = lngLwrBound;
}

Long clsSafeArray::CountOfElements(Long lngDim) const noexcept {
    const ArrayBound *record = bound(lngDim);
    return record == nullptr ? 0 : static_cast<Long>(record->cElements);
}
void clsSafeArray::CountOfElements(Long lngDim, Long lngCount) noexcept {
    if (ArrayBound *record = bound(lngDim)) record->cElements = static_cast<std::uint32_t>(lngCount);
}

} // namespace kx3
