// The module that attaches and releases the 62 shared blocks.
#pragma once

#include "blocks/block_table.h"
#include "blocks/mem_mapped.h"
#include "blocks/safe_array.h"
#include "outside/ui.h"

#include <array>
#include <optional>

namespace kx3 {

/// The plug-in's arrays, by the blocks' roots (`typeid_` is the block "typeid"). Before any attach
/// every array is unset; element access then raises the subscript error.
struct BlockArrays {
#define KX3_BLOCK(member, root, type, count, bytes) Array<type> member{root};
#include "blocks/block_table.inc"
#undef KX3_BLOCK
    Array<Byte> ibuffer{deviceBufferRow.root};
    Array<Byte> ibuffer66{deviceBuffer66Row.root};
};

/// One host thread's bindings: the arrays of all 62 blocks, a mapping object and a binder for each.
class sharemap : public BlockArrays {
  public:
    sharemap();
    sharemap(const sharemap &) = delete;
    sharemap &operator=(const sharemap &) = delete;

    /// Attach blocks 1 to 60 of host instance `num`. A block that cannot be attached, or whose view
    /// is smaller than its array, is reported by a message box of `ui` and keeps an array of one
    /// zero element; the others are attached all the same, also when the message box fails, whose
    /// first error is raised at the end.
    void MapSharedBlocks(Integer num, Ui &ui);
    /// Attach `ibuffer` with `size` bytes, then `ibuffer66`; failures as above.
    void MapDeviceBuffer(Long size, Ui &ui);
    /// Whether all of blocks 1 to 60 are attached.
    [[nodiscard]] bool attachedCompletely() const noexcept;
    /// Release blocks 1 to 60. Blocks that are not attached are left alone.
    void UnmapSharedBlocks() noexcept;
    /// Release `ibuffer`, then `ibuffer66`.
    void UnmapDeviceBuffer() noexcept;

  private:
    struct Slot {
        std::optional<clsMemMapped> mapping;
        std::optional<clsSafeArray> binder; ///< ends before the mapping whose view the array shows
    };

    void attach(std::size_t slot, const std::string &name, Long count, Long bytes, Ui &ui);
    void release(std::size_t slot) noexcept;

    static constexpr std::size_t deviceBufferSlot = blockTable.size();
    static constexpr std::size_t slotCount = blockTable.size() + 2;

    std::array<ArrayBase *, slotCount> arrays_;
    std::array<Slot, slotCount> slots_;
};

} // namespace kx3
