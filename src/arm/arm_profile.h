// The points on which the twin ARM driver modules differ.
#pragma once

#include "outside/session_host.h"

#include <cstddef>
#include <string_view>

namespace kx3 {

/// How device data are asked for after a read run.
enum class ReadRequest : Byte {
    oncePerBlock, ///< 0A 00 40 02 after the status loop
    oncePerChunk, ///< 0A, chunk index, 40, bank before every chunk
};

/// What a read or program run does about a stop request.
enum class StopRequest : Byte {
    leaveAtOnce,     ///< leaves the status loop
    sendStopAndWait, ///< sends the stop packet on every pass and waits for the programmer
};

/// Constants of one twin module.
struct ArmProfile {
    std::size_t twin;                       ///< index of the module, 0 or 1
    std::u16string_view algorithmFolder;    ///< below the current directory
    std::u16string_view algorithmExtension; ///< of the algorithm files
    Long (SessionHost::*prepareDevice)(Byte, Byte);
    Long readChunk;              ///< bytes of one bulk read
    Long smallBlockProgramChunk; ///< bytes of one bulk write
    Long largeBlockProgramChunk; ///< the same for blocks of at least 10000 hex addresses
    ReadRequest readRequest;
    StopRequest stopRequest;
    bool announcesBank;    ///< write announcements carry the bank instead of 2
    bool testsStopEvent;   ///< event 1E ends a read or program run with code 2
    bool roundsProgramEnd; ///< ProgramBlocks ends at a multiple of 256 on large devices
};

/// Chunk size in bytes of a bulk write for blocks of `blockSize` addresses.
[[nodiscard]] constexpr Long programChunk(const ArmProfile &profile, Long blockSize) {
    constexpr Long largeBlock = 0x10000;
    return blockSize >= largeBlock ? profile.largeBlockProgramChunk : profile.smallBlockProgramChunk;
}

/// Module arm_prg_32f: model types 74 and above.
extern const ArmProfile armProfile32f;
/// Module arm_prg: model types 40 to 73 with the ARM selection bits.
extern const ArmProfile armProfile;

} // namespace kx3
