// How an operation's addresses fall into blocks and chunks.
#pragma once

#include "base/types.h"

namespace kx3 {

struct BlockArrays;

/// Which last addresses of large devices are rounded down to a multiple of 256, minus 1.
enum class EndRounding { never, largeDevices };

/// Bytes of the buffer that one bulk transfer moves.
struct Chunk {
    Long offset; ///< index of the first byte in `ibuffer`
    Long count;  ///< bytes
};

/// The blocks (one run command each) and chunks (one bulk transfer each) of an operation. Addresses
/// are device addresses, chunks are bytes of `ibuffer`.
class BlockGeometry {
  public:
    /// Read the operation's range from the blocks. Raises the subscript error for an empty range or a
    /// block size below 1, Overflow for what does not fit.
    BlockGeometry(BlockArrays &blocks, Long chunkBytes, EndRounding rounding);

    /// Index of the last block, N.
    [[nodiscard]] Long lastBlock() const noexcept { return lastBlock_; }
    [[nodiscard]] bool isLast(Long block) const noexcept { return block == lastBlock_; }
    /// Index of the last chunk of `block` when it is read: counted in addresses, as the programmer
    /// does.
    [[nodiscard]] Long lastReadChunk(Long block) const;
    /// Index of the last chunk of `block` when it is written: the last block is counted in bytes.
    [[nodiscard]] Long lastProgramChunk(Long block) const;
    /// Chunk `index` of `block`, the last one of which is `lastIndex`.
    [[nodiscard]] Chunk chunk(Long block, Long index, Long lastIndex) const;
    [[nodiscard]] Long chunkBytes() const noexcept { return chunkBytes_; }

  private:
    Double dataOffset_; ///< of the operation's data in `ibuffer`
    Long wordMode_;     ///< bytes per address
    Long blockSize_;    ///< addresses
    Long chunkBytes_;
    Long lastBlock_ = 0;
    Long rest_ = 0; ///< addresses in the last block minus 1, R
};

} // namespace kx3
