// Algorithm images on disk.
#pragma once

#include "base/types.h"

#include <optional>

namespace kx3 {

struct ArmProfile;
struct BlockArrays;

/// An image that stands in block `algobuf`.
struct AlgorithmImage {
    Long length;         ///< bytes
    Long readBackLength; ///< bytes of the array that its read-back needs
};

/// Load the image that `algorithm`(0) to (2) name, from the folders of `profile` below the current
/// directory, into `algobuf`: the clock-specific file when it exists and is not empty, else the
/// general one. Nothing when the file is missing, empty, cannot be read, begins with 0, or is longer
/// than `longestAlgorithm`.
[[nodiscard]] std::optional<AlgorithmImage> loadAlgorithm(BlockArrays &blocks, const ArmProfile &profile);

} // namespace kx3
