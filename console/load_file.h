// Reading a load file into the device buffer.
#pragma once

#include "address_ranges.h"
#include "file_format.h"
#include "files.h"
#include "record_file.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace kx3console {

/// What a device holds where a load file has no data.
inline constexpr std::uint8_t erasedByte = 0xFF;

/// What an InputFile is called in messages when it is a load file.
inline constexpr std::string_view loadFileKind = "load file";

/// What is read, and where its addresses lie in the device.
struct LoadRequest {
    std::filesystem::path path;
    std::optional<FileFormat> format;  ///< told from the content when missing
    std::uint64_t loadBase = 0;        ///< load file address of the device's first byte
    std::optional<std::uint64_t> base; ///< load file address of a raw file's first byte; loadBase when missing
    bool skipOutside = false;
};

struct LoadResult {
    FileFormat format = FileFormat::raw;
    AddressRanges inside;  ///< load file addresses that went into the device buffer
    AddressRanges outside; ///< left out
};

/// Put the file's data into `image`, the device data in the device buffer, whose other bytes stay as
/// they are. Fails with Exit::badFile for a file that is damaged, and with Exit::refused for data
/// outside the device unless they are to be skipped.
[[nodiscard]] LoadResult loadFile(const LoadRequest &request, std::span<std::uint8_t> image);

/// Give every record of a text file to `visit`, in the order of the file. Fails with Exit::badFile for
/// a file that is damaged, perhaps only after some records.
void visitRecords(const InputFile &file, FileFormat format, const RecordVisitor &visit);

} // namespace kx3console
