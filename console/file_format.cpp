#include "file_format.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace kx3console {

namespace {

struct FormatRow {
    FileFormat format;
    std::string_view shown;
    std::string_view names;   ///< on the command line
    std::string_view endings; ///< of file names
};

constexpr std::array formats{
    FormatRow{FileFormat::intelHex, "Intel HEX", "ihex hex intel", ".hex .ihex .ihx"},
    FormatRow{FileFormat::sRecord, "Motorola S-record", "srec s19 motorola", ".srec .s19 .s28 .s37 .mot"},
    FormatRow{FileFormat::raw, "raw binary", "raw bin binary", ".bin .raw .img"},
};

/// The format whose list has `word`.
std::optional<FileFormat> find(std::string_view FormatRow::*list, std::string_view word) {
    for (const FormatRow &row : formats)
        if (hasWord(row.*list, word)) return row.format;
    return std::nullopt;
}

bool isText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return std::isprint(byte) != 0 || std::isspace(byte) != 0;
    });
}

} // namespace

std::string_view formatName(FileFormat format) {
    return std::find_if(formats.begin(), formats.end(), [format](const FormatRow &row) { return row.format == format; })
        ->shown;
}

std::optional<FileFormat> formatFromName(std::string_view name) { return find(&FormatRow::names, name); }

std::optional<FileFormat> formatFromEnding(const std::filesystem::path &path) {
    return find(&FormatRow::endings, lowered(path.extension().string()));
}

FileFormat formatFromContent(std::string_view head) {
    const std::size_t start = head.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos || !isText(head)) return FileFormat::raw;
    if (head[start] == ':') return FileFormat::intelHex;
    const bool sDigit =
        head[start] == 'S' && start + 1 < head.size() && head[start + 1] >= '0' && head[start + 1] <= '9';
    return sDigit ? FileFormat::sRecord : FileFormat::raw;
}

} // namespace kx3console
