// The description of an editor: tables that are known to fit together.
#pragma once

#include "editors/self_check.h"

namespace kx3 {

/// One editor dialog. Its tables are checked while its file is compiled.
struct EditorDescription : EditorTables {
    consteval explicit EditorDescription(const EditorTables &tables) : EditorTables(tables) { checkTables(tables); }
};

/// The editor as it stands for `device`.
[[nodiscard]] EditorLayout layoutOf(const EditorDescription &editor, const DeviceTraits &device,
                                    const StateWords &words);

/// A list of these items.
[[nodiscard]] ItemList itemList(Texts texts);

} // namespace kx3
