#include "algorithm_directory.h"

#include "failure.h"
#include "geometry.h"

#include <array>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <utility>

namespace kx3console {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t largestImage = 0x6000;
constexpr std::size_t sampleBytes = 512;

struct Place {
    std::string_view driver;
    std::string_view folder;
    std::string_view ending;
};

constexpr std::array places{Place{"arm_prg_32f", "algo4", ".alg"}, Place{"arm_prg", "algo", ".bin"}};

const Place &placeFor(const Profile &profile) {
    const std::string_view driver = driverName(profile.integer(Field::model_type), profile.integer(Field::selection));
    return driver == places[1].driver ? places[1] : places[0];
}

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

/// In memory, where the shared blocks live, too, unless the user wants another place.
fs::path temporaryPlace() {
    const char *wanted = std::getenv("TMPDIR");
    return wanted == nullptr || *wanted == '\0' ? fs::path("/dev/shm") : fs::path(wanted);
}

std::string problemOf(const fs::path &path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return "there is no such file";
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size == 0) return "the file is empty";
    if (size > largestImage) return fmt::format("the file has {} bytes; at most {} are possible", size, largestImage);
    std::ifstream file(path, std::ios::binary);
    const int first = file.get();
    if (first < 0) return "the file cannot be read";
    return first == 0 ? "the file begins with 0, which no image does" : "the plug-in could not use the file";
}

} // namespace

AlgorithmDirectory::AlgorithmDirectory(fs::path directory, const Profile &profile) : directory_(std::move(directory)) {
    const Place &place = placeFor(profile);
    const auto name = [&place](const std::string &text) { return trimmed(text) + std::string(place.ending); };
    clockImage_ = fs::path(place.folder) / "clk" / name(profile.text(Field::algorithm_clock));
    image_ = fs::path(place.folder) / trimmed(profile.text(Field::algorithm_folder)) /
             name(profile.text(Field::algorithm_file));

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
    return fmt::format("algorithm image {}: {}", (directory_ / image).string(), problemOf(image));
}

} // namespace kx3console
