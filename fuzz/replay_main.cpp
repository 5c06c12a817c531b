// Plays the files of folders once, where there is no fuzzer.
#include "input.h"

#include <filesystem>
#include <fstream>
#include <vector>

int main(int argc, char **argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            std::vector<std::uint8_t> bytes(entry.file_size());
            std::ifstream(entry.path(), std::ios::binary)
                .read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++files;
        }
    std::printf("%d files replayed\n", files);
    return files > 0 ? 0 : 1;
}
