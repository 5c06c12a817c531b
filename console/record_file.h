// Load files of records, read and written by a module that is loaded on first use: its libraries
// cost a raw image, which needs none of them, a megabyte and a third of the start-up time.
#pragma once

#include "file_format.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace kx3console {

enum class RecordKind { header, data, startAddress };

/// One record of a load file.
struct Record {
    RecordKind kind = RecordKind::data;
    std::uint64_t address = 0;
    std::span<const std::uint8_t> bytes; ///< at most 255
};

/// Takes the records of a file in their order; may throw.
using RecordVisitor = std::function<void(const Record &)>;

/// What is known of a file of records once it has been read.
struct RecordMessages {
    std::string error;   ///< ": LINE: what"; empty when it could be read to its end
    std::string warning; ///< the same, of the first thing that was odd
};

/// Give every record of `path` to `visit`. Whoever wants only whole files checks their end and the
/// warning, too.
[[nodiscard]] RecordMessages readRecords(FileFormat format, const std::string &path, const RecordVisitor &visit);

/// Writes a file of records, which is complete when the last copy of the function ends.
using RecordWriter = RecordVisitor;

/// A writer of `path`. The process ends when it cannot write, so `path` must be a file that takes
/// everything (RecordFile).
[[nodiscard]] RecordWriter createRecords(FileFormat format, const std::string &path);

/// What the module offers; its function of this name fills the structure in.
struct RecordFunctions {
    decltype(&readRecords) read;
    decltype(&createRecords) create;
};
inline constexpr const char *recordFunctionsName = "kx3console_record_functions";

} // namespace kx3console
