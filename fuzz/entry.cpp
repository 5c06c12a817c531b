// How a fuzzer's inputs come to it: from libFuzzer, or from the files of folders.
#include "input.h"

#if defined(KX3_REPLAY_ONLY)

#include "rig/folder.h"

int main(int argc, char **argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(std::filesystem::absolute(argv[i]))) {
            const std::vector<char> bytes = kx3::test::slurp(entry.path());
            kx3::fuzz::run({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()});
            ++files;
        }
    std::printf("%d files replayed\n", files);
    return files > 0 ? 0 : 1;
}

#else

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    kx3::fuzz::run({data, size});
    return 0;
}

#endif
