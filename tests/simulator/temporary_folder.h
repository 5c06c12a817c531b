// A folder of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace kx3sim::test {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::random_device number;
        do
            path_ = std::filesystem::path(testing::TempDir()) / ("kx3sim_" + std::to_string(number()));
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

inline std::vector<char> slurp(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void spill(const std::filesystem::path &path, const std::vector<char> &bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace kx3sim::test
