// The device whose configuration is looked at.
#pragma once

#include "../blocks.h"
#include "../profile.h"
#include "editor.h"
#include "request.h"

#include <kx3mpu6.h>
#include <optional>
#include <string>

namespace kx3console::config {

struct Device {
    std::string name; ///< of the profile, or "mode 15, size 0x4000"
    kx3_device traits{};
    std::optional<Profile> profile;
    std::uint64_t loadBase = 0; ///< load file address of the device buffer's first byte
};

/// The device that the request names. Fails with Exit::usage when there is none.
[[nodiscard]] Device deviceOf(const Request &request);

/// Its editor. Fails with Exit::usage when it has none, or when one of its bytes cannot lie in the device
/// buffer (Exit::badFile where that is the profile's fault).
[[nodiscard]] Editor editorOf(const Device &device, std::int32_t language);

/// Bytes of device data that the device buffer needs: the profile's, or so many that the bytes of
/// `editor` (which may be null) lie in it.
[[nodiscard]] std::int32_t bufferData(const Device &device, const Editor *editor);

/// Write what the plug-in needs to know of the device into the blocks.
void storeDevice(SharedBlocks &blocks, const Device &device, std::int32_t language);

} // namespace kx3console::config
