// Changing some bytes of a load file and nothing else.
#pragma once

#include "../load_file.h"
#include "../save_file.h"

#include <cstdint>
#include <map>

namespace kx3console::config {

/// New bytes by their load file addresses.
using Patch = std::map<std::uint64_t, std::uint8_t>;

/// Write a copy of the load file with the bytes of `patch` in it. Its other data, its header and its
/// start address stay; bytes that a file of records does not have yet are added behind its data. A raw
/// file that ends before them is filled up with erased bytes. `format` is the file's own. Fails with
/// Exit::badFile when the file has changed since it was loaded, in a way that spoils it.
void patchFile(const LoadRequest &source, FileFormat format, const Patch &patch, OutputFile &file);

/// Write a file of records that holds the bytes of `patch` alone.
void writePatch(FileFormat format, const Patch &patch, OutputFile &file);

} // namespace kx3console::config
