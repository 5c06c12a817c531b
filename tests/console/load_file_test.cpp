// Load files that are damaged: rejected, or read right, and never in part.
#include "failure.h"
#include "load_file.h"
#include "support/unreadable_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kx3console {
namespace {

constexpr std::uint8_t untouched = 0xA5;
using Image = std::array<std::uint8_t, 64>;

struct Format {
    FileFormat format;
    std::string text;
};

/// The bytes 0 to 47 at address 0.
const Format files[] = {
    {FileFormat::intelHex, ":10000000000102030405060708090A0B0C0D0E0F78\n"
                           ":10001000101112131415161718191A1B1C1D1E1F68\n"
                           ":10002000202122232425262728292A2B2C2D2E2F58\n"
                           ":00000001FF\n"},
    {FileFormat::sRecord, "S1130000000102030405060708090A0B0C0D0E0F74\n"
                          "S1130010101112131415161718191A1B1C1D1E1F64\n"
                          "S1130020202122232425262728292A2B2C2D2E2F54\n"
                          "S9030000FC\n"},
};

Image whole() {
    Image image;
    image.fill(untouched);
    std::iota(image.begin(), image.begin() + 48, std::uint8_t{0});
    return image;
}

class LoadFiles : public testing::Test {
  protected:
    LoadFiles() { std::filesystem::create_directories(path.parent_path()); }
    ~LoadFiles() override { std::filesystem::remove_all(path.parent_path()); }

    void write(const std::string &content) const { std::ofstream(path, std::ios::binary) << content; }

    /// What a file of that content leaves in the device buffer; nothing when it is rejected.
    std::optional<Image> load(FileFormat format, const std::string &content) {
        write(content);
        return load(format);
    }
    std::optional<Image> load(FileFormat format) {
        Image image;
        image.fill(untouched);
        try {
            LoadRequest request;
            request.path = path;
            request.format = format;
            (void)loadFile(request, image);
        } catch (const Failure &failure) {
            EXPECT_TRUE(failure.code() == Exit::badFile || failure.code() == Exit::refused) << failure.what();
            EXPECT_NE(failure.message().find(path.filename().string()), std::string::npos) << failure.what();
            return std::nullopt;
        }
        return image;
    }

    const std::filesystem::path path =
        std::filesystem::path(testing::TempDir()) / ("load_files_" + std::to_string(::getpid())) / "file";
};

TEST_F(LoadFiles, CutAtEveryLength) {
    for (const auto &[format, text] : files) {
        EXPECT_EQ(load(format, text), whole());
        for (std::size_t length = 0; length < text.size(); ++length) {
            const auto image = load(format, text.substr(0, length));
            EXPECT_EQ(image.value_or(whole()), whole()) << length << " of " << text.size() << " bytes";
        }
    }
}

TEST_F(LoadFiles, EverySingleBitFlipped) {
    for (const auto &[format, text] : files)
        for (std::size_t bit = 0; bit < text.size() * 8; ++bit) {
            const std::size_t at = bit / 8;
            // No checksum covers an S-record's type.
            if (format == FileFormat::sRecord && at > 0 && text[at - 1] == 'S') continue;
            std::string spoilt = text;
            spoilt[at] = static_cast<char>(spoilt[at] ^ (1 << bit % 8));
            const auto image = load(format, spoilt);
            EXPECT_EQ(image.value_or(whole()), whole()) << "bit " << bit % 8 << " of byte " << at;
        }
}

TEST_F(LoadFiles, RawOfEverySize) {
    for (std::size_t size = 0; size <= Image().size() + 1; ++size) {
        Image expected;
        expected.fill(untouched);
        std::fill_n(expected.begin(), std::min(size, expected.size()), std::uint8_t{'x'});
        const auto image = load(FileFormat::raw, std::string(size, 'x'));
        EXPECT_EQ(image.has_value(), size >= 1 && size <= expected.size()) << size;
        EXPECT_EQ(image.value_or(expected), expected) << size;
    }
}

TEST_F(LoadFiles, WhatIsNoReadableFileIsRejected) {
    kx3::test::forEachUnreadableFile(path, [this] {
        for (const FileFormat format : {FileFormat::raw, FileFormat::intelHex, FileFormat::sRecord})
            EXPECT_EQ(load(format), std::nullopt);
    });
}

TEST_F(LoadFiles, ChangingWhileItIsRead) {
    for (const auto &[format, text] : files) {
        write(text);
        const std::jthread writer([this, &content = text](const std::stop_token &stop) {
            while (!stop.stop_requested()) {
                write(content);
                std::filesystem::resize_file(path, content.size() / 2);
            }
        });
        int read = 0;
        int rejected = 0;
        constexpr int enough = 300;
        while (read + rejected < enough || read == 0 || rejected == 0) {
            const auto image = load(format);
            EXPECT_EQ(image.value_or(whole()), whole());
            ++(image ? read : rejected);
        }
    }
}

} // namespace
} // namespace kx3console
