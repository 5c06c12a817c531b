// Whether the drivers can move a device's blocks exactly.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kx3console {

/// How a device is divided, in addresses.
struct DeviceGeometry {
    std::int64_t modelType;
    std::int64_t selection;
    std::int64_t size;
    std::int64_t bytesPerAddress;
    std::int64_t blockSize;
};

struct GeometryProblem {
    std::string message;
    std::string advice;
};

/// Nothing when every operation moves exactly the bytes of every block. A driver counts transfers
/// from addresses and makes all but the last one full, so that some divisions would move too much or
/// too little; such a device would be programmed or verified wrongly.
[[nodiscard]] std::optional<GeometryProblem> geometryProblem(const DeviceGeometry &device);

/// Module that drives a device of this model type and selection; empty for a device that no ARM
/// driver drives.
[[nodiscard]] std::string_view driverName(std::int64_t modelType, std::int64_t selection);

} // namespace kx3console
