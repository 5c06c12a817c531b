// Reference pages of the configuration editors, made from what the plug-in says about them.
#pragma once

#include <string>
#include <vector>

namespace kx3docs {

struct Page {
    std::string name; ///< of the file
    std::string text; ///< Markdown
};

/// What a device profile may say.
[[nodiscard]] Page profilesPage();

/// All pages: device profiles, and for the editors an overview and one page for each editor.
[[nodiscard]] std::vector<Page> referencePages();

} // namespace kx3docs
