#include "win32/arrangement.h"

#include "base/text.h"

#include <algorithm>
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

/// A frame, or a run of rows, with its grid.
struct Block {
    const Control *frame = nullptr; ///< null for a run
    std::vector<const Placement *> rows;
    int lines = 0;
    int cells = 0;
    std::size_t group = 0; ///< runs of one group have labels of one width
};
using Column = std::vector<Block>;

struct CellWidths {
    int label = 0;
    int field = 0;
    int whole = 0;
};

class Arranger {
  public:
    Arranger(const Form &form, const DialogLayout &layout, const DialogMetrics &metrics, int fieldHeight,
             const Spacing &spacing)
        : form_(form), layout_(layout), metrics_(metrics), fieldHeight_(fieldHeight), spacing_(spacing) {
        result_.places.resize(form.controls().size());
        result_.marks.resize(form.controls().size());
        labelGap_ = metrics.scaled(labelGap) + metrics.textWidth(refusalMark);
        for (const Placement &place : layout.placements)
            sortIn(place);
        measureGroup(nullptr, 0);
    }

    Arrangement arrange() {
        const int margin = metrics_.scaled(windowMargin);
        const SIZE content = measure(nullptr);
        const int width = std::max({static_cast<int>(content.cx), buttonsWidth(), titleWidth()});
        place(nullptr, {margin, margin}, width);
        int bottom = margin + content.cy;
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
            return;
        }
        auto &columns = containers_[place.control->parent()];
        columns.resize(std::max(columns.size(), static_cast<std::size_t>(place.column) + 1));
        Column &column = columns[static_cast<std::size_t>(place.column)];
        if (place.control->kind() == ControlKind::frame) {
            column.emplace_back().frame = place.control;
            return;
        }
        if (column.empty() || column.back().frame != nullptr || column.back().rows.front()->block != place.block)
            column.emplace_back();
        Block &run = column.back();
        run.rows.push_back(&place);
        run.lines = std::max(run.lines, place.line + 1);
        run.cells = std::max(run.cells, place.cell + 1);
    }

    /// Widths of the labels and fields that stand under one another, through all frames of a column.
    void measureGroup(const Control *container, std::size_t group) {
        auto &columns = containers_[container];
        for (Column &column : columns) {
            const std::size_t ofColumn = columns.size() > 1 ? newGroup() : group;
            for (Block &block : column) {
                if (block.frame != nullptr) {
                    measureGroup(block.frame, ofColumn);
                    continue;
                }
                block.group = block.cells > 1 ? newGroup() : ofColumn;
                for (const Placement *row : block.rows)
                    measureRow(*row, widths_[{block.group, row->cell}]);
            }
        }
    }
    std::size_t newGroup() { return ++lastGroup_; }

    void measureRow(const Placement &row, CellWidths &widths) const {
        int &width = row.part == CellPart::label   ? widths.label
                     : row.part == CellPart::field ? widths.field
                                                   : widths.whole;
        width = std::max(width, controlWidth(*row.control));
    }

    [[nodiscard]] int controlWidth(const Control &control) const {
        switch (control.kind()) {
        case ControlKind::frame:
        case ControlKind::label: return captionWidth(control);
        case ControlKind::checkBox: return captionWidth(control) + metrics_.scaled(checkBoxWidth);
        case ControlKind::commandButton: return captionWidth(control) + 2 * metrics_.scaled(buttonPadding);
        case ControlKind::textBox: return textBoxWidth(control);
        case ControlKind::comboBox: break;
        }
        int widest = 0;
        for (const std::u16string &item : control.items())
            widest = std::max(widest, metrics_.textWidth(drawnText(item)));
        return widest + metrics_.scaled(fieldPadding) + ::GetSystemMetrics(SM_CXVSCROLL);
    }

    [[nodiscard]] int captionWidth(const Control &control) const {
        return metrics_.captionWidth(shownCaption(control, layout_));
    }

    [[nodiscard]] int textBoxWidth(const Control &box) const {
        const std::size_t digits = std::max(static_cast<std::size_t>(box.maxLength()), shortestText);
        return std::max(metrics_.textWidth(std::u16string(digits, u'D')),
                        metrics_.textWidth(std::u16string(box.text()))) +
               metrics_.scaled(fieldPadding);
    }

    [[nodiscard]] int cellWidth(const Block &run, int cell) const {
        const auto found = widths_.find({run.group, cell});
        if (found == widths_.end()) return 0;
        const CellWidths &widths = found->second;
        const int labelled = widths.label > 0 ? widths.label + labelGap_ + widths.field : widths.field;
        return std::max(labelled, widths.whole);
    }

    // Sizes

    [[nodiscard]] SIZE measure(const Control *container) const {
        SIZE size{};
        const auto &columns = containers_.at(container);
        if (columns.empty()) return size;
        for (const Column &column : columns) {
            const SIZE ofColumn = measureColumn(column);
            size.cx += ofColumn.cx;
            size.cy = std::max(size.cy, ofColumn.cy);
        }
        size.cx += static_cast<LONG>(columns.size() - 1) * metrics_.scaled(columnGap);
        return size;
    }

    [[nodiscard]] SIZE measureColumn(const Column &column) const {
        SIZE size{};
        for (const Block &block : column) {
            const SIZE ofBlock = measureBlock(block);
            size.cx = std::max(size.cx, ofBlock.cx);
            size.cy += ofBlock.cy + (&block == &column.front() ? 0 : metrics_.scaled(spacing_.block));
        }
        return size;
    }

    [[nodiscard]] SIZE measureBlock(const Block &block) const {
        if (block.frame != nullptr) {
            SIZE size = measure(block.frame);
            size.cx = std::max<LONG>(size.cx, captionWidth(*block.frame)) + 2 * metrics_.scaled(frameMargin);
            size.cy += titleHeight(*block.frame) + metrics_.scaled(frameBottom);
            return size;
        }
        int width = (block.cells - 1) * metrics_.scaled(columnGap);
        for (int cell = 0; cell < block.cells; ++cell)
            width += cellWidth(block, cell);
        return {width, block.lines * lineHeight() - metrics_.scaled(spacing_.row)};
    }

    [[nodiscard]] int titleHeight(const Control &frame) const {
        return drawnText(frame.caption()).empty() ? metrics_.scaled(frameBottom) + metrics_.textHeight() / 2
                                                  : metrics_.textHeight() + metrics_.scaled(frameTop);
    }
    [[nodiscard]] int lineHeight() const { return fieldHeight_ + metrics_.scaled(spacing_.row); }

    // Places

    void place(const Control *container, POINT origin, int width) {
        const auto &columns = containers_.at(container);
        if (columns.empty()) return;
        const int spare = (width - static_cast<int>(measure(container).cx)) / static_cast<int>(columns.size());
        for (const Column &column : columns) {
            const int ofColumn = static_cast<int>(measureColumn(column).cx) + spare;
            placeColumn(column, origin, ofColumn);
            origin.x += ofColumn + metrics_.scaled(columnGap);
        }
    }

    void placeColumn(const Column &column, POINT origin, int width) {
        for (const Block &block : column) {
            const int height = static_cast<int>(measureBlock(block).cy);
            if (block.frame != nullptr) {
                result_.places[block.frame->position()] = {origin.x, origin.y, origin.x + width, origin.y + height};
                const int margin = metrics_.scaled(frameMargin);
                place(block.frame, {origin.x + margin, origin.y + titleHeight(*block.frame)}, width - 2 * margin);
            } else {
                placeRun(block, origin, width);
            }
            origin.y += height + metrics_.scaled(spacing_.block);
        }
    }

    void placeRun(const Block &run, POINT origin, int width) {
        const int spare = (width - static_cast<int>(measureBlock(run).cx)) / run.cells;
        std::vector<int> lefts{static_cast<int>(origin.x)};
        for (int cell = 0; cell < run.cells; ++cell)
            lefts.push_back(lefts.back() + cellWidth(run, cell) + spare + metrics_.scaled(columnGap));
        for (const Placement *row : run.rows) {
            const auto cell = static_cast<std::size_t>(row->cell);
            const int top = origin.y + row->line * lineHeight();
            placeInCell(*row, run,
                        {lefts[cell], top, lefts[cell + 1] - metrics_.scaled(columnGap), top + fieldHeight_});
        }
    }

    void placeInCell(const Placement &row, const Block &run, RECT cell) {
        const int label = widths_.at({run.group, row.cell}).label;
        if (row.part == CellPart::label) {
            cell.right = cell.left + label;
        } else if (row.part == CellPart::field && label > 0) {
            cell.left += label + labelGap_;
            const int mark = metrics_.textWidth(refusalMark);
            const int left = cell.left - mark - metrics_.scaled(labelGap) / 2;
            result_.marks[row.control->position()] = {left, cell.top, left + mark, cell.bottom};
        }
        result_.places[row.control->position()] = cell;
    }

    int placeMessage(int left, int bottom, int width) {
        if (form_.message().empty()) return bottom;
        const int top = bottom + metrics_.scaled(spacing_.block);
        result_.message = {left, top, left + width, top + metrics_.brokenTextHeight(form_.message(), width)};
        return result_.message.bottom;
    }

    /// Side by side at the right, all of one width.
    int placeButtons(int right, int bottom) {
        if (buttons_.empty()) return bottom;
        const int top = bottom + metrics_.scaled(buttonTop);
        const int height = fieldHeight_ + metrics_.scaled(2);
        int left = right - buttonsWidth();
        for (const Control *button : buttons_) {
            result_.places[button->position()] = {left, top, left + oneButtonWidth(), top + height};
            left += oneButtonWidth() + metrics_.scaled(buttonGap);
        }
        return top + height;
    }
    [[nodiscard]] int oneButtonWidth() const {
        int width = metrics_.scaled(buttonWidth);
        for (const Control *button : buttons_)
            width = std::max(width, controlWidth(*button));
        return width;
    }
    [[nodiscard]] int buttonsWidth() const {
        const auto count = static_cast<int>(buttons_.size());
        return count * oneButtonWidth() + std::max(count - 1, 0) * metrics_.scaled(buttonGap);
    }
    /// The window's title has room beside the icon and the close button.
    [[nodiscard]] int titleWidth() const {
        return metrics_.textWidth(form_.caption()) + 3 * ::GetSystemMetrics(SM_CXSIZE);
    }

    const Form &form_;
    const DialogLayout &layout_;
    const DialogMetrics &metrics_;
    int fieldHeight_;
    Spacing spacing_;
    int labelGap_ = 0;
    std::map<const Control *, std::vector<Column>> containers_;
    std::map<std::pair<std::size_t, int>, CellWidths> widths_;
    std::vector<const Control *> buttons_;
    std::size_t lastGroup_ = 0;
    Arrangement result_;
};

} // namespace

std::u16string shownCaption(const Control &control, const DialogLayout &layout) {
    const Placement *place = layout.find(control);
    const std::u16string marked = markedCaption(control.caption(), place != nullptr ? place->accessKey : std::nullopt);
    return std::u16string(trimBlanks(marked));
}

Arrangement arrange(const Form &form, const DialogLayout &layout, const DialogMetrics &metrics, int fieldHeight,
                    int tallest) {
    Arrangement result = Arranger(form, layout, metrics, fieldHeight, comfortable).arrange();
    if (result.client.cy <= tallest) return result;
    return Arranger(form, layout, metrics, fieldHeight, close).arrange();
}

} // namespace kx3::win32
