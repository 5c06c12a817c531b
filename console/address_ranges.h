// A set of addresses kept as runs, so that a load file is checked without a map of every byte.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace kx3console {

/// Addresses `first` to `last`, both inside.
struct AddressRange {
    std::uint64_t first;
    std::uint64_t last;

    [[nodiscard]] std::uint64_t size() const { return last - first + 1; }
    bool operator==(const AddressRange &) const = default;
};

class AddressRanges {
  public:
    /// Add a range; neighbours and overlaps melt together. Ascending ranges cost constant time.
    void add(AddressRange range);

    /// The part of `range` that is in the set already; nothing when there is none.
    [[nodiscard]] std::optional<AddressRange> overlap(AddressRange range) const;

    [[nodiscard]] bool empty() const { return runs_.empty(); }
    /// Number of addresses.
    [[nodiscard]] std::uint64_t size() const;
    /// Addresses of `whole` that are not in the set.
    [[nodiscard]] AddressRanges gaps(AddressRange whole) const;
    /// The runs as text, "0x0-0xFF, 0x200", at most `most` of them and then how many more.
    [[nodiscard]] std::string text(std::size_t most = 4) const;

    [[nodiscard]] auto begin() const { return runs_.begin(); }
    [[nodiscard]] auto end() const { return runs_.end(); }

  private:
    std::map<std::uint64_t, std::uint64_t> runs_; ///< first address to last address
};

} // namespace kx3console
