#include "simulator/device.h"

#include "outside/driver_table.h"
#include "simulator/chip.h"

#include <algorithm>

namespace kx3sim {

using protocol::Operation;

namespace {

const kx3::ArmProfile *driverOf(std::uint8_t module) {
    if (module == KX6SIM_MODULE_NONE) return nullptr;
    const auto call =
        module == KX6SIM_MODULE_ARM_PRG_32F ? kx3::PrepareCall::PrepareDevice32f : kx3::PrepareCall::PrepareDevice;
    return std::ranges::find_if(kx3::armProfiles,
                                [call](const kx3::ArmProfile &driver) { return driver.prepareCall == call; });
}

void require(bool holds, const char *text) {
    if (!holds) throw Failure(KX6SIM_BAD_ARGUMENT, text);
}

} // namespace

Device::Device(const kx6sim_geometry &geometry) : geometry_(geometry), driver_(driverOf(geometry.module)) {
    require(geometry.addresses > 0, "a device needs at least one address");
    require(geometry.bytes_per_address == 1 || geometry.bytes_per_address == 2, "an address has 1 or 2 bytes");
    require(geometry.eeprom_bytes >= 0, "a negative EEPROM size");
    require(bytesOf(whole()).count <= Memory::most, "a device that is too large");
    require(geometry.module <= KX6SIM_MODULE_NONE, "no such module");
}

std::int32_t Device::lastAddress(Operation operation) const noexcept {
    const bool rounds = operation == Operation::verify ||
                        (operation == Operation::program && driver_ != nullptr && driver_->roundsProgramEnd);
    const std::int32_t end = geometry_.addresses;
    return (rounds && end > kx3::largeDevice ? end / kx3::endRounding * kx3::endRounding : end) - 1;
}

std::optional<BlockRange> Device::block(Operation operation, std::uint32_t index) const noexcept {
    if (geometry_.block_addresses <= 0 || geometry_.first_address < 0) return std::nullopt;
    const std::int64_t size = geometry_.block_addresses;
    const std::int64_t first = geometry_.first_address + size * index;
    const std::int64_t last = lastAddress(operation);
    if (first > last) return std::nullopt;
    const std::int64_t addresses = std::min(size, last - first + 1);
    return BlockRange{static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(addresses), first + size > last};
}

Byte Device::directDataBank() const noexcept {
    return geometry_.bank == 1 ? protocol::dataBankOfBank1 : protocol::dataBankOfOthers;
}

Byte Device::blockDataBank() const noexcept {
    return driver_ != nullptr && !driver_->announcesBank ? protocol::fixedDataBank : directDataBank();
}

DataRange Device::directData() const noexcept {
    for (const kx3::FamilyData &data : kx3::familyData) {
        if (geometry_.family < data.firstFamily || geometry_.family > data.lastFamily) continue;
        const auto count = static_cast<std::size_t>(data.bytes);
        if (!data.atEnd) return {0, count};
        const auto end = static_cast<std::size_t>(geometry_.addresses);
        if (end >= count) return {end - count, count};
    }
    return {};
}

std::size_t Device::mostData() const noexcept {
    constexpr std::int32_t direct = std::ranges::max(kx3::familyData, {}, &kx3::FamilyData::bytes).bytes;
    const std::int32_t block = std::clamp(geometry_.block_addresses, 0, geometry_.addresses);
    return std::max(bytesOf(static_cast<std::uint32_t>(block)) + protocol::trailingBytes,
                    static_cast<std::size_t>(direct));
}

} // namespace kx3sim
