// Reading files that users name, with one clear message for everything that can be wrong with them.
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

} // namespace kx3console
