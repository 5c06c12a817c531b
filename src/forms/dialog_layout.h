// Where the controls of a form stand in a dialog: one description for every presenter, in grid
// positions and not in pixels.
//
// A form, and every frame, is a container. It holds blocks in one column or in two side by side, one
// block under another. A block is an inner frame, or a run of rows that stand directly on the
// container. A run is a grid of lines and cells; a cell has a place for a label and one for a field,
// and a control without a label takes both. Below all blocks stand the message line of
// `Form::message`, then the row of buttons. What is hidden takes no place.
#pragma once

#include "base/types.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx3 {

class Control;
class Form;

/// Part of a cell that a control takes.
enum class CellPart : Byte { whole, label, field };

inline constexpr Integer buttonRow = -1;

/// A shown control's place.
struct Placement {
    const Control *control = nullptr;
    /// Column of blocks inside the control's container, or `buttonRow`.
    Integer column = 0;
    /// Number of the block, unique in the form. A frame is a block of its own.
    Integer block = 0;
    /// Place in the block's grid. Frames 0 and 0; buttons line 0, and a cell each.
    Integer line = 0;
    Integer cell = 0;
    CellPart part = CellPart::whole;
    /// Position in the control's caption of the letter or digit that Alt reaches it by (through its
    /// label, where it has one). No two in a form are the same.
    std::optional<std::size_t> accessKey;
    /// The caption to draw, by `markedCaption`.
    std::u16string markedCaption;
    /// What a screen reader says: captions of the frames around it, then its own or its label's.
    std::u16string accessibleName;
};

/// Heights are counted in half rows, for a toolkit's usual fields of 24 to 28 pixels a row.
inline constexpr Long rowHeight = 2;
inline constexpr Long frameHeight = 3; ///< of a frame's title and border
/// Blocks higher than this are split into two columns.
inline constexpr Long tallHeight = 30;
/// What fits a screen of 768 lines, beside message, buttons and the window's own frame.
inline constexpr Long screenHeight = 43;
/// Side by side stand so many cells at most once the blocks stand in two columns, which is what fits
/// a screen of 1024 columns.
inline constexpr Integer cellsInSplit = 2;

struct DialogLayout {
    std::vector<Placement> placements; ///< of shown controls, in tab order
    Long height = 0;                   ///< of the blocks, in half rows

    /// Where `control` stands, or null when it is not shown.
    [[nodiscard]] const Placement *find(const Control &control) const &noexcept;
    [[nodiscard]] const Placement *find(const Control &control) const && = delete;
};

/// The layout of a loaded form as it stands; good until the form's structure changes.
[[nodiscard]] DialogLayout dialogLayout(const Form &form);

/// `text` as it is drawn: without tabs.
[[nodiscard]] std::u16string drawnText(std::u16string_view text);
/// `caption` as it is drawn, in the notation of toolkits that take "&" as the mark of an access key:
/// without tabs, with "&" in front of the character at `accessKey`, and with "&&" for each "&".
[[nodiscard]] std::u16string markedCaption(std::u16string_view caption, std::optional<std::size_t> accessKey);

} // namespace kx3
