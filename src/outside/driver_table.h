// The ARM driver modules: which devices each one serves, and every point on which they differ. Facts only.
#pragma once

#include "base/types.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kx3 {

/// The session host's operation that prepares a device.
enum class PrepareCall : Byte { PrepareDevice32f, PrepareDevice };

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

/// A point that every row of a table must state: without a value it does not compile.
template <class T> struct Stated {
    constexpr Stated(T stated) : value(stated) {}  // NOLINT: a row reads like a table
    constexpr operator T() const { return value; } // NOLINT
    T value;
};

/// One driver module. Chunks are the bytes of one bulk transfer.
struct ArmProfile {
    Stated<const char *> module;
    Stated<const char *> entry;     ///< name of the module's session driver
    Stated<Integer> firstModelType; ///< `modeltype`(0) of the devices it serves
    Stated<Integer> lastModelType;
    Stated<Byte> selectionMask; ///< these bits of `selmode`(0) are `selection`; 0 looks at none
    Stated<Byte> selection;
    Stated<const char *> algorithmFolder;    ///< below the current directory
    Stated<const char *> algorithmExtension; ///< of the algorithm files
    Stated<PrepareCall> prepareCall;
    Stated<Long> readChunk;
    Stated<Long> smallBlockProgramChunk;
    Stated<Long> largeBlockProgramChunk; ///< for blocks of at least `largeBlock` addresses
    Stated<ReadRequest> readRequest;
    Stated<StopRequest> stopRequest;
    Stated<bool> announcesBank;    ///< write announcements carry the bank instead of 2
    Stated<bool> testsStopEvent;   ///< event 1E ends a read or program run with code 2
    Stated<bool> roundsProgramEnd; ///< a program run ends at a multiple of `endRounding` on large devices
};

inline constexpr ArmProfile armProfiles[] = {
    {
        .module = "arm_prg_32f",
        .entry = "RunArmSession32f",
        .firstModelType = 74,
        .lastModelType = 0x7FFF,
        .selectionMask = 0,
        .selection = 0,
        .algorithmFolder = "algo4",
        .algorithmExtension = ".alg",
        .prepareCall = PrepareCall::PrepareDevice32f,
        .readChunk = 0xC000,
        .smallBlockProgramChunk = 0xC000,
        .largeBlockProgramChunk = 0xC000,
        .readRequest = ReadRequest::oncePerBlock,
        .stopRequest = StopRequest::leaveAtOnce,
        .announcesBank = false,
        .testsStopEvent = false,
        .roundsProgramEnd = false,
    },
    {
        .module = "arm_prg",
        .entry = "RunArmSession",
        .firstModelType = 40,
        .lastModelType = 73,
        .selectionMask = 0x41,
        .selection = 0x40,
        .algorithmFolder = "algo",
        .algorithmExtension = ".bin",
        .prepareCall = PrepareCall::PrepareDevice,
        .readChunk = 0x8000,
        .smallBlockProgramChunk = 0x8000,
        .largeBlockProgramChunk = 0x10000,
        .readRequest = ReadRequest::oncePerChunk,
        .stopRequest = StopRequest::sendStopAndWait,
        .announcesBank = true,
        .testsStopEvent = true,
        .roundsProgramEnd = true,
    },
};

/// Model types below this one are no business of the plug-in; from here on, what no ARM driver serves
/// belongs to the session window.
inline constexpr Integer firstModelType = 40;

/// The driver of a device, or nullptr. `selection()` gives `selmode`(0); it is asked only where it counts.
template <class Selection>
[[nodiscard]] constexpr const ArmProfile *armProfileOf(Integer modelType, Selection selection) {
    const auto serves = [&](const ArmProfile &profile) {
        return profile.firstModelType <= modelType && modelType <= profile.lastModelType &&
               (profile.selectionMask == 0 || (selection() & profile.selectionMask) == profile.selection);
    };
    const auto *const found = std::find_if(std::begin(armProfiles), std::end(armProfiles), serves);
    return found == std::end(armProfiles) ? nullptr : found;
}

// What the modules have in common.

/// Devices of more addresses than this end at a multiple of `endRounding` where an end is rounded.
inline constexpr Long largeDevice = 0x10000;
inline constexpr Long endRounding = 256;
/// Blocks of at least so many addresses are programmed in large chunks.
inline constexpr Long largeBlock = 0x10000;
/// The longest algorithm image that a programmer takes, in bytes.
inline constexpr Long longestAlgorithm = 0x6000;

/// Part of the device data that an operation without blocks needs first, for some families.
struct FamilyData {
    Byte firstFamily; ///< `prgmode`(0)
    Byte lastFamily;
    bool atEnd; ///< the last bytes of the image instead of its first ones
    Long bytes;
};
inline constexpr FamilyData familyData[] = {
    {0x1B, 0x1D, false, 0xA00},
    {0x2E, 0x31, true, 0x30},
};

} // namespace kx3
