#include "geometry.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace kx3console {

namespace {

constexpr std::int64_t largestByte = UINT8_MAX;
/// The device buffer is addressed by signed 32-bit numbers and has 2200 bytes behind the data.
constexpr std::int64_t mostDataBytes = INT32_MAX - 2200;

/// How a device is divided: its addresses in blocks, a block in transfers of the driver.
class Division {
  public:
    Division(const Profile &profile, const kx3_driver_info &driver)
        : driver_(driver), blockSize_(profile.integer(ProfileKey::block_size)),
          width_(profile.integer(ProfileKey::bytes_per_address)),
          lastBlock_((profile.integer(ProfileKey::size) - 1) / blockSize_),
          lastAddress_((profile.integer(ProfileKey::size) - 1) % blockSize_) {}

    [[nodiscard]] std::optional<std::string> problem() const {
        const std::int64_t programChunk =
            blockSize_ >= driver_.large_block ? driver_.large_program_chunk : driver_.program_chunk;
        // A program run counts the transfers of the last block from bytes, the others from addresses.
        auto problem = transferProblem("read or verify", driver_.read_chunk, false);
        if (!problem) problem = transferProblem("program", programChunk, true);
        return problem ? problem : readProblem();
    }

    /// A block size that the driver can serve.
    [[nodiscard]] std::string advice() const {
        if (width_ == 2)
            return fmt::format("Driver {0} serves word devices in blocks of 0x{1:X} addresses, or, up to 0x{1:X} "
                               "addresses, as one block: set block_size = 0x{1:X}.",
                               driver_.module, driver_.read_chunk / 2);
        const std::string multiples =
            driver_.read_chunk == driver_.large_program_chunk
                ? fmt::format("a multiple of 0x{:X}", driver_.read_chunk)
                : fmt::format("0x{:X} or a multiple of 0x{:X}", driver_.read_chunk, driver_.large_program_chunk);
        return fmt::format("Driver {} serves byte devices in blocks of {}, or as one block of at least the device's "
                           "size: set block_size = 0x{:X}.",
                           driver_.module, multiples, driver_.read_chunk);
    }

  private:
    /// What the transfers of one block come to, and what it holds.
    struct Block {
        std::string_view name;
        std::int64_t transfers;
        std::int64_t movedBytes;
        std::int64_t heldBytes;
    };

    /// A full block, if the device has one, and the last one.
    [[nodiscard]] std::vector<Block> blocks(std::int64_t chunk, bool lastCountsBytes) const {
        std::vector<Block> blocks;
        const std::int64_t full = (blockSize_ - 1) / chunk + 1;
        if (lastBlock_ > 0) blocks.push_back({"a block", full, full * chunk, blockSize_ * width_});
        const std::int64_t more = (lastCountsBytes ? lastAddress_ * width_ : lastAddress_) / chunk;
        blocks.push_back({"the last block", more + 1, more * chunk + lastAddress_ * width_ % chunk + width_,
                          (lastAddress_ + 1) * width_});
        return blocks;
    }

    [[nodiscard]] std::optional<std::string> transferProblem(std::string_view purpose, std::int64_t chunk,
                                                             bool lastCountsBytes) const {
        for (const Block &block : blocks(chunk, lastCountsBytes))
            if (block.movedBytes != block.heldBytes)
                return fmt::format("block_size = 0x{:X} does not suit the driver: to {} it would move 0x{:X} bytes "
                                   "for {} of 0x{:X} bytes",
                                   blockSize_, purpose, block.movedBytes, block.name, block.heldBytes);
        return std::nullopt;
    }

    [[nodiscard]] std::optional<std::string> readProblem() const {
        std::int64_t most = 0;
        std::int64_t progress = 0;
        const std::vector<Block> read = blocks(driver_.read_chunk, false);
        for (std::size_t i = 0; i < read.size(); ++i) {
            most = std::max(most, read[i].transfers);
            // A read stores (100 b + 85 + k) \ (last + 1) as a byte of progress after transfer k of block b.
            const std::int64_t block = lastBlock_ - static_cast<std::int64_t>(read.size() - 1 - i);
            progress = std::max(progress, (100 * block + 85 + read[i].transfers - 1) / (lastBlock_ + 1));
        }
        if (driver_.numbers_read_chunks != 0 && most - 1 > largestByte)
            return fmt::format("block_size = 0x{:X} needs {} transfers to read a block; the driver numbers at most {}",
                               blockSize_, most, largestByte + 1);
        if (progress > largestByte)
            return fmt::format("block_size = 0x{:X} needs {} transfers to read a block; the driver cannot count the "
                               "progress of so many",
                               blockSize_, most);
        return std::nullopt;
    }

    const kx3_driver_info &driver_;
    std::int64_t blockSize_; ///< addresses
    std::int64_t width_;     ///< bytes of an address
    std::int64_t lastBlock_;
    std::int64_t lastAddress_; ///< of the device, in its last block
};

} // namespace

std::optional<kx3_driver_info> driverOf(const Profile &profile) {
    kx3_driver_info driver = kx3_driver_info_init();
    const auto modelType = static_cast<std::int16_t>(profile.integer(ProfileKey::model_type));
    const auto selection = static_cast<std::uint8_t>(profile.integer(ProfileKey::selection));
    if (kx3_driver_describe(modelType, selection, &driver) != KX3_OK) return std::nullopt;
    return driver;
}

std::optional<Failure> geometryProblem(const Profile &profile) {
    const std::int64_t size = profile.integer(ProfileKey::size);
    if (profile.dataBytes() > mostDataBytes)
        return Failure(Exit::badFile, fmt::format("size = 0x{:X} is larger than the device buffer can be", size),
                       fmt::format("At most 0x{:X} bytes are possible.", mostDataBytes));
    const auto driver = driverOf(profile);
    if (!driver) return std::nullopt;
    if (size > driver->large_device && size % driver->end_rounding != 0)
        return Failure(Exit::badFile,
                       fmt::format("size = 0x{:X} is no multiple of {}: the last {} addresses would not be verified",
                                   size, driver->end_rounding, size % driver->end_rounding),
                       fmt::format("A device of more than 0x{:X} addresses must have a multiple of {}.",
                                   driver->large_device, driver->end_rounding));
    const Division division(profile, *driver);
    const auto problem = division.problem();
    if (!problem) return std::nullopt;
    return Failure(Exit::badFile, *problem, division.advice());
}

} // namespace kx3console
