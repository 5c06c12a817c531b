// Reference pages of the configuration editors, made from what the plug-in says about them.
#pragma once

#include <string>
#include <vector>

namespace kx3console::config {

struct Page {
    std::string name; ///< of the file
    std::string text; ///< Markdown
};

/// An overview and one page for each editor.
[[nodiscard]] std::vector<Page> referencePages();

} // namespace kx3console::config
