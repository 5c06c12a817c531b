#include "geometry.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace kx3console {

namespace {

/// What a driver's transfers look like, in bytes.
struct Driver {
    std::string_view name;
    std::int64_t readChunk;
    std::int64_t programChunk;
    std::int64_t largeProgramChunk; ///< for blocks of at least largeBlock addresses
    bool numbersReadChunks;         ///< a read request carries the transfer's number in a byte
};

constexpr std::int64_t largeBlock = 0x10000;
constexpr Driver arm32f{"arm_prg_32f", 0xC000, 0xC000, 0xC000, false};
constexpr Driver arm{"arm_prg", 0x8000, 0x8000, 0x10000, true};

constexpr std::int64_t largestByte = 255;
/// Larger devices end at a multiple of this for a verify and some programming.
constexpr std::int64_t roundedAbove = 0x10000;
constexpr std::int64_t rounding = 256;
/// The device buffer is addressed by signed 32-bit numbers and has 2200 bytes behind the data.
constexpr std::int64_t mostDataBytes = INT32_MAX - 2200;

const Driver *findDriver(std::int64_t modelType, std::int64_t selection) {
    if (modelType >= 74) return &arm32f;
    return modelType >= 40 && (selection & 0x41) == 0x40 ? &arm : nullptr;
}

/// How one operation divides a block.
struct Transfers {
    std::string_view operation;
    std::int64_t chunk;
    bool lastCountsBytes; ///< the number of transfers of the last block comes from bytes, not addresses
};

/// Blocks of a device: `last` + 1 of them, the last one with `lastSize` addresses.
struct Blocks {
    std::int64_t last;
    std::int64_t lastSize;
};

Blocks divide(const DeviceGeometry &device) {
    const std::int64_t end = device.size - 1;
    return {end / device.blockSize, end % device.blockSize + 1};
}

std::int64_t fullBlockTransfers(const DeviceGeometry &device, const Transfers &transfers) {
    return (device.blockSize - 1) / transfers.chunk + 1;
}

std::int64_t lastBlockTransfers(const DeviceGeometry &device, const Transfers &transfers, const Blocks &blocks) {
    const std::int64_t rest = blocks.lastSize - 1;
    return (transfers.lastCountsBytes ? rest * device.bytesPerAddress : rest) / transfers.chunk + 1;
}

std::int64_t fullBlockBytes(const DeviceGeometry &device, const Transfers &transfers) {
    return fullBlockTransfers(device, transfers) * transfers.chunk;
}

std::int64_t lastBlockBytes(const DeviceGeometry &device, const Transfers &transfers, const Blocks &blocks) {
    const std::int64_t rest = (blocks.lastSize - 1) * device.bytesPerAddress;
    return (lastBlockTransfers(device, transfers, blocks) - 1) * transfers.chunk + rest % transfers.chunk +
           device.bytesPerAddress;
}

std::string servableSizes(const Driver &driver, const DeviceGeometry &device) {
    if (device.bytesPerAddress == 2)
        return fmt::format(
            "Driver {0} serves word devices in blocks of 0x{1:X} addresses, or, up to 0x{1:X} addresses, "
            "as one block: set block_size = 0x{1:X}.",
            driver.name, driver.readChunk / 2);
    const std::string multiples =
        driver.readChunk == driver.largeProgramChunk
            ? fmt::format("a multiple of 0x{:X}", driver.readChunk)
            : fmt::format("0x{:X} or a multiple of 0x{:X}", driver.readChunk, driver.largeProgramChunk);
    return fmt::format("Driver {} serves byte devices in blocks of {}, or as one block of at least the device's size: "
                       "set block_size = 0x{:X}.",
                       driver.name, multiples, driver.readChunk);
}

/// A read stores (100 b + 85 + k) \ (last + 1) as a byte of progress after transfer k of block b.
bool readProgressFits(const DeviceGeometry &device, const Transfers &transfers, const Blocks &blocks) {
    const auto progress = [&blocks](std::int64_t block, std::int64_t count) {
        return (100 * block + 85 + count - 1) / (blocks.last + 1);
    };
    const std::int64_t most = progress(blocks.last, lastBlockTransfers(device, transfers, blocks));
    if (blocks.last == 0) return most <= largestByte;
    return std::max(most, progress(blocks.last - 1, fullBlockTransfers(device, transfers))) <= largestByte;
}

std::optional<std::string> transferProblem(const DeviceGeometry &device, const Transfers &transfers) {
    const Blocks blocks = divide(device);
    const auto differs = [&](std::string_view which, std::int64_t moved, std::int64_t held) {
        return fmt::format("block_size = 0x{:X} does not suit the driver: to {} it would move 0x{:X} bytes for {} of "
                           "0x{:X} bytes",
                           device.blockSize, transfers.operation, moved, which, held);
    };
    const std::int64_t moved = fullBlockBytes(device, transfers);
    const std::int64_t held = device.blockSize * device.bytesPerAddress;
    if (blocks.last > 0 && moved != held) return differs("a block", moved, held);
    const std::int64_t lastMoved = lastBlockBytes(device, transfers, blocks);
    const std::int64_t lastHeld = blocks.lastSize * device.bytesPerAddress;
    if (lastMoved != lastHeld) return differs("the last block", lastMoved, lastHeld);
    return std::nullopt;
}

std::optional<std::string> readProblem(const Driver &driver, const DeviceGeometry &device, const Transfers &transfers) {
    const Blocks blocks = divide(device);
    const std::int64_t most = std::max(blocks.last == 0 ? 0 : fullBlockTransfers(device, transfers),
                                       lastBlockTransfers(device, transfers, blocks));
    if (driver.numbersReadChunks && most - 1 > largestByte)
        return fmt::format("block_size = 0x{:X} needs {} transfers to read a block; the driver numbers at most {}",
                           device.blockSize, most, largestByte + 1);
    if (!readProgressFits(device, transfers, blocks))
        return fmt::format("block_size = 0x{:X} needs {} transfers to read a block; the driver cannot count the "
                           "progress of so many",
                           device.blockSize, most);
    return std::nullopt;
}

} // namespace

std::optional<GeometryProblem> geometryProblem(const DeviceGeometry &device) {
    if (device.size * device.bytesPerAddress > mostDataBytes)
        return GeometryProblem{fmt::format("size = 0x{:X} is larger than the device buffer can be", device.size),
                               fmt::format("At most 0x{:X} bytes are possible.", mostDataBytes)};
    const Driver *driver = findDriver(device.modelType, device.selection);
    if (driver == nullptr) return std::nullopt;
    if (device.size > roundedAbove && device.size % rounding != 0)
        return GeometryProblem{
            fmt::format("size = 0x{:X} is no multiple of 256: the last {} addresses would not be verified", device.size,
                        device.size % rounding),
            "A device of more than 0x10000 addresses must have a multiple of 256."};

    const Transfers read{"read or verify", driver->readChunk, false};
    const std::int64_t programChunk = device.blockSize >= largeBlock ? driver->largeProgramChunk : driver->programChunk;
    const Transfers program{"program", programChunk, true};
    std::optional<std::string> problem = transferProblem(device, read);
    if (!problem) problem = transferProblem(device, program);
    if (!problem) problem = readProblem(*driver, device, read);
    if (!problem) return std::nullopt;
    return GeometryProblem{*std::move(problem), servableSizes(*driver, device)};
}

std::string_view driverName(std::int64_t modelType, std::int64_t selection) {
    const Driver *driver = findDriver(modelType, selection);
    return driver == nullptr ? std::string_view() : driver->name;
}

} // namespace kx3console
