#include "win32/arrangement.h"

#include "base/text.h"
#include "forms/form.h"

#include <algorithm>
#include <array>
#include <list>
#include <map>
#include <utility>

namespace kx3::win32 {

namespace {

/// Lengths at 96 dpi; `close` replaces the gaps between rows and blocks on a low screen.
struct Spacing {
    int row;
    int block;
};
constexpr Spacing comfortable{.row = 4, .block = 8};
constexpr Spacing close{.row = 1, .block = 4};

constexpr int windowMargin = 11;
constexpr int frameMargin = 9;
constexpr int frameBottom = 9;
constexpr int frameTop = 5; ///< below the title
constexpr int columnGap = 10;
constexpr int labelGap = 6;
constexpr int buttonWidth = 75;
constexpr int buttonPadding = 12;
constexpr int buttonGap = 6;
constexpr int buttonTop = 10;
constexpr int checkBoxWidth = 20; ///< box, gap, and the dotted line of the focus
constexpr int fieldPadding = 10;
constexpr std::size_t shortestText = 8; ///< digits that every text box shows

struct Block;
using Column = std::list<Block>;

/// A frame with the columns of blocks inside, or a run of rows with its grid.
struct Block {
    Integer number = 0;
    const Placement *frame = nullptr; ///< null for a run, and for the form itself
    std::vector<Column> columns;
    std::vector<const Placement *> rows;
    int lines = 0;
    int cells = 0;
    const void *group = nullptr; ///< runs of one group have labels of one width
    SIZE size{};                 ///< the least that it takes
};

using CellWidths = std::array<int, 3>; ///< by `CellPart`

class Arranger {
  public:
    Arranger(const Form &form, const DialogLayout &layout, const DialogMetrics &metrics, int fieldHeight,
             const Spacing &spacing)
        : form_(form), metrics_(metrics), fieldHeight_(fieldHeight), rowGap_(metrics.scaled(spacing.row)),
          blockGap_(metrics.scaled(spacing.block)), columnGap_(metrics.scaled(columnGap)),
          markWidth_(metrics.textWidth(refusalMark)), labelGap_(metrics.scaled(labelGap) + markWidth_),
          buttonWidth_(metrics.scaled(buttonWidth)) {
        result_.places.resize(form.controls().size());
        result_.marks.resize(form.controls().size());
        for (const Placement &place : layout.placements)
            sortIn(place);
        formGroups(all_, nullptr);
        measure(all_);
    }

    Arrangement arrange() {
        const int margin = metrics_.scaled(windowMargin);
        const int width = std::max({static_cast<int>(all_.size.cx), buttonsWidth(), titleWidth()});
        placeBlocks(all_, {margin, margin}, width);
        int bottom = margin + static_cast<int>(all_.size.cy);
        bottom = placeMessage(margin, bottom, width);
        bottom = placeButtons(margin + width, bottom);
        result_.client = {width + 2 * margin, bottom + margin};
        return std::move(result_);
    }

  private:
    /// Put a placement into its container's column and block.
    void sortIn(const Placement &place) {
        if (place.column == buttonRow) {
            buttons_.push_back(place.control);
            buttonWidth_ = std::max(buttonWidth_, controlWidth(place));
            return;
        }
        std::vector<Column> &columns = containers_.at(place.control->parent())->columns;
        columns.resize(std::max(columns.size(), static_cast<std::size_t>(place.column) + 1));
        Column &column = columns[static_cast<std::size_t>(place.column)];
        if (column.empty() || column.back().number != place.block) column.emplace_back().number = place.block;
        Block &block = column.back();
        if (place.control->kind() == ControlKind::frame) {
            block.frame = &place;
            containers_[place.control] = &block;
            return;
        }
        block.rows.push_back(&place);
        block.lines = std::max(block.lines, place.line + 1);
        block.cells = std::max(block.cells, place.cell + 1);
    }

