#include "arm/arm_profile.h"

namespace kx3 {

const ArmProfile armProfile32f{
    .twin = 0,
    .algorithmFolder = u"\\algo4\\",
    .algorithmExtension = u".alg",
    .prepareDevice = &SessionHost::PrepareDevice32f,
    .readChunk = 0xC000,
    .smallBlockProgramChunk = 0xC000,
    .largeBlockProgramChunk = 0xC000,
    .readRequest = ReadRequest::oncePerBlock,
    .stopRequest = StopRequest::leaveAtOnce,
    .announcesBank = false,
    .testsStopEvent = false,
    .roundsProgramEnd = false,
};

const ArmProfile armProfile{
    .twin = 1,
    .algorithmFolder = u"\\algo\\",
    .algorithmExtension = u".bin",
    .prepareDevice = &SessionHost::PrepareDevice,
    .readChunk = 0x8000,
    .smallBlockProgramChunk = 0x8000,
    .largeBlockProgramChunk = 0x10000,
    .readRequest = ReadRequest::oncePerChunk,
    .stopRequest = StopRequest::sendStopAndWait,
    .announcesBank = true,
    .testsStopEvent = true,
    .roundsProgramEnd = true,
};

} // namespace kx3
