// One device's configuration on the table: in the device buffer, looked at and changed through the
// plug-in's editor, with a person's hands played by the program: the dialog is opened, read and worked
// as anybody would who sits in front of it.
#pragma once

#include "blocks.h"
#include "editor.h"
#include "field_value.h"
#include "profile.h"
#include "window.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace kx3console {

struct Assignment {
    const Field *field;
    Entry entry;
    std::string value; ///< as typed
};

/// The configuration at one time.
struct Snapshot {
    Bytes bytes;
    std::vector<FieldState> states;  ///< beside the editor's fields
    std::vector<std::uint32_t> bits; ///< stored, beside the editor's fields
};

/// Bytes of device data that the device buffer takes: as the profile says, or, for a plain device, so
/// many that the bytes of its editor lie in it.
[[nodiscard]] std::int32_t bufferData(const Profile &device, const Editor &editor);

class Workbench {
  public:
    /// Blocks for the device, its configuration bytes erased or as the profile says.
    Workbench(const Profile &device, const Editor &editor, std::int32_t language);

    [[nodiscard]] SharedBlocks &blocks() { return blocks_; }

    /// The configuration as it stands in the device buffer, which stays as it is.
    [[nodiscard]] Snapshot look();
    /// Make the entries in the editor and press OK. Fails when an entry cannot be made or OK is refused;
    /// the device buffer is then as it was.
    void edit(const std::vector<Assignment> &assignments);
    /// Open the editor for a person; false when it was not closed by OK.
    [[nodiscard]] bool letEdit(const Window &window);
    /// Write the default bytes.
    void writeDefaults();

  private:
    [[nodiscard]] Bytes bytes() const;
    void keepingBytes(const std::function<bool()> &change);

    const Editor &editor_;
    SharedBlocks blocks_;
    std::set<std::int32_t> addresses_; ///< of the bytes that the editor or the defaults have
};

} // namespace kx3console
