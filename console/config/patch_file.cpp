#include "patch_file.h"

#include "../failure.h"
#include "../memory_file.h"
#include "../read_file.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace kx3console::config {

namespace {

constexpr std::size_t bytesPerRecord = 32;
constexpr std::uint8_t erased = 0xFF;

/// Copies the records of a file and puts the new bytes into them.
class RecordPatcher {
  public:
    RecordPatcher(FileFormat format, const std::string &path, Patch patch)
        : format_(format), rest_(std::move(patch)), writer_(createRecords(format, path)) {}

    void copy(const Record &record) {
        if (record.kind == RecordKind::startAddress) {
            // Ends the file: the bytes that are added come before it.
            start_ = record.address;
        } else if (record.kind == RecordKind::data) {
            copyData(record);
        } else {
            writer_->write(record);
        }
    }

    /// Add the bytes that no record had room for, and end the file.
    void finish() {
        while (!rest_.empty())
            writeRun();
        // S-records end with a start address; without one their end could not be told from a cut.
        if (start_ || format_ == FileFormat::sRecord)
            writer_->write({RecordKind::startAddress, start_.value_or(0), {}});
        writer_.reset();
    }

  private:
    void copyData(const Record &record) {
        bytes_.assign(record.bytes.begin(), record.bytes.end());
        auto next = rest_.lower_bound(record.address);
        while (next != rest_.end() && next->first - record.address < bytes_.size()) {
            bytes_[static_cast<std::size_t>(next->first - record.address)] = next->second;
            next = rest_.erase(next);
        }
        writer_->write({RecordKind::data, record.address, bytes_});
    }

    /// Write the first bytes of the rest that lie side by side.
    void writeRun() {
        const std::uint64_t first = rest_.begin()->first;
        bytes_.clear();
        while (!rest_.empty() && rest_.begin()->first == first + bytes_.size() && bytes_.size() < bytesPerRecord) {
            bytes_.push_back(rest_.begin()->second);
            rest_.erase(rest_.begin());
        }
        writer_->write({RecordKind::data, first, bytes_});
    }

    FileFormat format_;
    Patch rest_; ///< bytes that are not written yet
    std::unique_ptr<RecordWriter> writer_;
    std::optional<std::uint64_t> start_;
    std::vector<std::uint8_t> bytes_;
};

/// The bytes of a raw file from `first` on, as they are after the patch.
void patchRaw(const LoadRequest &source, const Patch &patch, OutputFile &file) {
    const InputFile input(source.path, "load file");
    const std::uint64_t base = source.base.value_or(source.loadBase);
    if (!patch.empty() && patch.begin()->first < base)
        throw Failure(Exit::refused, "the raw file begins behind the device's configuration bytes",
                      "Check --base, the load address of its first byte.");
    const std::uint64_t end = patch.empty() ? 0 : patch.rbegin()->first - base + 1;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(input.size()));
    input.readAt(0, bytes);
    bytes.resize(static_cast<std::size_t>(std::max(input.size(), end)), erased);
    for (const auto &[address, value] : patch)
        bytes[static_cast<std::size_t>(address - base)] = value;
    file.write(bytes);
}

} // namespace

void patchFile(const LoadRequest &source, FileFormat format, const Patch &patch, OutputFile &file) {
    if (format == FileFormat::raw) {
        patchRaw(source, patch, file);
    } else {
        const MemoryFile records;
        RecordPatcher patcher(format, records.path(), patch);
        visitRecords(source.path, format, [&patcher](const Record &record) { patcher.copy(record); });
        patcher.finish();
        records.copyTo(file);
    }
    file.commit();
}

void writePatch(FileFormat format, const Patch &patch, OutputFile &file) {
    const MemoryFile records;
    RecordPatcher(format, records.path(), patch).finish();
    records.copyTo(file);
    file.commit();
}

} // namespace kx3console::config
