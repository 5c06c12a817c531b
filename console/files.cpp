#include "files.h"

#include "failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kx3console {

namespace {

std::string adviceFor(int error) {
    switch (error) {
    case ENOENT: return "Check the name and the directory.";
    case EACCES: return "Check the file's permissions.";
    default: return "Choose another file.";
    }
}

mode_t permissionsFor(const std::filesystem::path &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) return status.st_mode & 0777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

InputFile::InputFile(const std::filesystem::path &path, std::string_view what)
    : name_(path.string()),
      // Non-blocking, so that a pipe does not keep us waiting for a writer.
      descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    const int error = errno;
    if (descriptor_ < 0)
        throw Failure(Exit::badFile, fmt::format("{} {}: {}", what, name_, std::strerror(error)), adviceFor(error));
    struct stat status {};
    const bool known = ::fstat(descriptor_, &status) == 0;
    std::string_view problem;
    if (known && S_ISDIR(status.st_mode))
        problem = "this is a directory";
    else if (!known || !S_ISREG(status.st_mode))
        problem = "this is no regular file";
    else if (status.st_size == 0)
        problem = "the file is empty";
    if (!problem.empty()) {
        ::close(descriptor_);
        throw Failure(Exit::badFile, fmt::format("{} {}: {}", what, name_, problem), "Choose another file.");
    }
    size_ = static_cast<std::uint64_t>(status.st_size);
}

InputFile::~InputFile() { ::close(descriptor_); }

void InputFile::readAt(std::uint64_t offset, std::span<std::uint8_t> destination) const {
    while (!destination.empty()) {
        const ssize_t got = ::pread(descriptor_, destination.data(), destination.size(), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0)
            throw Failure(Exit::badFile,
                          fmt::format("{}: {}", name_, got < 0 ? std::strerror(errno) : "the file ends too early"),
                          "Was it changed while it was read? Try again.");
        destination = destination.subspan(static_cast<std::size_t>(got));
        offset += static_cast<std::uint64_t>(got);
    }
}

std::string readWholeFile(const std::filesystem::path &path, std::string_view what, std::size_t most) {
    const InputFile file(path, what);
    if (file.size() > most)
        throw Failure(Exit::badFile, fmt::format("{} {}: the file has {} bytes", what, file.name(), file.size()),
                      fmt::format("It may have at most {}.", most));
    std::string text(static_cast<std::size_t>(file.size()), '\0');
    file.readAt(0, {reinterpret_cast<std::uint8_t *>(text.data()), text.size()});
    return text;
}

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

} // namespace kx3console
