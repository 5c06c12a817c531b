#include "save_file.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <optional>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kx3console {

namespace {

constexpr std::size_t bytesPerRecord = 32;

/// A file of records that is made in memory alone. libsrecord ends the process when it cannot write,
/// and here it always can.
class RecordFile {
  public:
    explicit RecordFile(FileFormat format) : format_(format), descriptor_(::memfd_create("mpu6", MFD_CLOEXEC)) {
        if (descriptor_ < 0) throw Failure(Exit::failed, "no memory for the output file");
        writer_ = createRecords(format, fmt::format("/dev/fd/{}", descriptor_));
    }
    ~RecordFile() { ::close(descriptor_); }
    RecordFile(const RecordFile &) = delete;
    RecordFile &operator=(const RecordFile &) = delete;

    void write(const Record &record) {
        if (record.kind == RecordKind::startAddress)
            start_ = record.address; // ends the file: data that are added come before it
        else
            writer_(record);
    }

    void writeData(std::uint64_t address, std::span<const std::uint8_t> bytes) {
        for (std::size_t at = 0; at < bytes.size(); at += bytesPerRecord)
            write({RecordKind::data, address + at, bytes.subspan(at, std::min(bytesPerRecord, bytes.size() - at))});
    }

    void copyTo(OutputFile &file) {
        // S-records end with a start address; without one their end could not be told from a cut.
        if (start_ || format_ == FileFormat::sRecord) writer_({RecordKind::startAddress, start_.value_or(0), {}});
        writer_ = {};
        std::array<std::uint8_t, 65536> part{};
        ::lseek(descriptor_, 0, SEEK_SET);
        for (ssize_t got = 0; (got = ::read(descriptor_, part.data(), part.size())) > 0;)
            file.write({part.data(), static_cast<std::size_t>(got)});
    }

  private:
    FileFormat format_;
    int descriptor_;
    RecordWriter writer_;
    std::optional<std::uint64_t> start_;
};

void patchRecords(const LoadRequest &source, FileFormat format, Patch patch, OutputFile &file) {
    RecordFile records(format);
    std::vector<std::uint8_t> bytes;
    const auto copy = [&](const Record &record) {
        if (record.kind != RecordKind::data) return records.write(record);
        bytes.assign(record.bytes.begin(), record.bytes.end());
        auto next = patch.lower_bound(record.address);
        while (next != patch.end() && next->first - record.address < bytes.size()) {
            bytes[static_cast<std::size_t>(next->first - record.address)] = next->second;
            next = patch.erase(next);
        }
        records.write({RecordKind::data, record.address, bytes});
    };
    if (!source.path.empty()) visitRecords(InputFile(source.path, loadFileKind), format, copy);
    while (!patch.empty()) { // a run of bytes that no record had room for
        const std::uint64_t first = patch.begin()->first;
        for (bytes.clear(); !patch.empty() && patch.begin()->first == first + bytes.size(); patch.erase(patch.begin()))
            bytes.push_back(patch.begin()->second);
        records.writeData(first, bytes);
    }
    records.copyTo(file);
}

/// The bytes of a raw file as they are after the patch.
void patchRaw(const LoadRequest &source, const Patch &patch, OutputFile &file) {
    const InputFile input(source.path, loadFileKind);
    const std::uint64_t base = source.base.value_or(source.loadBase);
    if (!patch.empty() && patch.begin()->first < base)
        throw Failure(Exit::refused, "the raw file begins behind the device's configuration bytes",
                      "Check --base, the load address of its first byte.");
    const std::uint64_t end = patch.empty() ? 0 : patch.rbegin()->first - base + 1;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(input.size()));
    input.readAt(0, bytes);
    bytes.resize(static_cast<std::size_t>(std::max(input.size(), end)), erasedByte);
    for (const auto &[address, value] : patch)
        bytes[static_cast<std::size_t>(address - base)] = value;
    file.write(bytes);
}

} // namespace

FileFormat formatOfNewFile(const std::filesystem::path &path, std::optional<FileFormat> given,
                           std::string_view choices) {
    if (given) return *given;
    if (const auto format = formatFromEnding(path)) return *format;
    throw Failure(Exit::usage, fmt::format("the ending of {} names no load file format", path.string()),
                  fmt::format("Say which one with --format {}.", choices));
}

void saveFile(OutputFile &file, FileFormat format, std::uint64_t base, std::span<const std::uint8_t> image) {
    if (format == FileFormat::raw) {
        file.write(image);
    } else {
        RecordFile records(format);
        records.writeData(base, image);
        records.copyTo(file);
    }
    file.commit();
}

void patchFile(const LoadRequest &source, FileFormat format, Patch patch, OutputFile &file) {
    if (format == FileFormat::raw)
        patchRaw(source, patch, file);
    else
        patchRecords(source, format, std::move(patch), file);
    file.commit();
}

} // namespace kx3console
