#include "simulator/flash_array.h"

#include <algorithm>
#include <cstring>

namespace kx3sim {

namespace {

/// Program `count` bytes; returns the index of the first that cannot become what is wanted.
std::optional<std::size_t> clearBits(Byte *cells, const Byte *wanted, std::size_t count) {
    Byte conflicts = 0; // as narrow as the data, so that the loop runs on whole vectors of bytes
    for (std::size_t i = 0; i < count; ++i)
        conflicts = static_cast<Byte>(conflicts | (wanted[i] & ~cells[i]));
    if (conflicts == 0) {
        std::memcpy(cells, wanted, count);
        return std::nullopt;
    }
    std::size_t i = 0;
    while ((wanted[i] & ~cells[i]) == 0) {
        cells[i] = wanted[i];
        ++i;
    }
    cells[i] &= wanted[i];
    return i;
}

bool allErased(const Byte *cells, std::size_t count) {
    Byte bits = FlashArray::erased;
    for (std::size_t i = 0; i < count; ++i)
        bits &= cells[i];
    return bits == FlashArray::erased;
}

/// Index of the first byte that is not FF, `count` when there is none.
std::size_t findProgrammed(const Byte *cells, std::size_t count) {
    if (allErased(cells, count)) return count;
    return static_cast<std::size_t>(std::find_if(cells, cells + count, [](Byte b) { return b != FlashArray::erased; }) -
                                    cells);
}

/// Index of the first difference, `count` when there is none.
std::size_t findDifference(const Byte *left, const Byte *right, std::size_t count) {
    if (std::memcmp(left, right, count) == 0) return count;
    return static_cast<std::size_t>(std::mismatch(left, left + count, right).first - left);
}

} // namespace

void Storage::reserve(std::size_t needed) {
    if (capacity >= needed) return;
    bytes.reset(); // before the new allocation: never two of them at a time
    capacity = 0;
    bytes = std::make_unique_for_overwrite<Byte[]>(needed);
    capacity = needed;
}

FlashArray::FlashArray(std::size_t size) : size_(size), isErased_((size + sectorBytes - 1) / sectorBytes, 1) {
    cells_.reserve(size);
}

FlashArray::Piece FlashArray::pieceAt(std::size_t offset, std::size_t end) const noexcept {
    const std::size_t sector = offset / sectorBytes;
    const std::size_t sectorEnd = std::min((sector + 1) * sectorBytes, size_);
    const std::size_t pieceEnd = std::min(end, sectorEnd);
    return {sector, offset, pieceEnd - offset, offset == sector * sectorBytes && pieceEnd == sectorEnd};
}

template <class Visit>
std::optional<std::size_t> FlashArray::forPieces(std::size_t offset, std::size_t count, Visit &&visit) const {
    const std::size_t end = offset + count;
    while (offset < end) {
        const Piece piece = pieceAt(offset, end);
        if (const std::optional<std::size_t> found = visit(piece)) return found;
        offset += piece.count;
    }
    return std::nullopt;
}

void FlashArray::materialise(const Piece &about) {
    if (isErased_[about.sector] == 0) return;
    isErased_[about.sector] = 0;
    if (about.whole) return;
    const std::size_t first = about.sector * sectorBytes;
    std::memset(&cells_.bytes[first], erased, std::min(sectorBytes, size_ - first));
}

Byte FlashArray::operator[](std::size_t offset) const {
    return isErased_[offset / sectorBytes] != 0 ? erased : cells_.bytes[offset];
}

void FlashArray::eraseAll() { std::fill(isErased_.begin(), isErased_.end(), Byte{1}); }

void FlashArray::erase(std::size_t offset, std::size_t count) {
    forPieces(offset, count, [&](const Piece &piece) -> std::optional<std::size_t> {
        if (piece.whole)
            isErased_[piece.sector] = 1;
        else if (isErased_[piece.sector] == 0)
            std::memset(&cells_.bytes[piece.offset], erased, piece.count);
        return std::nullopt;
    });
}

std::optional<std::size_t> FlashArray::program(std::size_t offset, std::span<const Byte> wanted) {
    return forPieces(offset, wanted.size(), [&](const Piece &piece) -> std::optional<std::size_t> {
        const Byte *source = &wanted[piece.offset - offset];
        if (isErased_[piece.sector] != 0) {
            materialise(piece);
            std::memcpy(&cells_.bytes[piece.offset], source, piece.count);
            return std::nullopt;
        }
        const std::optional<std::size_t> stuck = clearBits(&cells_.bytes[piece.offset], source, piece.count);
        return stuck ? std::optional(piece.offset + *stuck) : std::nullopt;
    });
}

bool FlashArray::adopt(Storage &wanted) noexcept {
    const bool blank = std::all_of(isErased_.begin(), isErased_.end(), [](Byte mark) { return mark != 0; });
    if (!blank || wanted.capacity < size_) return false;
    std::swap(cells_, wanted);
    std::fill(isErased_.begin(), isErased_.end(), Byte{0});
    return true;
}

std::optional<std::size_t> FlashArray::firstProgrammed(std::size_t offset, std::size_t count) const {
    return forPieces(offset, count, [&](const Piece &piece) -> std::optional<std::size_t> {
        if (isErased_[piece.sector] != 0) return std::nullopt;
        const std::size_t found = findProgrammed(&cells_.bytes[piece.offset], piece.count);
        return found == piece.count ? std::nullopt : std::optional(piece.offset + found);
    });
}

std::optional<std::size_t> FlashArray::firstDifference(std::size_t offset, std::span<const Byte> wanted) const {
    return forPieces(offset, wanted.size(), [&](const Piece &piece) -> std::optional<std::size_t> {
        const Byte *expected = &wanted[piece.offset - offset];
        const std::size_t found = isErased_[piece.sector] != 0
                                      ? findProgrammed(expected, piece.count)
                                      : findDifference(&cells_.bytes[piece.offset], expected, piece.count);
        return found == piece.count ? std::nullopt : std::optional(piece.offset + found);
    });
}

void FlashArray::read(std::size_t offset, std::span<Byte> destination) const {
    forPieces(offset, destination.size(), [&](const Piece &piece) -> std::optional<std::size_t> {
        Byte *target = &destination[piece.offset - offset];
        if (isErased_[piece.sector] != 0)
            std::memset(target, erased, piece.count);
        else
            std::memcpy(target, &cells_.bytes[piece.offset], piece.count);
        return std::nullopt;
    });
}

void FlashArray::store(std::size_t offset, std::span<const Byte> source) {
    forPieces(offset, source.size(), [&](const Piece &piece) -> std::optional<std::size_t> {
        materialise(piece);
        std::memcpy(&cells_.bytes[piece.offset], &source[piece.offset - offset], piece.count);
        return std::nullopt;
    });
}

void FlashArray::flipBit(std::size_t offset, unsigned bit) {
    const auto flipped = static_cast<Byte>((*this)[offset] ^ (1U << bit));
    store(offset, std::span(&flipped, 1));
}

} // namespace kx3sim
