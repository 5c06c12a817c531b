// Files of a test's own.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace kx3::test {

inline std::vector<char> slurp(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Write a file, and the folders that it needs.
inline void spill(const std::filesystem::path &path, const std::vector<char> &bytes) {
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::random_device number;
        do
            path_ = std::filesystem::temp_directory_path() / ("kx3-" + std::to_string(number()));
        while (!std::filesystem::create_directories(path_));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] std::filesystem::path operator/(const char *name) const { return path_ / name; }
    [[nodiscard]] std::size_t files() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator()));
    }

  private:
    std::filesystem::path path_;
};

/// A folder that is the current directory, where the drivers look for algorithm "device" of "family".
class Workplace {
  public:
    explicit Workplace(std::size_t algorithmBytes = 0x123) {
        std::filesystem::current_path(folder / "");
        for (const char *file : {"algo4/family/device.alg", "algo/family/device.bin"})
            spill(file, std::vector<char>(algorithmBytes, 'a'));
    }
    ~Workplace() {
        std::error_code ignored;
        std::filesystem::current_path(home_, ignored);
    }
    Workplace(const Workplace &) = delete;
    Workplace &operator=(const Workplace &) = delete;

    const TemporaryFolder folder;

  private:
    std::filesystem::path home_ = std::filesystem::current_path();
};

} // namespace kx3::test
