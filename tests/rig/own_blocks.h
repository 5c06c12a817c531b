// Blocks of a test's own: those of test processes that run at the same time must not meet.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace kx3::test {

#if defined(_WIN32)
inline void useOwnNamespace() {} // there, one test runs after the other
#else

/// A process that is forked after the first call stays with its parent's.
inline const std::string &ownNamespace() {
    static const std::string name = "test" + std::to_string(::getpid());
    return name;
}
/// Writes the environment only when it says something else: other threads of a test read it meanwhile.
inline void useOwnNamespace() {
    constexpr const char *variable = "KX3MPU6_NAMESPACE";
    const char *said = std::getenv(variable);
    if (said == nullptr || said != ownNamespace()) ::setenv(variable, ownNamespace().c_str(), 1);
}

/// The file that stands for the block of that name.
inline std::filesystem::path blockFile(const std::string &name) {
    return "/dev/shm/kx3mpu6-" + std::to_string(::geteuid()) + '-' + ownNamespace() + '-' + name;
}
/// Those that exist.
inline std::vector<std::filesystem::path> blockFiles() {
    std::vector<std::filesystem::path> found;
    for (const auto &entry : std::filesystem::directory_iterator("/dev/shm"))
        if (entry.path().string().starts_with(blockFile("").string())) found.push_back(entry.path());
    return found;
}

#endif

} // namespace kx3::test
