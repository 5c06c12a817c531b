// Load file formats: their names, and how they are told apart.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace kx3console {

enum class FileFormat { intelHex, sRecord, raw };

/// The name shown to people.
[[nodiscard]] std::string_view formatName(FileFormat format);
/// The format of that name on the command line.
[[nodiscard]] std::optional<FileFormat> formatFromName(std::string_view name);
/// The format that the file name's ending promises.
[[nodiscard]] std::optional<FileFormat> formatFromEnding(const std::filesystem::path &path);
/// The format of a file that begins with `head`. Whatever is no text format is raw.
[[nodiscard]] FileFormat formatFromContent(std::string_view head);

} // namespace kx3console
