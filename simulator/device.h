// The device as the host prepared it: its blocks, and the data that its operations take.
#pragma once

#include "simulator/kx6sim.h"
#include "simulator/protocol.h"

#include <cstdint>
#include <optional>

namespace kx3 {
struct ArmProfile;
}

namespace kx3sim {

/// Addresses that one run works on.
struct BlockRange {
    std::uint32_t first = 0;
    std::uint32_t addresses = 0;
    bool isLast = false;
};

/// A part of main memory, in bytes.
struct DataRange {
    std::size_t offset = 0;
    std::size_t count = 0;
};

class Device {
  public:
    /// Throws Failure when there can be no such device.
    explicit Device(const kx6sim_geometry &geometry);

    [[nodiscard]] const kx6sim_geometry *operator->() const noexcept { return &geometry_; }
    [[nodiscard]] std::size_t bytesOf(std::uint32_t addresses) const noexcept {
        return std::size_t{addresses} * static_cast<std::size_t>(geometry_.bytes_per_address);
    }
    [[nodiscard]] DataRange bytesOf(const BlockRange &block) const noexcept {
        return {bytesOf(block.first), bytesOf(block.addresses)};
    }
    [[nodiscard]] BlockRange whole() const noexcept {
        return {0, static_cast<std::uint32_t>(geometry_.addresses), true};
    }
    /// No programmer runs an algorithm on it: a status report is always its identity.
    [[nodiscard]] bool isPinDriven() const noexcept { return geometry_.module == KX6SIM_MODULE_NONE; }

    /// Block `index` of an operation; nothing when the operation has no such block.
    [[nodiscard]] std::optional<BlockRange> block(protocol::Operation operation, std::uint32_t index) const noexcept;
    /// Bank that block data travel through.
    [[nodiscard]] Byte blockDataBank() const noexcept;
    /// Bank of the data of operations that run at once.
    [[nodiscard]] Byte directDataBank() const noexcept;
    /// The part of the image that operations that run at once take; empty for most families.
    [[nodiscard]] DataRange directData() const noexcept;
    /// Most bytes that a run takes.
    [[nodiscard]] std::size_t mostData() const noexcept;

  private:
    [[nodiscard]] std::int32_t lastAddress(protocol::Operation operation) const noexcept;

    kx6sim_geometry geometry_;
    const kx3::ArmProfile *driver_; ///< null for a pin-driven device
};

} // namespace kx3sim
