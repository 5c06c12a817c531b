#include "memory_file.h"

#include "failure.h"

#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kx3console {

MemoryFile::MemoryFile() : descriptor_(::memfd_create("mpu6", MFD_CLOEXEC)) {
    if (descriptor_ < 0) throw Failure(Exit::failed, "no memory for the output file");
}

MemoryFile::~MemoryFile() { ::close(descriptor_); }

std::string MemoryFile::path() const { return fmt::format("/dev/fd/{}", descriptor_); }

void MemoryFile::copyTo(OutputFile &file) const {
    std::array<std::uint8_t, 65536> part{};
    ::lseek(descriptor_, 0, SEEK_SET);
    for (ssize_t got = 0; (got = ::read(descriptor_, part.data(), part.size())) > 0;)
        file.write({part.data(), static_cast<std::size_t>(got)});
}

} // namespace kx3console
