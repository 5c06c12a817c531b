#include "arm/block_sender.h"

#include "outside/driver_table.h"
#include "outside/programmer_io.h"

namespace kx3 {

namespace {

/// Bytes behind the data that the last chunk may carry, too.
constexpr Long tailBytes = 100;

Long bytesOf(const Chunk &chunk, const BlockGeometry &geometry, bool lastOfAll, Tail tail) {
    const bool hasRoom = chunk.count < geometry.chunkBytes() - tailBytes;
    return tail == Tail::withConfiguration && lastOfAll && hasRoom ? chunk.count + tailBytes : chunk.count;
}

} // namespace

BlockGeometry programGeometry(ArmDriver &driver, EndRounding rounding) {
    const ArmProfile &profile = driver.profile;
    const bool large = driver.blocks().ramlg(0) >= largeBlock;
    return {driver.blocks(), large ? profile.largeBlockProgramChunk : profile.smallBlockProgramChunk, rounding};
}

Sent sendBlock(ArmDriver &driver, const BlockGeometry &geometry, Long block, Tail tail) {
    if (!driver.accepted(driver.link.announceBlockData())) return Sent::announcementFailed;
    const Long last = geometry.lastProgramChunk(block);
    for (Long k = 0; k <= last; ++k) {
        const Chunk chunk = geometry.chunk(block, k, last);
        const Long count = bytesOf(chunk, geometry, geometry.isLast(block) && k == last, tail);
        const std::span<Byte> data = driver.blocks().ibuffer.range(chunk.offset, count);
        if (!driver.accepted(driver.context.io.usbbulkwrite(data.data(), count))) return Sent::dataFailed;
    }
    return Sent::completely;
}

} // namespace kx3
