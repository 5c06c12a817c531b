// What the reference pages say about a device's configuration, bit by bit.
#pragma once

#include "editor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kx3docs {

/// One line of a table, as Markdown.
struct ReferenceRow {
    std::int32_t address;
    int bit;             ///< highest
    std::string place{}; ///< "2 × t + 1"
    std::string standard{};
    std::string bits{};
    std::string field{};
    std::string control{};
    std::string values{};
    std::string remarks{};
    bool operator==(const ReferenceRow &) const = default;
};

using kx3console::Bytes;
using kx3console::Editor;

/// All bits of the editor's bytes and of `defaults`, from the lowest address and bit on. A forced bit
/// has one row, also where there is a hidden field for it.
[[nodiscard]] std::vector<ReferenceRow> referenceRows(const Editor &editor, const kx3_device &device,
                                                      const Bytes &defaults);

} // namespace kx3docs
