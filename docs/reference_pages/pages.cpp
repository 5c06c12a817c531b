#include "pages.h"

#include "editor.h"
#include "rows.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>
#include <optional>
#include <string_view>

namespace kx3docs {

namespace {

using kx3console::describeEditor;

constexpr std::int32_t english = 0;
constexpr int highestMode = 255;

/// A case in which an editor differs inside a mode.
struct Variant {
    std::string_view editor;
    int mode; ///< 0: in all modes of the editor
    std::string_view condition;
    std::int32_t size;
    std::int16_t pins;
    std::uint8_t figvol;
};

constexpr std::int32_t usualSize = 0x4000;
constexpr std::int16_t usualPins = 40;

constexpr std::array variants{
    Variant{"edit_figmpu63", 0, "`figvol` 14 or 38", usualSize, usualPins, 14},
    Variant{"edit_figmpu64", 0, "9 to 13 pins", usualSize, 13, 0},
    Variant{"edit_figmpu64", 0, "fewer than 9 pins", usualSize, 8, 0},
    Variant{"edit_figmpu65", 18, "64 pins", usualSize, 64, 0},
    Variant{"edit_figmpu66", 22, "`t` = 32768, 48 pins", 32768, 48, 0},
    Variant{"edit_figmpu66", 22, "`t` = 32768, other pin counts", 32768, usualPins, 0},
    Variant{"edit_figmpu66", 22, "`t` = 65536", 65536, usualPins, 0},
    Variant{"edit_figmpu66", 22, "`t` = 131072", 131072, usualPins, 0},
    Variant{"edit_figmpu66", 22, "other `t` above 32768", 40960, usualPins, 0},
};

/// Byte and default stand in the first row of each byte.
std::string tableOf(const std::vector<ReferenceRow> &rows) {
    std::string text = "| Byte | Default | Bits | Field | Control | Values stored | Remarks |\n"
                       "|---|---|---|---|---|---|---|\n";
    std::optional<std::int32_t> last;
    for (const ReferenceRow &row : rows) {
        const bool first = last != row.address;
        text += fmt::format("| {} | {} | {} | {} | {} | {} | {} |\n", first ? row.place : "", first ? row.standard : "",
                            row.bits, row.field, row.control.empty() ? "" : "`" + row.control + "`", row.values,
                            row.remarks);
        last = row.address;
    }
    return text;
}

std::vector<ReferenceRow> rowsOf(const kx3_device &device) {
    const auto editor = describeEditor(device, english);
    return referenceRows(*editor, device, kx3console::defaultBytes(device));
}

/// What is different from the usual device.
std::vector<ReferenceRow> differing(const std::vector<ReferenceRow> &rows, const std::vector<ReferenceRow> &usual) {
    const auto isUsual = [&usual](const ReferenceRow &row) {
        return std::any_of(usual.begin(), usual.end(), [&row](ReferenceRow each) {
            each.address = row.address; // `t` may be another one
            return each == row;
        });
    };
    std::vector<ReferenceRow> different;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(different),
                 [&isUsual](const ReferenceRow &row) { return !isUsual(row); });
    return different;
}

std::string joined(const std::vector<int> &modes) {
    return fmt::format("{} {}", modes.size() == 1 ? "Mode" : "Modes", fmt::join(modes, ", "));
}

/// The modes of one editor, by what their tables say.
class EditorPage {
  public:
    explicit EditorPage(std::string name) : name_(std::move(name)) {}

    void add(std::uint8_t mode) {
        modes_.push_back(mode);
        std::string body = bodyOf(mode);
        const auto same = std::find_if(sections_.begin(), sections_.end(),
                                       [&body](const Section &section) { return section.body == body; });
        if (same != sections_.end())
            same->modes.push_back(mode);
        else
            sections_.push_back({{mode}, std::move(body)});
    }

    [[nodiscard]] const std::string &name() const { return name_; }
    [[nodiscard]] const std::vector<int> &modes() const { return modes_; }

    [[nodiscard]] Page page() const {
        std::string text =
            fmt::format("# {}\n\n"
                        "<!-- Made by mpu6-docs from the editors themselves. Do not edit; run it again. -->\n\n"
                        "{}. `t` is `tlength`(0); the numbers in the column Default are hexadecimal.\n"
                        "The tables are those of a device with {} pins and `t` = {} where nothing else is said.\n",
                        name_, joined(modes_), usualPins, usualSize);
        for (const Section &section : sections_)
            text += fmt::format("\n## {}\n\n{}", joined(section.modes), section.body);
        return {"editors/" + name_ + ".md", std::move(text)};
    }

  private:
    struct Section {
        std::vector<int> modes;
        std::string body;
    };

    [[nodiscard]] std::string bodyOf(std::uint8_t mode) const {
        const kx3_device usualDevice{sizeof(kx3_device), usualSize, usualPins, mode, 0};
        const std::vector<ReferenceRow> usual = rowsOf(usualDevice);
        std::string body = tableOf(usual);
        if (describeEditor(usualDevice, english)->mirror)
            body += "\nThe byte is also kept at `t`; opening the dialog copies it there.\n";
        for (const Variant &variant : variants) {
            if (variant.editor != name_ || (variant.mode != 0 && variant.mode != mode)) continue;
            const auto rows =
                differing(rowsOf({sizeof(kx3_device), variant.size, variant.pins, mode, variant.figvol}), usual);
            if (!rows.empty()) body += fmt::format("\nOther rows with {}:\n\n{}", variant.condition, tableOf(rows));
        }
        return body;
    }

    std::string name_;
    std::vector<int> modes_;
    std::vector<Section> sections_;
};

Page overview(const std::vector<EditorPage> &editors) {
    std::string text = "# Configuration editors\n\n"
                       "<!-- Made by mpu6-docs from the editors themselves. Do not edit; run it again. -->\n\n"
                       "Which editor opens for which programming mode, `prgmode`(0), and what each byte holds.\n"
                       "`mpu6 config list` shows the same for one device.\n\n"
                       "| Editor | Modes |\n|---|---|\n";
    for (const EditorPage &editor : editors)
        text += fmt::format("| [{0}]({0}.md) | {1} |\n", editor.name(), fmt::join(editor.modes(), ", "));
    return {"editors/README.md", std::move(text)};
}

} // namespace

std::vector<Page> referencePages() {
    std::vector<EditorPage> editors;
    for (int mode = 0; mode <= highestMode; ++mode) {
        const auto number = static_cast<std::uint8_t>(mode);
        const auto editor = describeEditor({sizeof(kx3_device), usualSize, usualPins, number, 0}, english);
        if (!editor) continue;
        auto page = std::find_if(editors.begin(), editors.end(),
                                 [&editor](const EditorPage &each) { return each.name() == editor->name; });
        if (page == editors.end()) page = editors.emplace(editors.end(), editor->name);
        page->add(number);
    }
    std::vector<Page> pages{blocksPage(), profilesPage(), overview(editors)};
    for (const EditorPage &editor : editors)
        pages.push_back(editor.page());
    return pages;
}

} // namespace kx3docs
