#include "host/buffer_init.h"

#include "base/checked.h"
#include "blocks/sharemap.h"
#include "editors/description.h"

#include <algorithm>
#include <array>
#include <concepts>

namespace kx3 {

namespace {

/// A short list of bytes that can stand inside a table row.
class Bytes {
  public:
    template <std::same_as<int>... Values>
    constexpr Bytes(Values... values) : bytes_{narrow<Byte>(values)...}, size_(sizeof...(values)) {}

    static constexpr Bytes repeated(Byte value, std::size_t count) {
        Bytes bytes;
        std::fill_n(bytes.bytes_.begin(), count, value);
        bytes.size_ = count;
        return bytes;
    }

    [[nodiscard]] constexpr const Byte *begin() const { return bytes_.data(); }
    [[nodiscard]] constexpr const Byte *end() const { return bytes_.data() + size_; }

  private:
    std::array<Byte, 45> bytes_{};
    std::size_t size_;
};

/// Consecutive bytes written for each of `modes`.
struct Run {
    ModeSet modes;
    Long offset; ///< of the first byte, from what the addresses of the mode's editor count from
    Bytes bytes;
};

/// All runs of a mode are written, in table order; bytes between runs keep their values.
constexpr Run runs[] = {
    {{3}, 0, {0x6E, 0xDF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{4, 6, 10}, 0, {0x62, 0xDF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{12}, 0, {0xFF, 0xFF}},
    {{12}, 8, {0x00, 0x00}},
    {{13, 14}, 0, {0xE1, 0x99, 0xFD, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{15}, 0, {0x62, 0x99, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{18}, 0, {0x5E, 0xD9, 0xF4, 0xFF, 0x00, 0x00, 0x00, 0xEC, 0x00, 0x00}},
    {{30, 31, 32}, 0, {0x62, 0x99, 0xFE, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{55, 56}, 0, {0x62, 0xD9, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{58, 59, 60, 61}, 0, {0x62, 0xDF, 0xF9, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{62}, 0, {0xDE, 0xE9, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00}},
    {{45}, 0, Bytes::repeated(0xFF, 8)},
    {{50}, 0, {0xFF, 0x00, 0xFF, 0xFE, 0xFF, 0xFF}},
    {{46, 47, 48, 49}, -48, Bytes::repeated(0xFF, 45)},
    {{46, 47, 48, 49}, -40, {0xFE}},
    {{64}, -40, {0xFF, 0xFF, 0xFF, 0xC5, 0xFF, 0xFF, 0xFF, 0xFF, 0xC5, 0xFF, 0xFF, 0xFF, 0xC5, 0xC5,
                 0xC5, 0xFF, 0xC5, 0xC5, 0xC5, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
};

static_assert(std::all_of(std::begin(runs), std::end(runs),
                          [](const Run &run) { return editedModes.containsAll(run.modes); }),
              "a mode with defaults has an editor");

/// Call `store(address, value)` for each byte, in the order in which they are written.
template <class Store> void forEachDefault(Byte mode, Long length, Store store) {
    const EditorDescription *editor = editorOf(mode);
    if (editor == nullptr) return;
    for (const Run &run : runs) {
        if (!run.modes.contains(mode)) continue;
        const Checked first = configAddress(editor->base, run.offset, length);
        Long k = 0;
        for (const Byte byte : run.bytes)
            store((first + k++).value(), byte);
    }
}

} // namespace

void sinitmpu6(BlockArrays &blocks) {
    forEachDefault(blocks.prgmode(0), blocks.tlength(0),
                   [&](Long address, Byte value) { blocks.ibuffer(address) = value; });
}

std::map<Long, Byte> defaultBytes(Byte mode, Long tlength) {
    std::map<Long, Byte> bytes;
    forEachDefault(mode, tlength, [&](Long address, Byte value) { bytes[address] = value; });
    return bytes;
}

} // namespace kx3
