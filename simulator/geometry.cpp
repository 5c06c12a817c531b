#include "simulator/geometry.h"

#include <algorithm>

namespace kx3sim {

using protocol::Operation;

namespace {

constexpr std::int32_t largeDeviceAddresses = 0x10000;
constexpr std::int32_t roundedTo = 256;
constexpr std::size_t keyWindowBytes = 48;

bool endsRounded(const kx6sim_geometry &geometry, Operation operation) noexcept {
    if (geometry.addresses <= largeDeviceAddresses) return false;
    return operation == Operation::verify ||
           (operation == Operation::program && geometry.module == KX6SIM_MODULE_ARM_PRG);
}

} // namespace

bool runsInBlocks(Operation operation) noexcept {
    switch (operation) {
    case Operation::autoSequence:
    case Operation::autoProgram:
    case Operation::read:
    case Operation::verify:
    case Operation::program: return true;
    case Operation::blankCheck:
    case Operation::protect:
    case Operation::erase:
    case Operation::programConfiguration:
    case Operation::checkConfiguration: return false;
    }
    return false;
}

std::int32_t lastAddress(const kx6sim_geometry &geometry, Operation operation) noexcept {
    const std::int32_t end = geometry.addresses;
    return (endsRounded(geometry, operation) ? end / roundedTo * roundedTo : end) - 1;
}

std::optional<BlockRange> blockRange(const kx6sim_geometry &geometry, Operation operation,
                                     std::uint32_t index) noexcept {
    if (geometry.block_addresses <= 0 || geometry.first_address < 0) return std::nullopt;
    const std::int64_t size = geometry.block_addresses;
    const std::int64_t first = geometry.first_address + size * index;
    const std::int64_t last = lastAddress(geometry, operation);
    if (first > last) return std::nullopt;
    const std::int64_t addresses = std::min(size, last - first + 1);
    return BlockRange{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(addresses), first + size > last};
}

Byte directDataBank(const kx6sim_geometry &geometry) noexcept {
    return geometry.bank == 1 ? protocol::dataBankOfBank1 : protocol::dataBankOfOthers;
}

Byte blockDataBank(const kx6sim_geometry &geometry) noexcept {
    return geometry.module == KX6SIM_MODULE_ARM_PRG_32F ? protocol::dataBank32f : directDataBank(geometry);
}

std::optional<DataWindow> directDataWindow(const kx6sim_geometry &geometry) noexcept {
    switch (geometry.family) {
    case 0x1B:
    case 0x1C:
    case 0x1D: return DataWindow{0, largestDirectDataWindow};
    case 0x2E:
    case 0x2F:
    case 0x30:
    case 0x31: {
        const auto end = static_cast<std::size_t>(geometry.addresses);
        if (end < keyWindowBytes) return std::nullopt;
        return DataWindow{end - keyWindowBytes, keyWindowBytes};
    }
    default: return std::nullopt;
    }
}

std::uint64_t mainBytes(const kx6sim_geometry &geometry) noexcept {
    return static_cast<std::uint64_t>(geometry.addresses) * static_cast<std::uint64_t>(geometry.bytes_per_address);
}

} // namespace kx3sim
