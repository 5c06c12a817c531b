// Self-describing arrays: a descriptor in the SAFEARRAY layout plus storage that is the array's own
// or a bound view onto a shared block.
#pragma once

#include "base/error.h"
#include "base/types.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kx3 {

/// Bound record of one dimension.
struct ArrayBound {
    std::uint32_t cElements = 0;
    std::int32_t lLbound = 0;
};

/// Array descriptor: field for field the automation library's SAFEARRAY (pointers are as wide as
/// the process's). Records of further dimensions follow the first.
struct ArrayDescriptor {
    std::uint16_t cDims = 1;
    std::uint16_t fFeatures = 0;
    std::uint32_t cbElements = 0;
    std::uint32_t cLocks = 0;
    void *pvData = nullptr;
    ArrayBound rgsabound[1];
};
static_assert(offsetof(ArrayDescriptor, cbElements) == 4 && offsetof(ArrayDescriptor, cLocks) == 8);
static_assert(sizeof(void *) != 4 ||
              (offsetof(ArrayDescriptor, pvData) == 12 && offsetof(ArrayDescriptor, rgsabound) == 16));

/// Element types of the shared blocks.
enum class ElementType : std::uint8_t { byte, boolean, integer, longInteger, doubleFloat, string };

/// Width in bytes of one element.
[[nodiscard]] constexpr std::uint32_t elementWidth(ElementType type) {
    switch (type) {
    case ElementType::byte: return 1;
    case ElementType::boolean:
    case ElementType::integer: return 2;
    case ElementType::longInteger:
    case ElementType::string: return 4;
    case ElementType::doubleFloat: return 8;
    }
    return 0;
}

template <class T> inline constexpr ElementType elementTypeOf = ElementType::byte;
template <> inline constexpr ElementType elementTypeOf<Boolean> = ElementType::boolean;
template <> inline constexpr ElementType elementTypeOf<Integer> = ElementType::integer;
template <> inline constexpr ElementType elementTypeOf<Long> = ElementType::longInteger;
template <> inline constexpr ElementType elementTypeOf<Double> = ElementType::doubleFloat;
template <> inline constexpr ElementType elementTypeOf<String> = ElementType::string;

/// What all arrays share, whatever their element type: descriptor, own storage of one element, and
/// the array variable (a pointer to the descriptor, null while the array is unset).
class ArrayBase {
  public:
    ArrayBase(const ArrayBase &) = delete;
    ArrayBase &operator=(const ArrayBase &) = delete;

    /// Make the array one zero element of its own at index 0. Raises "array locked" while bound.
    void reset();

    /// Address of the array variable, as a variant that refers to the array carries it.
    [[nodiscard]] ArrayDescriptor **variable() noexcept { return &variable_; }
    [[nodiscard]] const ArrayDescriptor &descriptor() const noexcept { return descriptor_; }
    [[nodiscard]] ElementType elementType() const noexcept { return type_; }
    /// Number of elements; 0 while the array is unset.
    [[nodiscard]] std::uint32_t count() const noexcept { return descriptor_.rgsabound[0].cElements; }

  protected:
    /// `root` is the name of the block that the array shows, without its prefix; it stays valid.
    ArrayBase(ElementType type, std::string_view root) noexcept;
    ~ArrayBase();

    /// Raise the subscript error of element `index`, which this array does not have.
    [[noreturn]] void refuse(std::int64_t index) const;

  private:
    void freeOwnText() noexcept;

    ArrayDescriptor descriptor_;
    ArrayDescriptor *variable_ = nullptr;
    ElementType type_;
    std::string_view root_;
    alignas(8) std::byte own_[8] = {};
};

/// Array of `T` (Byte, Boolean, Integer, Long, Double or String), indexed from its lower bound,
/// which is 0 for every shared block. Each access is tested against the bounds; a bad index is the
/// subscript error, which names the block and the index.
template <class T> class Array : public ArrayBase {
  public:
    explicit Array(std::string_view root) noexcept : ArrayBase(elementTypeOf<T>, root) {}

    /// Element `index`, in place.
    [[nodiscard]] T &operator()(Long index) { return *static_cast<T *>(element(index)); }
    [[nodiscard]] const T &operator()(Long index) const { return *static_cast<const T *>(element(index)); }

    /// Elements `first` to `first + length - 1`, in place, for a transfer. The whole range must lie
    /// inside the array; a length below 0 is a subscript error, too. A length of 0 needs a valid
    /// first index, since an address goes outside.
    [[nodiscard]] std::span<T> range(Long first, Long length) {
        if (length < 0) refuse(std::int64_t{first} + length);
        if (length > 1) (void)dataForLast(first, length);
        return {static_cast<T *>(element(first)), static_cast<std::size_t>(length)};
    }

  private:
    [[nodiscard]] void *element(Long index) const {
        const ArrayBound &bound = descriptor().rgsabound[0];
        const std::uint32_t offset = static_cast<std::uint32_t>(index) - static_cast<std::uint32_t>(bound.lLbound);
        if (offset >= bound.cElements) [[unlikely]]
            refuse(index);
        return static_cast<T *>(descriptor().pvData) + offset;
    }
    [[nodiscard]] void *dataForLast(Long first, Long length) const {
        const std::int64_t last = static_cast<std::int64_t>(first) + length - 1;
        if (last > INT32_MAX) refuse(last);
        return element(static_cast<Long>(last));
    }
};

/// Copy of the text of element `index`.
[[nodiscard]] std::u16string readText(const Array<String> &array, Long index);
/// Store `text` in element `index`: the old text is freed, the element gets a new handle.
void storeText(Array<String> &array, Long index, std::u16string_view text);
/// Append `text` to the text of element `index`.
void appendText(Array<String> &array, Long index, std::u16string_view text);

} // namespace kx3
