// Plays files again without a fuzzer: fuzz_replay TARGET FILE OR FOLDER...
#include "input.h"
#include "rig/folder.h"

#include <string_view>

namespace kx3::fuzz {
namespace {

constexpr struct {
    std::string_view name;
    void (*run)(Input input);
} targets[] = {{"reports", reports}, {"blocks", blocks}, {"forms", forms}, {"calls", calls}, {"files", files}};

/// Number of files that were played.
int replay(std::string_view target, const std::filesystem::path &path) {
    int played = 0;
    if (std::filesystem::is_directory(path)) {
        for (const auto &entry : std::filesystem::directory_iterator(path))
            played += replay(target, entry.path());
        return played;
    }
    const std::vector<char> bytes = test::slurp(path);
    for (const auto &[name, run] : targets)
        if (name == target) run({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()}), ++played;
    return played;
}

} // namespace
} // namespace kx3::fuzz

int main(int argc, char **argv) {
    int played = 0;
    for (int i = 2; i < argc; ++i)
        played += kx3::fuzz::replay(argv[1], std::filesystem::absolute(argv[i]));
    std::printf("%d files replayed\n", played);
    return played > 0 ? 0 : 1;
}
