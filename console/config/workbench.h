// One device's configuration on the table: loaded into the device buffer, looked at and changed
// through the plug-in.
#pragma once

#include "../blocks.h"
#include "changes.h"
#include "device.h"
#include "dialog.h"

#include <vector>

namespace kx3console::config {

class Workbench {
  public:
    /// Blocks for the device, its configuration bytes erased or as the profile says.
    Workbench(const Device &device, const Editor &editor, std::int32_t language);

    [[nodiscard]] SharedBlocks &blocks() { return blocks_; }

    /// The configuration as it stands in the device buffer, which stays as it is.
    [[nodiscard]] Snapshot look();
    /// Make the entries in the editor and press OK.
    void edit(const std::vector<Assignment> &assignments);
    /// Open the editor for a person; false when it was not closed by OK.
    [[nodiscard]] bool letEdit(const Window &window);
    /// Write the default bytes and tell which they are; none for a device without defaults.
    [[nodiscard]] Bytes writeDefaults();

  private:
    [[nodiscard]] std::span<std::uint8_t> buffer() const { return blocks_.elements<std::uint8_t>("ibuffer"); }
    void restore(const Bytes &bytes);
    [[nodiscard]] Bytes defaultsOver(std::uint8_t background);

    const Editor &editor_;
    SharedBlocks blocks_;
};

} // namespace kx3console::config
