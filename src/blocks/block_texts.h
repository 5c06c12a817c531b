// The texts of the shared blocks as tables, for documentation. Nothing of the engine includes this.
#pragma once

#include "blocks/block_table.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx3 {

/// All 62 blocks, in attach order.
enum class Block : std::uint8_t {
#define KX3_BLOCK(member, root, type, count, bytes) member,
#include "blocks/block_table.inc"
#undef KX3_BLOCK
    ibuffer,
    ibuffer66,
};
inline constexpr std::size_t blockCount = blockTable.size() + 2;

/// The row of a block. `ibuffer` has a count of 0: the device gives it.
[[nodiscard]] constexpr const BlockRow &rowOf(Block block) {
    if (block == Block::ibuffer) return deviceBufferRow;
    return block == Block::ibuffer66 ? deviceBuffer66Row : blockTable.at(static_cast<std::size_t>(block));
}
/// Whether the instance number is part of a block's name.
[[nodiscard]] constexpr bool isNumbered(Block block) { return block < Block::ibuffer; }

/// What a block holds.
struct BlockText {
    Block block;
    std::string_view text;
    bool touched = true; ///< the plug-in reads or writes it
};

inline constexpr std::array blockTexts{
#define KX3_BLOCK_TEXT(member, text) BlockText{Block::member, text},
#define KX3_BLOCK_UNTOUCHED(member)                                                                                    \
    BlockText{Block::member, "attached and never touched; what it holds is the host's", false},
#include "blocks/block_texts.inc"
};

/// What elements of a block hold.
struct ElementText {
    Block block;
    Long first; ///< index; -1 where it depends on the device
    Long last;
    std::string_view place;   ///< the indexes in words where they depend on the device
    std::string_view values;  ///< range and unit
    std::string_view writer;  ///< who writes it, and when
    std::string_view meaning; ///< what it says, and what the plug-in does with it
};

inline constexpr std::array elementTexts{
#define KX3_ELEMENT(member, first, last, values, writer, meaning)                                                      \
    ElementText{Block::member, first, last, {}, values, writer, meaning},
#define KX3_ELEMENT_PLACE(member, place, values, writer, meaning)                                                      \
    ElementText{Block::member, -1, -1, place, values, writer, meaning},
#include "blocks/block_texts.inc"
};

/// One text for each block, in the blocks' order, and elements exactly for those that the plug-in touches.
consteval bool everyBlockHasItsText() {
    std::size_t next = 0;
    for (const BlockText &row : blockTexts) {
        bool hasElements = false;
        for (const ElementText &element : elementTexts)
            hasElements = hasElements || element.block == row.block;
        if (static_cast<std::size_t>(row.block) != next++ || row.text.empty() || hasElements != row.touched)
            return false;
    }
    return next == blockCount;
}
static_assert(everyBlockHasItsText(), "block_texts.inc: a text for each block, elements for each that is touched");

/// Elements lie inside their blocks, in the blocks' order, and nothing is left empty.
consteval bool elementTextsAreWhole() {
    ElementText before{};
    for (const ElementText &row : elementTexts) {
        const bool inside = row.place.empty()
                                ? 0 <= row.first && row.first <= row.last && row.last < rowOf(row.block).count
                                : row.first == -1 && row.last == -1;
        const bool inOrder = before.block < row.block || (before.block == row.block && before.first <= row.first);
        if (!inside || !inOrder || row.values.empty() || row.writer.empty() || row.meaning.empty()) return false;
        before = row;
    }
    return true;
}
static_assert(elementTextsAreWhole(), "block_texts.inc: indexes inside the block and in order, no empty text");

} // namespace kx3
