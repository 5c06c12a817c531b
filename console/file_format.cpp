#include "file_format.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace kx3console {

namespace {

struct NameRow {
    std::string_view name;
    FileFormat format;
};

constexpr std::array optionNames{
    NameRow{"ihex", FileFormat::intelHex},  NameRow{"hex", FileFormat::intelHex},
    NameRow{"intel", FileFormat::intelHex}, NameRow{"srec", FileFormat::sRecord},
    NameRow{"s19", FileFormat::sRecord},    NameRow{"motorola", FileFormat::sRecord},
    NameRow{"raw", FileFormat::raw},        NameRow{"bin", FileFormat::raw},
    NameRow{"binary", FileFormat::raw},
};

constexpr std::array endings{
    NameRow{".hex", FileFormat::intelHex}, NameRow{".ihex", FileFormat::intelHex},
    NameRow{".ihx", FileFormat::intelHex}, NameRow{".srec", FileFormat::sRecord},
    NameRow{".s19", FileFormat::sRecord},  NameRow{".s28", FileFormat::sRecord},
    NameRow{".s37", FileFormat::sRecord},  NameRow{".mot", FileFormat::sRecord},
    NameRow{".bin", FileFormat::raw},      NameRow{".raw", FileFormat::raw},
    NameRow{".img", FileFormat::raw},
};

template <class Rows> std::optional<FileFormat> find(const Rows &rows, std::string_view name) {
    const auto row = std::find_if(rows.begin(), rows.end(), [name](const NameRow &each) { return each.name == name; });
    if (row == rows.end()) return std::nullopt;
    return row->format;
}

bool isText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return std::isprint(byte) != 0 || std::isspace(byte) != 0;
    });
}

} // namespace

std::string_view formatName(FileFormat format) {
    switch (format) {
    case FileFormat::intelHex: return "Intel HEX";
    case FileFormat::sRecord: return "Motorola S-record";
    case FileFormat::raw: break;
    }
    return "raw binary";
}

std::optional<FileFormat> formatFromName(std::string_view name) { return find(optionNames, name); }

std::optional<FileFormat> formatFromEnding(const std::filesystem::path &path) {
    std::string ending = path.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
    return find(endings, ending);
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
