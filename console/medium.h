// Where configuration bytes are kept: a load file, or the chip.
#pragma once

#include "blocks.h"
#include "command_line.h"
#include "editor.h"
#include "profile.h"

#include <memory>
#include <string>

namespace kx3console {

class Medium {
  public:
    Medium() = default;
    Medium(const Medium &) = delete;
    Medium &operator=(const Medium &) = delete;
    virtual ~Medium() = default;

    /// What is read and what is written, for messages.
    [[nodiscard]] virtual std::string source() const = 0;
    [[nodiscard]] virtual std::string target() const = 0;
    /// Put the bytes into the device buffer, which holds erased bytes where there are none.
    virtual void load() = 0;
    /// Whether a byte of the device buffer came from there.
    [[nodiscard]] virtual bool holds(std::int32_t address) const = 0;
    /// Whether there is something to write even when no byte changes: a new file.
    [[nodiscard]] virtual bool isCopy() const = 0;
    /// Fail, with nothing written, when these bytes cannot be kept there.
    virtual void requireRoom(const Bytes &bytes) = 0;
    /// Write the bytes, for which there is room; all of them or, when it fails, none.
    virtual void store(const Bytes &bytes) = 0;
};

/// The file or chip of the options. Fails with Exit::usage when they name none. The plug-in must not be
/// in use while the medium loads or stores.
[[nodiscard]] std::unique_ptr<Medium> mediumOf(const Options &options, const Profile &device, SharedBlocks &blocks);

} // namespace kx3console
