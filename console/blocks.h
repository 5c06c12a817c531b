// The shared blocks, as the host that creates them sees them.
#pragma once

#include "failure.h"
#include "profile.h"

#include <cstdint>
#include <kx3mpu6.h>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx3console {

/// Bytes of the device buffer behind the device data.
inline constexpr std::int32_t deviceBufferExtra = 2200;

/// All blocks of one host instance. The plug-in must have let go of them before they end.
class SharedBlocks {
  public:
    /// Create every block, with the first free instance number when none is given; the device buffer
    /// takes `dataBytes` of device data. Fails with Exit::noAnswer when another host holds one of them.
    SharedBlocks(std::optional<std::int16_t> instance, std::int32_t dataBytes);
    ~SharedBlocks();
    SharedBlocks(const SharedBlocks &) = delete;
    SharedBlocks &operator=(const SharedBlocks &) = delete;

    [[nodiscard]] std::int16_t instance() const { return instance_; }

    /// The elements of block `root`, whose type must be as wide as T.
    template <class T> [[nodiscard]] std::span<T> elements(std::string_view root) const {
        const Block &block = find(root);
        return {static_cast<T *>(kx3_block_data(block.memory.get())), static_cast<std::size_t>(block.count)};
    }

    [[nodiscard]] std::span<std::uint8_t> deviceBuffer() const { return elements<std::uint8_t>("ibuffer"); }

    /// Store a number into an element of any numeric type.
    void store(std::string_view root, std::int32_t element, std::int64_t value) const;
    /// Replace the text of an element of a String block.
    void storeText(std::string_view root, std::int32_t element, std::u16string_view text) const;
    [[nodiscard]] std::u16string text(std::string_view root, std::int32_t element) const;

    /// Give back the pages of this view of a block. Its contents stay; the plug-in's own view holds
    /// them, too, and a large block would count twice.
    void releasePages(std::string_view root) const;

  private:
    struct Close {
        void operator()(kx3_block *block) const noexcept { kx3_block_close(block); }
    };
    struct Block {
        std::string_view root;
        std::int32_t type;
        std::int32_t count;
        std::unique_ptr<kx3_block, Close> memory;
    };

    void create(const kx3_block_info &info, std::int32_t dataBytes);
    [[nodiscard]] const Block &find(std::string_view root) const;

    std::int16_t instance_;
    std::vector<Block> blocks_;
};

/// Write the profile's values into their blocks, and erased bytes behind the device data.
void storeProfile(SharedBlocks &blocks, const Profile &profile);
/// Write the profile's configuration bytes behind the device data.
void storeConfiguration(SharedBlocks &blocks, const Profile &profile);
/// A failed call of the plug-in as this host's failure.
[[nodiscard]] Failure pluginFailure(std::string_view what);

} // namespace kx3console
