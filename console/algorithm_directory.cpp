#include "algorithm_directory.h"

#include "failure.h"
#include "text.h"

#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <utility>

namespace kx3console {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t sampleBytes = 512;

/// In memory, where the shared blocks live, too, unless the user wants another place.
fs::path temporaryPlace() {
    const char *wanted = std::getenv("TMPDIR");
    return wanted == nullptr || *wanted == '\0' ? fs::path("/dev/shm") : fs::path(wanted);
}

std::string problemOf(const fs::path &path, std::uintmax_t longest) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return "there is no such file";
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size == 0) return "the file is empty";
    if (size > longest) return fmt::format("the file has {} bytes; at most {} are possible", size, longest);
    std::ifstream file(path, std::ios::binary);
    const int first = file.get();
    if (first < 0) return "the file cannot be read";
    return first == 0 ? "the file begins with 0, which no image does" : "the plug-in could not use the file";
}

} // namespace

AlgorithmDirectory::AlgorithmDirectory(fs::path directory, const Profile &profile, const kx3_driver_info &driver)
    : directory_(std::move(directory)), longestImage_(static_cast<std::uintmax_t>(driver.longest_algorithm)) {
    const auto part = [&profile](ProfileKey key) { return fs::path(trimmed(profile.text(key))); };
    const fs::path folder(driver.algorithm_folder);
    clockImage_ = (folder / "clk" / part(ProfileKey::algorithm_clock)) += driver.algorithm_extension;
    image_ = (folder / part(ProfileKey::algorithm_folder) / part(ProfileKey::algorithm_file)) +=
        driver.algorithm_extension;

    std::error_code error;
    before_ = fs::current_path(error);
    if (directory_.empty()) makeSample();
    fs::current_path(directory_, error);
    if (!error) return;
    throw Failure(Exit::badFile, fmt::format("algorithm directory {}: {}", directory_.string(), error.message()),
                  "Give the directory that holds the folders algo4 and algo.");
}

AlgorithmDirectory::~AlgorithmDirectory() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    if (!temporary_.empty()) fs::remove_all(temporary_, ignored);
}

void AlgorithmDirectory::makeSample() {
    const fs::path place = temporaryPlace();
    std::string pattern = (place / "mpu6-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw Failure(Exit::failed, fmt::format("no temporary directory can be made in {}", place.string()),
                      "Set TMPDIR to a directory where you may write.");
    temporary_ = directory_ = pattern;
    std::error_code error;
    fs::create_directories(temporary_ / image_.parent_path(), error);
    std::string image(sampleBytes, '\0');
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<char>(static_cast<unsigned char>(i * 7 + 1));
    std::ofstream file(temporary_ / image_, std::ios::binary);
    file.write(image.data(), static_cast<std::streamsize>(image.size()));
}

std::string AlgorithmDirectory::problem() const {
    std::error_code error;
    const bool useClock = fs::is_regular_file(clockImage_, error) && fs::file_size(clockImage_, error) > 0;
    const fs::path &image = useClock ? clockImage_ : image_;
    return fmt::format("algorithm image {}: {}", (directory_ / image).string(), problemOf(image, longestImage_));
}

} // namespace kx3console
