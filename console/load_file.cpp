#include "load_file.h"

#include "failure.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <string>

namespace kx3console {

namespace {

/// Enough for the first line and, at the end, for the last one.
constexpr std::size_t peekBytes = 1024;

/// Puts pieces of a load file where they belong and keeps the account.
class Placer {
  public:
    Placer(const LoadRequest &request, const std::string &name, std::span<std::uint8_t> image)
        : request_(request), name_(name), image_(image) {}

    /// Account for `size` bytes at load file address `first`, and have `read(offset, destination)` put
    /// those that lie in the device where they belong. Fails when data for an address came before.
    template <class Read> void place(std::uint64_t first, std::uint64_t size, Read read) {
        const AddressRange piece{first, first + size};
        const AddressRange device{request_.loadBase, request_.loadBase + image_.size()};
        account(result_.outside, right_subtract(piece, device));
        account(result_.outside, left_subtract(piece, device));
        const AddressRange part = piece & device;
        account(result_.inside, part);
        if (!is_empty(part))
            read(part.lower() - first, image_.subspan(part.lower() - request_.loadBase, part.upper() - part.lower()));
    }

    [[nodiscard]] LoadResult finish(FileFormat format) {
        result_.format = format;
        if (!result_.outside.empty() && !request_.skipOutside)
            throw Failure(Exit::refused,
                          fmt::format("{} {}: data lie outside the device: {}; the device has 0x{:X}-0x{:X}",
                                      loadFileKind, name_, rangesText(result_.outside), request_.loadBase,
                                      request_.loadBase + image_.size() - 1),
                          "Choose the right device or load file, or leave those data out with --skip-outside.");
        if (result_.inside.empty())
            throw Failure(Exit::badFile, fmt::format("{} {}: there are no data for this device", loadFileKind, name_),
                          "Choose the right device or load file.");
        return std::move(result_);
    }

  private:
    void account(AddressRanges &ranges, const AddressRange &part) const {
        if (is_empty(part)) return;
        if (const auto twice = ranges.find(part); twice != ranges.end())
            throw Failure(Exit::badFile,
                          fmt::format("{} {}: overlapping data: address 0x{:X} is given more than once", loadFileKind,
                                      name_, std::max(twice->lower(), part.lower())),
                          "Which data are meant? Build the load file anew.");
        ranges.add(part);
    }

    const LoadRequest &request_;
    const std::string &name_;
    std::span<std::uint8_t> image_;
    LoadResult result_;
};

std::string peek(const InputFile &file, std::uint64_t offset) {
    std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(peekBytes, file.size() - offset)), '\0');
    file.readAt(offset, {reinterpret_cast<std::uint8_t *>(text.data()), text.size()});
    return text;
}

/// A damaged text file must not pass as a raw image.
FileFormat chooseFormat(const LoadRequest &request, const InputFile &file) {
    if (request.format) return *request.format;
    const FileFormat found = formatFromContent(peek(file, 0));
    const std::optional<FileFormat> promised = formatFromEnding(request.path);
    if (found == FileFormat::raw && promised && *promised != FileFormat::raw)
        throw Failure(Exit::badFile,
                      fmt::format("{} {}: by its name this is {}, but it does not begin like that", loadFileKind,
                                  file.name(), formatName(*promised)),
                      "If it is a raw image, say so with --format raw; else the file is damaged.");
    return found;
}

std::string lastLine(const InputFile &file) {
    std::string tail = peek(file, file.size() - std::min<std::uint64_t>(peekBytes, file.size()));
    tail.erase(tail.find_last_not_of(" \t\r\n\x1A") + 1);
    const std::size_t start = tail.find_last_of("\r\n");
    return start == std::string::npos ? tail : tail.substr(start + 1);
}

/// Whether the last line shows that a file of records is whole: an end record, or, for S-records, a
/// record that counts the others.
bool isEnd(FileFormat format, std::string_view line) {
    constexpr std::size_t intelType = 7; // ":LLAAAATT"
    if (format == FileFormat::intelHex) return line.size() > intelType + 1 && line.substr(intelType, 2) == "01";
    return line.size() > 1 && line[0] == 'S' && line[1] >= '5' && line[1] <= '9';
}

void requireEnd(FileFormat format, const InputFile &file) {
    if (isEnd(format, lastLine(file))) return;
    throw Failure(
        Exit::badFile,
        fmt::format("{} {}: its last line is no {} end record", loadFileKind, file.name(), formatName(format)),
        "The file is cut off or damaged; get or build it anew.");
}

} // namespace

LoadResult loadFile(const LoadRequest &request, std::span<std::uint8_t> image) {
    const InputFile file(request.path, loadFileKind);
    const FileFormat format = chooseFormat(request, file);
    if (format != FileFormat::raw && request.base)
        throw Failure(
            Exit::usage,
            fmt::format("--base does not go with an {} file, which has addresses of its own", formatName(format)),
            "Leave --base out.");
    Placer placer(request, file.name(), image);
    if (format == FileFormat::raw)
        placer.place(request.base.value_or(request.loadBase), file.size(),
                     [&file](std::uint64_t at, std::span<std::uint8_t> to) { file.readAt(at, to); });
    else
        visitRecords(file, format, [&placer](const Record &record) {
            if (record.kind != RecordKind::data) return;
            placer.place(record.address, record.bytes.size(), [&record](std::uint64_t at, std::span<std::uint8_t> to) {
                std::memcpy(to.data(), &record.bytes[at], to.size());
            });
        });
    return placer.finish(format);
}

void visitRecords(const InputFile &file, FileFormat format, const RecordVisitor &visit) {
    requireEnd(format, file);
    // The open file itself, so that what was checked is what is read.
    const auto [error, warning] = readRecords(format, fmt::format("/dev/fd/{}", file.descriptor()), visit);
    for (const std::string &message : {error, warning})
        if (!message.empty())
            throw Failure(Exit::badFile, fmt::format("{} {}{}", loadFileKind, file.name(), message),
                          "The load file is damaged; get or build it anew.");
}

} // namespace kx3console
