// Where an operation's blocks lie in the device.
#pragma once

#include "simulator/kx6sim.h"
#include "simulator/protocol.h"

#include <cstdint>
#include <optional>

namespace kx3sim {

/// Addresses that one run works on.
struct BlockRange {
    std::uint32_t first = 0;
    std::uint32_t addresses = 0;
    bool isLast = false;
};

/// Whether an operation runs once for each block of the device.
[[nodiscard]] bool runsInBlocks(protocol::Operation operation) noexcept;

/// Highest address that an operation works on: a verify, and a program of module arm_prg, end at a
/// multiple of 256 on devices of more than 10000 hex addresses.
[[nodiscard]] std::int32_t lastAddress(const kx6sim_geometry &geometry, protocol::Operation operation) noexcept;

/// Block `index` of an operation; nothing when the operation has no such block.
[[nodiscard]] std::optional<BlockRange> blockRange(const kx6sim_geometry &geometry, protocol::Operation operation,
                                                   std::uint32_t index) noexcept;

/// Bank that block data of a device travel through.
[[nodiscard]] Byte blockDataBank(const kx6sim_geometry &geometry) noexcept;
/// Bank of the data of operations that run at once.
[[nodiscard]] Byte directDataBank(const kx6sim_geometry &geometry) noexcept;

/// Part of the image that some families get sent for operations that run at once. In bytes.
struct DataWindow {
    std::size_t offset;
    std::size_t count;
};
[[nodiscard]] std::optional<DataWindow> directDataWindow(const kx6sim_geometry &geometry) noexcept;
/// The largest of these windows.
inline constexpr std::size_t largestDirectDataWindow = 0xA00;

/// Bytes of main memory that the device has.
[[nodiscard]] std::uint64_t mainBytes(const kx6sim_geometry &geometry) noexcept;

} // namespace kx3sim