    /// Labels and fields that stand under one another, through all frames of a column, have one width.
    void formGroups(Block &block, const void *group) {
        block.group = block.cells > 1 ? &block : group;
        for (const Placement *row : block.rows) {
            int &width = widths_[{block.group, row->cell}][static_cast<std::size_t>(row->part)];
            width = std::max(width, controlWidth(*row));
        }
        for (Column &column : block.columns)
            for (Block &inner : column)
                formGroups(inner, block.columns.size() > 1 ? &column : group);
    }

    // Sizes

    [[nodiscard]] int controlWidth(const Placement &place) const {
        const Control &control = *place.control;
        const int caption = metrics_.captionWidth(shownCaption(place));
        switch (control.kind()) {
        case ControlKind::frame:
        case ControlKind::label: return caption;
        case ControlKind::checkBox: return caption + metrics_.scaled(checkBoxWidth);
        case ControlKind::commandButton: return caption + 2 * metrics_.scaled(buttonPadding);
        case ControlKind::textBox: return textBoxWidth(control);
        case ControlKind::comboBox: break;
        }
        int widest = 0;
        for (const std::u16string &item : control.items())
            widest = std::max(widest, metrics_.textWidth(drawnText(item)));
        return widest + metrics_.scaled(fieldPadding) + ::GetSystemMetrics(SM_CXVSCROLL);
    }

    [[nodiscard]] int textBoxWidth(const Control &box) const {
        const std::u16string widest(std::max(static_cast<std::size_t>(box.maxLength()), shortestText), u'D');
        const std::u16string text(box.text());
        return std::max(metrics_.textWidth(widest), metrics_.textWidth(text)) + metrics_.scaled(fieldPadding);
    }

    [[nodiscard]] int cellWidth(const Block &run, int cell) const {
        const auto &[whole, label, field] = widths_.at({run.group, cell});
        return std::max(whole, label > 0 ? label + labelGap_ + field : field);
    }

    static int widthOf(const Column &column) {
        LONG width = 0;
        for (const Block &block : column)
            width = std::max(width, block.size.cx);
        return static_cast<int>(width);
    }

    /// Width of the columns, or of a run's cells, and of the gaps between them.
    [[nodiscard]] int contentWidth(const Block &block) const {
        int width = 0;
        for (const Column &column : block.columns)
            width += widthOf(column) + columnGap_;
        for (int cell = 0; cell < block.cells; ++cell)
            width += cellWidth(block, cell) + columnGap_;
        return std::max(width - columnGap_, 0);
    }

    void measure(Block &block) {
        int height = block.lines * lineHeight() - (block.lines > 0 ? rowGap_ : 0);
        for (Column &column : block.columns) {
            int ofColumn = -blockGap_;
            for (Block &inner : column) {
                measure(inner);
                ofColumn += static_cast<int>(inner.size.cy) + blockGap_;
            }
            height = std::max(height, ofColumn);
        }
        block.size = {contentWidth(block), height};
        if (block.frame == nullptr) return;
        block.size.cx = std::max<LONG>(block.size.cx, controlWidth(*block.frame)) + 2 * metrics_.scaled(frameMargin);
        block.size.cy += titleHeight(*block.frame) + metrics_.scaled(frameBottom);
    }

    [[nodiscard]] int titleHeight(const Placement &frame) const {
        return drawnText(frame.control->caption()).empty() ? metrics_.scaled(frameBottom) + metrics_.textHeight() / 2
                                                           : metrics_.textHeight() + metrics_.scaled(frameTop);
    }
    [[nodiscard]] int lineHeight() const { return fieldHeight_ + rowGap_; }

    // Places

    void place(const Block &block, POINT origin, int width) {
        if (block.frame == nullptr) return placeRun(block, origin, width);
        const int margin = metrics_.scaled(frameMargin);
        result_.places[block.frame->control->position()] = {origin.x, origin.y, origin.x + width,
                                                            origin.y + block.size.cy};
        placeBlocks(block, {origin.x + margin, origin.y + titleHeight(*block.frame)}, width - 2 * margin);
    }

