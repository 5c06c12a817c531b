// The chip in the socket, and its memories.
#pragma once

#include "base/types.h"
#include "simulator/kx6sim.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace kx3sim {

using kx3::Byte;

/// The one exception of the simulated programmer; the C interface turns it into a status and a text.
class Failure : public std::runtime_error {
  public:
    Failure(kx6sim_status status, const std::string &text) : std::runtime_error(text), status_(status) {}
    [[nodiscard]] kx6sim_status status() const noexcept { return status_; }

  private:
    kx6sim_status status_;
};

/// Memory of a chip. Offsets and counts are bytes; every range must lie inside (the caller's duty).
/// Sectors that nobody has written are not touched, so that the system gives them no page.
class Memory {
  public:
    static constexpr Byte erased = 0xFF;
    static constexpr std::size_t sectorBytes = 4096;
    static constexpr std::uint64_t most = std::uint64_t{1} << 30U;

    /// Erased memory. Throws Failure when `size` is above `most`.
    explicit Memory(std::uint64_t size);

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool contains(std::uint64_t offset, std::uint64_t count) const noexcept {
        return offset <= size_ && count <= size_ - offset;
    }
    [[nodiscard]] Byte operator[](std::size_t offset) const { return *cells(offset); }
    void read(std::size_t offset, std::span<Byte> destination) const;

    void erase(std::size_t offset, std::size_t count);
    /// Any value replaces any other.
    void store(std::size_t offset, std::span<const Byte> source);
    void flip(std::size_t offset, unsigned bit) { *cells(offset) ^= static_cast<Byte>(1U << bit); }
    /// As flash does: bits only become 0. Stops at the first byte that would need a 1 and returns its
    /// offset; that byte and all before it have been programmed.
    [[nodiscard]] std::optional<std::size_t> program(std::size_t offset, std::span<const Byte> wanted);

    /// Offset of the first byte in the range that is not erased.
    [[nodiscard]] std::optional<std::size_t> firstProgrammed(std::size_t offset, std::size_t count) const;
    /// Offset of the first byte that differs from `wanted`.
    [[nodiscard]] std::optional<std::size_t> firstDifference(std::size_t offset, std::span<const Byte> wanted) const;

  private:
    /// The bytes from `offset` to the end of its sector, to be read or to be written.
    [[nodiscard]] const Byte *cells(std::size_t offset) const;
    [[nodiscard]] Byte *cells(std::size_t offset);

    std::size_t size_;
    std::unique_ptr<Byte[]> cells_;
    std::vector<bool> isWritten_; ///< by sector: without it no cell holds anything, all its bytes are erased
};

struct Chip {
    Memory main;
    Memory eeprom;
    Memory configuration{KX6SIM_CONFIGURATION_BYTES};
    kx6sim_identity identity;
    bool isProtected = false;
    bool changed = false; ///< since it was inserted, loaded or saved

    /// An erased chip. Throws Failure when a memory is too large or the identity is not valid.
    Chip(std::uint64_t mainBytes, std::uint64_t eepromBytes, const kx6sim_identity &itsIdentity);

    /// A memory by its number KX6SIM_AREA_...; throws Failure when there is none.
    [[nodiscard]] Memory &area(std::int32_t number);
    /// Erase everything, the protection too.
    void massErase();
};

/// Throws Failure when there are no or too many device codes.
void requireValid(const kx6sim_identity &identity);

} // namespace kx3sim
