// The buffer addresses that a verify compares, by device family.
#pragma once

#include "base/types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kx3 {

/// Device parameters that the ranges depend on.
struct VerifyParameters {
    Byte family;        ///< device family code
    Long size;          ///< device size in addresses
    Integer bvcch;      ///< size or selector given per device
    Byte option;        ///< family option
    Integer pageLength; ///< page length
};

/// Up to four disjoint, increasing address ranges. Decided once per operation, so that a chunk is
/// compared run by run without a test per byte.
class VerifyRanges {
  public:
    /// The ranges of a device; every address for a family without ranges. Raises Overflow when a
    /// bound does not fit a Long.
    [[nodiscard]] static VerifyRanges of(const VerifyParameters &device);

    /// Call `compare(from, to)` for each run of compared addresses inside [first, end), in
    /// increasing order, until it returns false. False when one did.
    template <class Compare>
    [[nodiscard]] bool forEachRun(std::int64_t first, std::int64_t end, Compare compare) const {
        for (std::size_t i = 0; i < used_; ++i) {
            const std::int64_t from = std::max(first, ranges_[i].first);
            const std::int64_t to = std::min(end, ranges_[i].end);
            if (from < to && !compare(from, to)) return false;
        }
        return true;
    }

  private:
    struct Range {
        std::int64_t first;
        std::int64_t end; ///< one beyond the last address
    };

    void add(std::int64_t first, std::int64_t end);
    void sortAndMerge();

    std::array<Range, 4> ranges_{};
    std::size_t used_ = 0;
};

} // namespace kx3
