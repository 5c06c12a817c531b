// Profiles, load files and chip files that are none.
#include "input.h"

#include "failure.h"
#include "load_file.h"
#include "profile.h"
#include "simulator/chip_file.h"
#include "simulator/faults.h"

#include <array>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace kx3::fuzz {
namespace {

/// A file in memory.
class File {
  public:
    explicit File(std::span<const std::uint8_t> bytes) {
        promise(::write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a file");
    }
    ~File() { ::close(descriptor_); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_ = ::memfd_create("fuzz", 0);
};

std::string_view restAsText(Input &input) {
    const auto text = input.take(SIZE_MAX);
    return {reinterpret_cast<const char *>(text.data()), text.size()};
}

void readProfiles(std::string_view text) {
    kx3console::ProfileStore store;
    store.add(text, "profiles.toml");
    for (const kx3console::Profile &profile : store.all())
        promise(!profile.name.empty() && profile.bufferBytes() >= 0, "a profile is complete");
}

void readLoadFile(Input &input) {
    const auto format = static_cast<kx3console::FileFormat>(input.below(3));
    const bool skip = input.below(2) != 0;
    const std::uint64_t base = input.below(2) == 0 ? 0 : input.number<std::uint32_t>();
    const File file(input.take(SIZE_MAX));
    std::array<std::uint8_t, 256> image{};
    kx3console::LoadRequest request;
    request.path = file.path();
    request.format = format;
    request.loadBase = base;
    request.skipOutside = skip;
    const auto result = kx3console::loadFile(request, image);
    promise(!result.inside.empty(), "a load file has data for the device");
}

void readChip(Input &input) {
    const File file(input.take(SIZE_MAX));
    const kx3sim::Chip chip = kx3sim::readChipFile(file.path());
    promise(chip.identity.code_count >= 1, "a chip has an identity");
}

} // namespace

void files(Input input) {
    try {
        switch (input.number() % 4) {
        case 0: return readLoadFile(input);
        case 1: return readChip(input);
        case 2: return (void)kx3sim::FaultPlan(restAsText(input), 1);
        default: return readProfiles(restAsText(input));
        }
    } catch (const kx3console::Failure &) { // NOLINT(bugprone-empty-catch): the right answer to most inputs
    } catch (const kx3sim::Failure &) {     // NOLINT(bugprone-empty-catch)
    }
}

} // namespace kx3::fuzz
