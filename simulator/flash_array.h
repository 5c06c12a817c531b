// Memory that behaves as flash does: erasing gives FF, programming only turns ones into zeros.
#pragma once

#include "base/types.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace kx3sim {

using kx3::Byte;

/// Uninitialised bytes. Untouched memory costs no page of the system.
struct Storage {
    std::unique_ptr<Byte[]> bytes;
    std::size_t capacity = 0;

    /// Make room for `needed` bytes; the contents are lost when that takes a new allocation.
    void reserve(std::size_t needed);
};

/// Offsets and counts are bytes; every range must lie inside the array (the caller's duty).
///
/// Sectors that are erased are only marked so: erasing writes nothing, and the first programming of
/// a sector is a plain copy.
class FlashArray {
  public:
    static constexpr Byte erased = 0xFF;
    static constexpr std::size_t sectorBytes = 4096;

    /// An erased array.
    explicit FlashArray(std::size_t size);

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool contains(std::size_t offset, std::size_t count) const noexcept {
        return offset <= size_ && count <= size_ - offset;
    }
    [[nodiscard]] Byte operator[](std::size_t offset) const;

    void eraseAll();
    void erase(std::size_t offset, std::size_t count);

    /// Program `wanted` at `offset`. Stops at the first byte that would need a zero to become a
    /// one and returns its offset; that byte and all before it have been programmed.
    [[nodiscard]] std::optional<std::size_t> program(std::size_t offset, std::span<const Byte> wanted);

    /// Program the whole array from the first `size()` bytes of `wanted` by taking its memory over,
    /// without a copy; `wanted` gets the array's old memory. False when the array is not erased or
    /// `wanted` is too small; nothing has changed then.
    [[nodiscard]] bool adopt(Storage &wanted) noexcept;

    /// Offset of the first byte in the range that is not erased.
    [[nodiscard]] std::optional<std::size_t> firstProgrammed(std::size_t offset, std::size_t count) const;
    /// Offset of the first byte that differs from `wanted`.
    [[nodiscard]] std::optional<std::size_t> firstDifference(std::size_t offset, std::span<const Byte> wanted) const;

    void read(std::size_t offset, std::span<Byte> destination) const;
    /// Store bytes without the rules of flash.
    void store(std::size_t offset, std::span<const Byte> source);
    void flipBit(std::size_t offset, unsigned bit);

  private:
    /// The part of a range that lies in one sector.
    struct Piece {
        std::size_t sector;
        std::size_t offset; ///< in the array
        std::size_t count;
        bool whole; ///< covers all of its sector that exists
    };
    [[nodiscard]] Piece pieceAt(std::size_t offset, std::size_t end) const noexcept;
    /// `visit(piece)` for each piece of a range, until one returns an offset.
    template <class Visit>
    std::optional<std::size_t> forPieces(std::size_t offset, std::size_t count, Visit &&visit) const;
    /// Give a sector that is only marked as erased its bytes, but for those of `about`, which the
    /// caller is going to write.
    void materialise(const Piece &about);

    std::size_t size_;
    Storage cells_;
    std::vector<Byte> isErased_; ///< by sector: its cells hold nothing, all its bytes are FF
};

} // namespace kx3sim
