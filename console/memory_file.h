// A file for libsrecord to write to.
#pragma once

#include "save_file.h"

#include <string>

namespace kx3console {

/// A file that lies in memory alone. libsrecord ends the process when it cannot write, and here it
/// always can.
class MemoryFile {
  public:
    /// Fails with Exit::failed when there is no memory.
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    [[nodiscard]] std::string path() const;
    void copyTo(OutputFile &file) const;

  private:
    int descriptor_;
};

} // namespace kx3console
