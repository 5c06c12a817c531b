// The description of an editor.
#pragma once

#include "editors/tables.h"

namespace kx3 {

/// One editor dialog.
struct EditorDescription : EditorTables {
    consteval explicit EditorDescription(const EditorTables &tables) : EditorTables(tables) {}
};

/// The editor as it stands for `device`.
[[nodiscard]] EditorLayout layoutOf(const EditorDescription &editor, const DeviceTraits &device,
                                    const StateWords &words);

/// A list of these items.
[[nodiscard]] ItemList itemList(Texts texts);

} // namespace kx3
