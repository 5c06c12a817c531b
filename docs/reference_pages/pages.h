// Reference pages, made from tables and from what the plug-in says about its editors.
#pragma once

#include <string>
#include <vector>

namespace kx3docs {

struct Page {
    std::string name; ///< of the file
    std::string text; ///< Markdown
};

/// What the shared blocks hold.
[[nodiscard]] Page blocksPage();
/// What a device profile may say.
[[nodiscard]] Page profilesPage();

/// All pages: shared blocks, device profiles, and for the editors an overview and one page for each editor.
[[nodiscard]] std::vector<Page> referencePages();

} // namespace kx3docs