    void placeBlocks(const Block &container, POINT origin, int width) {
        const auto columns = static_cast<int>(container.columns.size());
        for (const Column &column : container.columns) {
            const int ofColumn = widthOf(column) + (width - contentWidth(container)) / columns;
            LONG top = origin.y;
            for (const Block &block : column) {
                place(block, {origin.x, top}, ofColumn);
                top += block.size.cy + blockGap_;
            }
            origin.x += ofColumn + columnGap_;
        }
    }

    void placeRun(const Block &run, POINT origin, int width) {
        const int spare = (width - contentWidth(run)) / run.cells;
        std::vector<int> lefts{static_cast<int>(origin.x)};
        for (int cell = 0; cell < run.cells; ++cell)
            lefts.push_back(lefts.back() + cellWidth(run, cell) + spare + columnGap_);
        for (const Placement *row : run.rows) {
            const auto cell = static_cast<std::size_t>(row->cell);
            const LONG top = origin.y + row->line * lineHeight();
            placeInCell(*row, run, {lefts[cell], top, lefts[cell + 1] - columnGap_, top + fieldHeight_});
        }
    }

    void placeInCell(const Placement &row, const Block &run, RECT cell) {
        const int label = widths_.at({run.group, row.cell})[static_cast<std::size_t>(CellPart::label)];
        if (row.part == CellPart::label) {
            cell.right = cell.left + label;
        } else if (row.part == CellPart::field && label > 0) {
            cell.left += label + labelGap_;
            const LONG right = cell.left - metrics_.scaled(labelGap) / 2;
            result_.marks[row.control->position()] = {right - markWidth_, cell.top, right, cell.bottom};
        }
        result_.places[row.control->position()] = cell;
    }

    int placeMessage(int left, int bottom, int width) {
        if (form_.message().empty()) return bottom;
        const int top = bottom + blockGap_;
        result_.message = {left, top, left + width, top + metrics_.brokenTextHeight(form_.message(), width)};
        return result_.message.bottom;
    }

    /// Side by side at the right, all of one width.
    int placeButtons(int right, int bottom) {
        if (buttons_.empty()) return bottom;
        const int top = bottom + metrics_.scaled(buttonTop);
        bottom = top + fieldHeight_ + metrics_.scaled(2);
        for (auto button = buttons_.rbegin(); button != buttons_.rend(); ++button) {
            result_.places[(*button)->position()] = {right - buttonWidth_, top, right, bottom};
            right -= buttonWidth_ + metrics_.scaled(buttonGap);
        }
        return bottom;
    }
    [[nodiscard]] int buttonsWidth() const {
        return static_cast<int>(buttons_.size()) * (buttonWidth_ + metrics_.scaled(buttonGap)) -
               metrics_.scaled(buttonGap);
    }
    /// The window's title has room beside the icon and the close button.
    [[nodiscard]] int titleWidth() const {
        return metrics_.textWidth(form_.caption()) + 3 * ::GetSystemMetrics(SM_CXSIZE);
    }

    const Form &form_;
    const DialogMetrics &metrics_;
    int fieldHeight_;
    int rowGap_;
    int blockGap_;
    int columnGap_;
    int markWidth_;
    int labelGap_;
    Block all_;                                                       ///< the form itself
    std::map<const Control *, Block *> containers_{{nullptr, &all_}}; ///< by frame
    std::map<std::pair<const void *, int>, CellWidths> widths_;       ///< by group and cell
    std::vector<const Control *> buttons_;
    int buttonWidth_;
    Arrangement result_;
};

} // namespace

std::u16string shownCaption(const Placement &place) { return std::u16string(trimBlanks(place.markedCaption)); }

Arrangement arrange(const Form &form, const DialogLayout &layout, const DialogMetrics &metrics, int fieldHeight,
                    int tallest) {
    Arrangement result = Arranger(form, layout, metrics, fieldHeight, comfortable).arrange();
    if (result.client.cy <= tallest) return result;
    return Arranger(form, layout, metrics, fieldHeight, close).arrange();
}

} // namespace kx3::win32
