#include "arm/algorithm_file.h"

#include "base/text.h"
#include "blocks/sharemap.h"
#include "outside/driver_table.h"
#include "platform/system.h"

#include <algorithm>

namespace kx3 {

namespace {

constexpr std::u16string_view clockFolder = u"clk\\";
/// The read-back array of a clock-specific image is at least this long, plus one.
constexpr Long shortestClockReadBack = 0x3000;

std::u16string namePart(const BlockArrays &blocks, Long index) {
    return std::u16string(trimBlanks(readText(blocks.algorithm, index)));
}

/// Length of the file when it exists and fits `algobuf`.
std::optional<Long> usableLength(const BlockArrays &blocks, std::u16string_view path) {
    const std::optional<std::uint64_t> length = platform::regularFileLength(path);
    if (!length || *length > blocks.algobuf.count()) return std::nullopt;
    return static_cast<Long>(*length);
}

bool readImage(BlockArrays &blocks, std::u16string_view path, Long length) {
    return length > 0 && platform::readFile(path, blocks.algobuf.range(0, length)) && blocks.algobuf(0) != 0 &&
           length <= longestAlgorithm;
}

std::optional<AlgorithmImage> loadFrom(BlockArrays &blocks, std::u16string_view path, Long shortestReadBack) {
    const std::optional<Long> length = usableLength(blocks, path);
    if (!length || !readImage(blocks, path, *length)) return std::nullopt;
    return AlgorithmImage{*length, std::max(*length, shortestReadBack) + 1};
}

} // namespace

std::optional<AlgorithmImage> loadAlgorithm(BlockArrays &blocks, const ArmProfile &profile) {
    const std::u16string folder =
        join(platform::currentDirectory(), u"\\", fromUtf8(profile.algorithmFolder.value), u"\\");
    const std::u16string extension = fromUtf8(profile.algorithmExtension.value);
    const std::u16string clockSpecific = join(folder, clockFolder, namePart(blocks, 0), extension);
    const std::u16string general = join(folder, namePart(blocks, 1), u"\\", namePart(blocks, 2), extension);
    if (platform::regularFileLength(clockSpecific).value_or(0) != 0)
        return loadFrom(blocks, clockSpecific, shortestClockReadBack);
    return loadFrom(blocks, general, 0);
}

} // namespace kx3
