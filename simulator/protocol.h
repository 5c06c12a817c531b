// Packets and status reports of the programmer, byte by byte.
#pragma once

#include "base/types.h"

#include <array>
#include <cstddef>

namespace kx3sim {

using kx3::Byte;
using kx3::Integer;
using kx3::Long;

namespace protocol {

/// Byte 0 of a packet.
enum class Command : Byte { data = 0x0A, algorithm = 0x33, control = 0x34, signature = 0x5A };

/// Byte 1 of a control packet: a service, or the run code of an operation.
enum class Service : Byte { version = 0x1A, chipId = 0x1D, stop = 0x1E };

/// Byte 2 of a data or algorithm packet.
enum class Direction : Byte { fromProgrammer = 0x40, toProgrammer = 0x80 };

/// Byte 1 of an algorithm packet.
inline constexpr Byte algorithmMemory = 0x01;

/// Places of a packet's fields.
namespace packet {
inline constexpr std::size_t command = 0;
inline constexpr std::size_t service = 1;
inline constexpr std::size_t chunk = 1; ///< data packets: index of the chunk, 0 when all come in one go
inline constexpr std::size_t direction = 2;
inline constexpr std::size_t runBank = 2;
inline constexpr std::size_t dataBank = 3;
inline constexpr std::size_t blockLow = 3;
inline constexpr std::size_t blockHigh = 4;
inline constexpr std::size_t configuration = 5;
} // namespace packet

/// Lengths of the packets.
inline constexpr std::size_t writeAnnouncementBytes = 4;
inline constexpr std::size_t shortPacketBytes = 8; ///< signature, algorithm, read request, stop
inline constexpr std::size_t controlPacketBytes = 16;

/// Flag in the bank byte of a run packet: this is the last block.
inline constexpr Byte lastBlockFlag = 0x80;

/// Data bank of a device in bank 1, and of any other.
inline constexpr Byte dataBankOfBank1 = 2;
inline constexpr Byte dataBankOfOthers = 1;
/// Drivers that announce no bank move block data through this one, whatever the device's.
inline constexpr Byte fixedDataBank = 2;

/// Configuration bytes that ride in every control packet and in the report that ends a read.
inline constexpr std::size_t configurationBytes = 11;
using Configuration = std::array<Byte, configurationBytes>;

/// Bytes that may follow the data of an operation's last block.
inline constexpr std::size_t trailingBytes = 100;

/// A read-back of the image may ask for so many bytes more than it has.
inline constexpr std::size_t readBackExtraBytes = 1;

/// A status report and the places of its fields.
using Report = std::array<Byte, 20>;
namespace report {
inline constexpr std::size_t progress = 0;
inline constexpr std::size_t event = 1;
inline constexpr std::size_t stage = 2;
inline constexpr std::size_t version = 2;       ///< after a version query
inline constexpr std::size_t codeCount = 2;     ///< after a chip-ID read: device-code bytes - 1
inline constexpr std::size_t configuration = 2; ///< at the end of a read
inline constexpr std::size_t pass = 3;
inline constexpr std::size_t maker = 3;
inline constexpr std::size_t codes = 4;
inline constexpr std::size_t address = 3; ///< four bytes, least significant first
inline constexpr std::size_t deviceLow = 7;
inline constexpr std::size_t deviceHigh = 8;
inline constexpr std::size_t bufferLow = 9;
inline constexpr std::size_t bufferHigh = 10;
} // namespace report

inline constexpr Byte finished = 100;
/// Progress of a stage that is done while the command is not.
inline constexpr Byte stageDone = 99;

enum class Event : Byte { none = 0x00, stopped = 0x1E, identityError = 0xF9, compareError = 0xFA };

enum class StageCode : Byte {
    none = 0x00, ///< reads and services have no stage
    erase = 0x1E,
    blankCheck = 0x28,
    program = 0x32,
    verify = 0x3C,
    configuration = 0x46,
    protection = 0x50,
};

/// Operations, by the numbers that the host's menu gives them.
enum class Operation : Byte {
    autoSequence = 0,
    read = 2,
    program = 3,
    blankCheck = 4,
    verify = 5, ///< reads; the host compares
    autoProgram = 6,
    protect = 7,
    erase = 8,
    programConfiguration = 9,
    checkConfiguration = 10, ///< configuration bytes, and the data window of the families that send one
};

/// States of a bulk read.
inline constexpr Byte transferComplete = 2;
inline constexpr Byte transferFailed = 4;

/// Results of the transfer functions.
inline constexpr Integer transferAccepted = 0;
inline constexpr Integer transferRejected = 1;

} // namespace protocol
} // namespace kx3sim
