// The programming modes that have an editor.
#pragma once

#include "editors/editor_list.h"

#include <vector>

namespace kx3::test {

inline const std::vector<Byte> editorModes = [] {
    std::vector<Byte> modes;
    for (Byte mode = 1; mode <= 64; ++mode)
        if (editedModes.contains(mode)) modes.push_back(mode);
    return modes;
}();

} // namespace kx3::test
