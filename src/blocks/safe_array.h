// Binds an array to foreign memory through its descriptor, and puts it back.
#pragma once

#include "blocks/array.h"
#include "blocks/variant.h"

#include <vector>

namespace kx3 {

/// Takes over an array's descriptor, so that its data pointer, element count and lower bound can be
/// set to a block's view; ReleaseArray (and the destructor) restore it exactly. A bound array
/// carries one lock more, which keeps it from being resized or erased.
///
/// LowerBound and CountOfElements of a dimension outside 1 to the bound number, or with nothing
/// bound, give 0 and store nothing. The other properties need a binding: without one they raise the
/// subscript error.
class clsSafeArray {
  public:
    clsSafeArray() = default;
    ~clsSafeArray() { ReleaseArray(); }
    clsSafeArray(const clsSafeArray &) = delete;
    clsSafeArray &operator=(const clsSafeArray &) = delete;

    [[nodiscard]] Integer Dimensions() const;
    /// Stores a number of dimensions that is not above the one at binding; a higher one is ignored.
    void Dimensions(Integer nDims);
    /// Flags as a sign-extended 16-bit value.
    [[nodiscard]] Long Features() const;
    /// Raises Overflow outside -32768 to 32767.
    void Features(Long iFeatures);
    [[nodiscard]] Long SizeofElements() const;
    void SizeofElements(Long lngElementsSize);
    [[nodiscard]] Long Locks() const;
    void Locks(Long nLocks);
    [[nodiscard]] void *PointerToData() const;
    void PointerToData(void *lngPtr);
    [[nodiscard]] Long LowerBound(Long lngDim = 1) const noexcept;
    void LowerBound(Long lngDim, Long lngLwrBound) noexcept;
    [[nodiscard]] Long CountOfElements(Long lngDim = 1) const noexcept;
    void CountOfElements(Long lngDim, Long lngCount) noexcept;

    /// Bind the array that `varArray` holds, refers to, or is the address of; an earlier binding
    /// ends first. A variant of any other type, and an unset array, bind nothing. Raises type
    /// mismatch when the number cannot become an address.
    void AttachToArray(const Variant &varArray);
    /// Restore the descriptor as it was at binding. Without a binding nothing happens.
    void ReleaseArray() noexcept;

  private:
    [[nodiscard]] ArrayDescriptor &head() const;
    [[nodiscard]] ArrayBound *bound(Long lngDim) const noexcept;

    ArrayDescriptor *target_ = nullptr;
    ArrayDescriptor savedHead_; ///< its one bound record is not used
    std::vector<ArrayBound> savedBounds_;
};

} // namespace kx3
