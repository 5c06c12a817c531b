// The shared blocks as rows of bytes.
#pragma once

#include "blocks/sharemap.h"
#include "platform/strings.h"

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

namespace kx3::test {

struct Block {
    std::string_view root;
    std::span<std::byte> bytes;
    std::size_t elementBytes;
    Array<String> *texts; ///< null for a block of numbers
    /// Large blocks hold data that nothing depends on.
    [[nodiscard]] bool isSmall() const { return bytes.size() <= 300 * elementBytes; }
};

/// The blocks of the table, then the device buffer. All must be attached.
inline std::vector<Block> allBlocks(sharemap &blocks) {
    std::vector<Block> all;
    const auto add = [&all]<class T>(Array<T> &block, std::string_view root) {
        const auto bytes = std::as_writable_bytes(block.range(0, static_cast<Long>(block.count())));
        all.push_back({root, bytes, sizeof(T), nullptr});
        if constexpr (std::is_same_v<T, String>) all.back().texts = &block;
    };
#define KX3_BLOCK(member, root, type, count, bytes) add(blocks.member, root);
#include "blocks/block_table.inc"
#undef KX3_BLOCK
    add(blocks.ibuffer, deviceBufferRow.root);
    return all;
}

/// What stands in the small blocks and in the device buffer, to be put back before each run.
class SavedBlocks {
  public:
    explicit SavedBlocks(sharemap &blocks) : blocks_(allBlocks(blocks)) {
        for (const Block &block : blocks_) {
            for (Long i = 0; i < texts(block); ++i)
                if ((*block.texts)(i).handle != 0) texts_.push_back({block.texts, i, readText(*block.texts, i)});
            if (block.texts == nullptr && (block.isSmall() || block.root == deviceBufferRow.root))
                numbers_.emplace_back(block.bytes, std::vector(block.bytes.begin(), block.bytes.end()));
        }
    }
    void restore() {
        for (const auto &[place, bytes] : numbers_)
            std::ranges::copy(bytes, place.begin());
        for (const Block &block : blocks_)
            for (Long i = 0; i < texts(block); ++i)
                platform::freeString(std::exchange((*block.texts)(i), String{}));
        for (const Text &text : texts_)
            storeText(*text.block, text.index, text.text);
    }

  private:
    struct Text {
        Array<String> *block;
        Long index;
        std::u16string text;
    };
    static Long texts(const Block &block) {
        return block.texts == nullptr ? 0 : static_cast<Long>(block.texts->count());
    }

    std::vector<Block> blocks_;
    std::vector<std::pair<std::span<std::byte>, std::vector<std::byte>>> numbers_;
    std::vector<Text> texts_;
};

} // namespace kx3::test
