#include "save_file.h"

#include "failure.h"
#include "memory_file.h"
#include "record_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kx3console {

namespace {

constexpr std::size_t bytesPerRecord = 32;

void writeRecords(FileFormat format, const std::string &path, std::uint64_t base, std::span<const std::uint8_t> image) {
    const auto writer = createRecords(format, path);
    for (std::size_t at = 0; at < image.size(); at += bytesPerRecord)
        writer->write({RecordKind::data, base + at, image.subspan(at, std::min(bytesPerRecord, image.size() - at))});
    // S-records end with a start address; without one their end could not be told from a cut.
    if (format == FileFormat::sRecord) writer->write({RecordKind::startAddress, 0, {}});
}

mode_t permissionsFor(const std::filesystem::path &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) return status.st_mode & 0777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

OutputFile::OutputFile(std::filesystem::path path) : path_(std::move(path)) {
    std::error_code error;
    const auto status = std::filesystem::status(path_, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw Failure(
            Exit::refused,
            fmt::format("output file {}: {}", path_.string(),
                        std::filesystem::is_directory(status) ? "this is a directory" : "this is no regular file"),
            "Choose another name.");
    // Write through a link, not over it.
    if (std::filesystem::exists(status)) path_ = std::filesystem::canonical(path_);
    if (std::filesystem::exists(status) && ::access(path_.c_str(), W_OK) != 0) fail(errno);
    temporary_ = path_.string() + ".XXXXXX";
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0) fail(errno);
    ::fchmod(descriptor_, permissionsFor(path_));
}

OutputFile::~OutputFile() {
    if (descriptor_ < 0) return;
    ::close(descriptor_);
    ::unlink(temporary_.c_str());
}

void OutputFile::write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t done = ::write(descriptor_, bytes.data(), bytes.size());
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) fail(done < 0 ? errno : ENOSPC);
        bytes = bytes.subspan(static_cast<std::size_t>(done));
    }
}

void OutputFile::commit() {
    if (::fsync(descriptor_) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0) fail(errno);
    ::close(descriptor_);
    descriptor_ = -1;
}

void OutputFile::fail(int error) const {
    throw Failure(Exit::failed,
                  fmt::format("output file {} cannot be written: {}", path_.string(), std::strerror(error)),
                  "Nothing was changed there. Choose a place where you may write and that has room.");
}

void saveFile(OutputFile &file, FileFormat format, std::uint64_t base, std::span<const std::uint8_t> image) {
    if (format == FileFormat::raw) {
        file.write(image);
    } else {
        const MemoryFile records;
        writeRecords(format, records.path(), base, image);
        records.copyTo(file);
    }
    file.commit();
}

} // namespace kx3console
