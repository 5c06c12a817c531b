// Writing load files: what was read from a device, or a load file with some bytes changed.
#pragma once

#include "files.h"
#include "load_file.h"

#include <cstdint>
#include <map>
#include <span>

namespace kx3console {

/// The format of a file to be written: `given`, or what its ending says. Fails with Exit::usage, naming
/// `choices`, when neither does.
[[nodiscard]] FileFormat formatOfNewFile(const std::filesystem::path &path, std::optional<FileFormat> given,
                                         std::string_view choices);

/// Write `image`, whose first byte has load file address `base`, and commit the file.
void saveFile(OutputFile &file, FileFormat format, std::uint64_t base, std::span<const std::uint8_t> image);

/// New bytes by their load file addresses.
using Patch = std::map<std::uint64_t, std::uint8_t>;

/// Write a copy of the load file with the bytes of `patch` in it, and commit it. Its other data, its
/// header and its start address stay; bytes that a file of records does not have yet are added behind
/// its data, and without a source path they are all there is. A raw file that ends before them is
/// filled up with erased bytes. `format` is the source's own. Fails with Exit::badFile when the source
/// has changed since it was loaded, in a way that spoils it.
void patchFile(const LoadRequest &source, FileFormat format, Patch patch, OutputFile &file);

} // namespace kx3console
