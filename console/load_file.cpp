#include "load_file.h"

#include "failure.h"
#include "files.h"
#include "record_file.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <string>

namespace kx3console {

namespace {

constexpr std::string_view fileKind = "load file";
/// Enough for the first line and, at the end, for the last one.
constexpr std::size_t peekBytes = 1024;

/// Puts pieces of a load file where they belong and keeps the account.
class Placer {
  public:
    Placer(const LoadRequest &request, const std::string &name, std::span<std::uint8_t> image)
        : request_(request), name_(name), image_(image) {}

    /// The part of `piece` that lies in the device, which may be empty. Fails when data for an address
    /// came before.
    [[nodiscard]] AddressRange place(const AddressRange &piece) {
        const AddressRange device{request_.loadBase, request_.loadBase + image_.size()};
        account(result_.outside, right_subtract(piece, device));
        account(result_.outside, left_subtract(piece, device));
        const AddressRange part = piece & device;
        account(result_.inside, part);
        return part;
    }

    [[nodiscard]] std::span<std::uint8_t> target(const AddressRange &part) const {
        return image_.subspan(static_cast<std::size_t>(part.lower() - request_.loadBase),
                              static_cast<std::size_t>(part.upper() - part.lower()));
    }

    [[nodiscard]] LoadResult finish(FileFormat format) {
        result_.format = format;
        if (!result_.outside.empty() && !request_.skipOutside)
            throw Failure(Exit::refused,
                          fmt::format("{} {}: data lie outside the device: {}; the device has 0x{:X}-0x{:X}", fileKind,
                                      name_, rangesText(result_.outside), request_.loadBase,
                                      request_.loadBase + image_.size() - 1),
                          "Choose the right device or load file, or leave those data out with --skip-outside.");
        if (result_.inside.empty())
            throw Failure(Exit::badFile, fmt::format("{} {}: there are no data for this device", fileKind, name_),
                          "Choose the right device or load file.");
        return std::move(result_);
    }

  private:
    void account(AddressRanges &ranges, const AddressRange &part) const {
        if (is_empty(part)) return;
        if (const auto twice = ranges.find(part); twice != ranges.end())
            throw Failure(Exit::badFile,
                          fmt::format("{} {}: overlapping data: address 0x{:X} is given more than once", fileKind,
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
                      fmt::format("{} {}: by its name this is {}, but it does not begin like that", fileKind,
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
    throw Failure(Exit::badFile,
                  fmt::format("{} {}: its last line is no {} end record", fileKind, file.name(), formatName(format)),
                  "The file is cut off or damaged; get or build it anew.");
}

/// `message` begins with ": LINE: ".
[[noreturn]] void failDamaged(const InputFile &file, const std::string &message) {
    throw Failure(Exit::badFile, fmt::format("{} {}{}", fileKind, file.name(), message),
                  "The load file is damaged; get or build it anew.");
}

void visitRecords(FileFormat format, const InputFile &file, const RecordVisitor &visit) {
    requireEnd(format, file);
    // The open file itself, so that what was checked is what is read.
    const RecordMessages messages = readRecords(format, fmt::format("/dev/fd/{}", file.descriptor()), visit);
    if (!messages.error.empty()) failDamaged(file, messages.error);
    if (!messages.warning.empty()) failDamaged(file, messages.warning);
}

void loadRecords(FileFormat format, const InputFile &file, Placer &placer) {
    visitRecords(format, file, [&placer](const Record &record) {
        if (record.kind != RecordKind::data || record.bytes.empty()) return;
        const AddressRange part = placer.place({record.address, record.address + record.bytes.size()});
        if (is_empty(part)) return;
        const auto target = placer.target(part);
        std::memcpy(target.data(), &record.bytes[part.lower() - record.address], target.size());
    });
}

void loadRaw(const LoadRequest &request, const InputFile &file, Placer &placer) {
    const std::uint64_t first = request.base.value_or(request.loadBase);
    const AddressRange part = placer.place({first, first + file.size()});
    if (!is_empty(part)) file.readAt(part.lower() - first, placer.target(part));
}

} // namespace

LoadResult loadFile(const LoadRequest &request, std::span<std::uint8_t> image) {
    const InputFile file(request.path, fileKind);
    const FileFormat format = chooseFormat(request, file);
    if (format != FileFormat::raw && request.base)
        throw Failure(
            Exit::usage,
            fmt::format("--base does not go with an {} file, which has addresses of its own", formatName(format)),
            "Leave --base out.");
    Placer placer(request, file.name(), image);
    if (format == FileFormat::raw)
        loadRaw(request, file, placer);
    else
        loadRecords(format, file, placer);
    return placer.finish(format);
}

void visitRecords(const std::filesystem::path &path, FileFormat format, const RecordVisitor &visit) {
    visitRecords(format, InputFile(path, fileKind), visit);
}

} // namespace kx3console
