// Files that users name: read with one clear message for everything that can be wrong with them, and
// written so that nothing is ever half there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace kx3console {

/// An open regular file that is not empty.
class InputFile {
  public:
    /// Fails with Exit::badFile when `path` is missing, unreadable, no regular file or empty. `what`
    /// names the kind of file in messages.
    InputFile(const std::filesystem::path &path, std::string_view what);
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    [[nodiscard]] const std::string &name() const { return name_; }
    [[nodiscard]] std::uint64_t size() const { return size_; }
    [[nodiscard]] int descriptor() const { return descriptor_; }
    /// Fill `destination` from file position `offset`; fails with Exit::badFile when the file ends
    /// before.
    void readAt(std::uint64_t offset, std::span<std::uint8_t> destination) const;

  private:
    std::string name_;
    int descriptor_;
    std::uint64_t size_ = 0;
};

/// The text of a file of at most `most` bytes.
[[nodiscard]] std::string readWholeFile(const std::filesystem::path &path, std::string_view what, std::size_t most);

/// A file that appears under its name only when it is complete: until then the old one stays whole.
/// Made before the device is touched, so that an output that cannot be written is known early.
class OutputFile {
  public:
    /// Fails with Exit::failed when there can be no such file, and with Exit::refused when the name
    /// belongs to something that is no regular file.
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return path_; }
    void write(std::span<const std::uint8_t> bytes);
    /// Give the complete file its name.
    void commit();

  private:
    [[noreturn]] void fail(int error) const;

    std::filesystem::path path_;
    std::string temporary_;
    int descriptor_ = -1;
};

} // namespace kx3console
