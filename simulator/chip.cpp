#include "simulator/chip.h"

#include <algorithm>
#include <cstring>

namespace kx3sim {

namespace {

constexpr auto erasedSector = [] {
    std::array<Byte, Memory::sectorBytes> cells{};
    cells.fill(Memory::erased);
    return cells;
}();

/// Call `visit(offset, count)` for the part of a range in each sector until one returns less than
/// `count`, the index of the byte that it found; returns that byte's offset.
template <class Visit>
std::optional<std::size_t> findInSectors(std::size_t offset, std::size_t count, const Visit &visit) {
    const std::size_t end = offset + count;
    while (offset < end) {
        const std::size_t part = std::min(end - offset, Memory::sectorBytes - offset % Memory::sectorBytes);
        const std::size_t found = visit(offset, part);
        if (found < part) return offset + found;
        offset += part;
    }
    return std::nullopt;
}

/// The same where there is nothing to find.
template <class Visit> void forSectors(std::size_t offset, std::size_t count, const Visit &visit) {
    findInSectors(offset, count, [&](std::size_t at, std::size_t part) { return visit(at, part), part; });
}

/// Index of the first difference, `count` when there is none.
std::size_t differenceIn(const Byte *left, const Byte *right, std::size_t count) {
    if (std::memcmp(left, right, count) == 0) return count;
    return static_cast<std::size_t>(std::mismatch(left, left + count, right).first - left);
}

/// Program bytes of one sector; the index of the first that cannot become what is wanted, `count` when
/// there is none.
std::size_t clearBits(Byte *cells, const Byte *wanted, std::size_t count) {
    if (std::memcmp(cells, erasedSector.data(), count) == 0) { // the usual case, and fast
        std::memcpy(cells, wanted, count);
        return count;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const bool fits = (wanted[i] & ~cells[i]) == 0;
        cells[i] &= wanted[i];
        if (!fits) return i;
    }
    return count;
}

} // namespace

Memory::Memory(std::uint64_t size) : size_(static_cast<std::size_t>(size)) {
    if (size > most) throw Failure(KX6SIM_BAD_ARGUMENT, "no such chip size");
    isWritten_.resize((size_ + sectorBytes - 1) / sectorBytes);
    cells_ = std::make_unique_for_overwrite<Byte[]>(isWritten_.size() * sectorBytes);
}

const Byte *Memory::cells(std::size_t offset) const {
    return isWritten_[offset / sectorBytes] ? &cells_[offset] : &erasedSector[offset % sectorBytes];
}

Byte *Memory::cells(std::size_t offset) {
    const std::size_t sector = offset / sectorBytes;
    if (!isWritten_[sector]) std::memcpy(&cells_[sector * sectorBytes], erasedSector.data(), sectorBytes);
    isWritten_[sector] = true;
    return &cells_[offset];
}

void Memory::read(std::size_t offset, std::span<Byte> destination) const {
    forSectors(offset, destination.size(),
               [&](std::size_t at, std::size_t part) { std::memcpy(&destination[at - offset], cells(at), part); });
}

void Memory::erase(std::size_t offset, std::size_t count) {
    forSectors(offset, count, [&](std::size_t at, std::size_t part) {
        if (isWritten_[at / sectorBytes]) std::memset(cells(at), erased, part);
    });
}

void Memory::store(std::size_t offset, std::span<const Byte> source) {
    forSectors(offset, source.size(),
               [&](std::size_t at, std::size_t part) { std::memcpy(cells(at), &source[at - offset], part); });
}

std::optional<std::size_t> Memory::program(std::size_t offset, std::span<const Byte> wanted) {
    return findInSectors(offset, wanted.size(), [&](std::size_t at, std::size_t part) {
        return clearBits(cells(at), &wanted[at - offset], part);
    });
}

std::optional<std::size_t> Memory::firstProgrammed(std::size_t offset, std::size_t count) const {
    return findInSectors(offset, count, [&](std::size_t at, std::size_t part) {
        return differenceIn(cells(at), erasedSector.data(), part);
    });
}

std::optional<std::size_t> Memory::firstDifference(std::size_t offset, std::span<const Byte> wanted) const {
    return findInSectors(offset, wanted.size(), [&](std::size_t at, std::size_t part) {
        return differenceIn(cells(at), &wanted[at - offset], part);
    });
}

void requireValid(const kx6sim_identity &identity) {
    if (identity.code_count == 0 || identity.code_count > KX6SIM_MAX_DEVICE_CODES)
        throw Failure(KX6SIM_BAD_ARGUMENT, "a chip has 1 to " + std::to_string(KX6SIM_MAX_DEVICE_CODES) +
                                               " device-code bytes, not " + std::to_string(identity.code_count));
}

Chip::Chip(std::uint64_t mainBytes, std::uint64_t eepromBytes, const kx6sim_identity &itsIdentity)
    : main(mainBytes), eeprom(eepromBytes), identity(itsIdentity) {
    requireValid(identity);
}

Memory &Chip::area(std::int32_t number) {
    switch (number) {
    case KX6SIM_AREA_MAIN: return main;
    case KX6SIM_AREA_EEPROM: return eeprom;
    case KX6SIM_AREA_CONFIGURATION: return configuration;
    default: throw Failure(KX6SIM_BAD_ARGUMENT, "no such area");
    }
}

void Chip::massErase() {
    for (Memory *memory : {&main, &eeprom, &configuration})
        memory->erase(0, memory->size());
    isProtected = false;
}

} // namespace kx3sim
