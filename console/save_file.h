// Writing what was read from a device.
#pragma once

#include "file_format.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace kx3console {

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

/// Write `image`, whose first byte has load file address `base`, and commit the file.
void saveFile(OutputFile &file, FileFormat format, std::uint64_t base, std::span<const std::uint8_t> image);

} // namespace kx3console
