// A chip in a file, so that what one program programmed the next can read.
//
// Layout, all numbers little-endian:
//
//   offset  bytes
//        0      8  magic "KX3CHIP" and 1A
//        8      4  version of the layout: 1
//       12      4  bytes of the header: 64
//       16      8  bytes of main memory, M
//       24      8  bytes of EEPROM, P
//       32      4  configuration bytes: 64
//       36      1  1 when the chip is protected, else 0
//       37      1  number of device-code bytes, 1 to 7
//       38      1  maker byte
//       39      7  device-code bytes, unused ones 0
//       46     10  0
//       56      8  checksum of everything else: header bytes 0 to 55, then all data
//       64     64  configuration bytes
//      128      M  main memory
//  128 + M      P  EEPROM
//
// Checksum: s = 0; for each part in turn (header bytes 0 to 55, configuration, main memory, EEPROM)
// and each group of 8 bytes w of it (the last one filled up with 0 bytes):
// s = rotate-left((s XOR w) * 9E3779B97F4A7C15, 29). Any single change of a byte changes it.
#pragma once

#include "simulator/chip.h"

#include <filesystem>

namespace kx3sim {

/// Throws Failure: file missing, unreadable, or invalid (with what is wrong with it).
[[nodiscard]] Chip readChipFile(const std::filesystem::path &path);

/// Writes "<path>.tmp" and renames it: whoever reads `path` sees the old chip or the new one, never
/// half a chip. Throws Failure when that is not possible; the old file is then as it was.
void writeChipFile(const std::filesystem::path &path, const Chip &chip);

} // namespace kx3sim
