// mpu6-docs: writes the reference pages of shared blocks, device profiles and configuration editors, or checks that
// they are current.

#include "pages.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using kx3docs::Page;
using kx3docs::referencePages;

std::string contentOf(const fs::path &path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// Number of pages in `folder` that are missing, differ, or belong to no editor.
int countStale(const fs::path &folder) {
    int stale = 0;
    const auto pages = referencePages();
    for (const Page &page : pages) {
        if (contentOf(folder / page.name) == page.text) continue;
        fmt::print(stderr, "{} is not current\n", (folder / page.name).string());
        ++stale;
    }
    std::error_code missing;
    for (const auto &entry : fs::directory_iterator(folder / "editors", missing)) {
        const bool known = std::any_of(pages.begin(), pages.end(),
                                       [&](const Page &page) { return entry.path() == folder / page.name; });
        if (known) continue;
        fmt::print(stderr, "{} is a page of no editor\n", entry.path().string());
        ++stale;
    }
    return stale;
}

int check(const fs::path &folder) {
    const int stale = countStale(folder);
    if (stale == 0) return EXIT_SUCCESS;
    fmt::print(stderr, "Run: mpu6-docs {}\n", folder.string());
    return EXIT_FAILURE;
}

int write(const fs::path &folder) {
    fs::create_directories(folder / "editors");
    for (const Page &page : referencePages()) {
        std::ofstream file(folder / page.name, std::ios::binary);
        file << page.text;
        if (file.flush()) continue;
        fmt::print(stderr, "mpu6-docs: {} cannot be written\n", (folder / page.name).string());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv) {
    try {
        if (argc == 2 && argv[1][0] != '-') return write(argv[1]);
        if (argc == 3 && std::string_view(argv[1]) == "--check") return check(argv[2]);
    } catch (const std::exception &error) {
        fmt::print(stderr, "mpu6-docs: {}\n", error.what());
        return EXIT_FAILURE;
    }
    fmt::print(stderr, "usage: mpu6-docs FOLDER           write the reference pages below this folder\n"
                       "       mpu6-docs --check FOLDER   tell which pages are not current\n");
    return 2;
}
