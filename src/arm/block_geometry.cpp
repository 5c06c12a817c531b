#include "arm/block_geometry.h"

#include "base/checked.h"
#include "blocks/sharemap.h"
#include "outside/driver_table.h"

namespace kx3 {

namespace {

Checked lastAddress(Long size, EndRounding rounding) {
    if (rounding == EndRounding::largeDevices && size > largeDevice)
        return Checked(size) / endRounding * endRounding - 1;
    return Checked(size) - 1;
}

} // namespace

BlockGeometry::BlockGeometry(BlockArrays &blocks, Long chunkBytes, EndRounding rounding)
    : dataOffset_(blocks.wltbigendbuf(2)), wordMode_(blocks.wordmode(0)), blockSize_(blocks.ramlg(0)),
      chunkBytes_(chunkBytes) {
    const Long size = blocks.tlength(0);
    const Checked first = roundToLong(blocks.wltbigendbuf(0));
    const Checked last = lastAddress(size, rounding);
    if (size < 1 || first > last || blockSize_ < 1) raise(ErrorNumber::subscript);
    lastBlock_ = ((last - first) / blockSize_).value();
    rest_ = ((last - first) % blockSize_).value();
}

Long BlockGeometry::lastReadChunk(Long block) const {
    return isLast(block) ? rest_ / chunkBytes_ : (blockSize_ - 1) / chunkBytes_;
}

Long BlockGeometry::lastProgramChunk(Long block) const {
    if (!isLast(block)) return (blockSize_ - 1) / chunkBytes_;
    return (Checked(rest_) * wordMode_ / chunkBytes_).value();
}

Chunk BlockGeometry::chunk(Long block, Long index, Long lastIndex) const {
    const Checked inData = Checked(wordMode_) * blockSize_ * block + Checked(chunkBytes_) * index;
    const bool shortened = isLast(block) && index == lastIndex;
    const Checked count = shortened ? Checked(wordMode_) * rest_ % chunkBytes_ + wordMode_ : Checked(chunkBytes_);
    return {roundToLong(inData.value() + dataOffset_), count.value()};
}

} // namespace kx3
