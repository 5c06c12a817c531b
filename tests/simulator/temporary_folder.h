// A folder of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kx3sim::test {

class TemporaryFolder {
  public:
    TemporaryFolder() {
        static int folders = 0;
        std::string name = "kx3sim";
        const testing::TestInfo &test = *testing::UnitTest::GetInstance()->current_test_info();
        for (const std::string &part : {std::string(test.test_suite_name()), std::string(test.name())})
            name += "_" + part;
        std::replace(name.begin(), name.end(), '/', '_');
        path_ = std::filesystem::path(testing::TempDir()) / (name + "_" + std::to_string(++folders));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
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
