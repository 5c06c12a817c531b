#include "arrangement.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace kx3qt {

namespace {

// Tight lines keep the tallest editors within 768 lines.
constexpr int lineSpacing = 3;
constexpr int blockSpacing = 6;
constexpr int longLabel = 18; // characters

} // namespace

QBoxLayout *Arrangement::columnLayout(const Column &column) {
    QBoxLayout *&layout = columns_[column];
    if (layout != nullptr) return layout;
    QWidget *container = column.first;
    if (column.second == 0) {
        delete container->layout();
        auto *side = new QHBoxLayout(container);
        if (container->inherits("QGroupBox"))
            side->setContentsMargins(blockSpacing, lineSpacing, blockSpacing, blockSpacing);
        else
            side->setContentsMargins(0, 0, 0, 0);
    }
    layout = new QVBoxLayout;
    layout->setSpacing(blockSpacing);
    static_cast<QBoxLayout *>(container->layout())->addLayout(layout, 1);
    return layout;
}

Arrangement::Grid &Arrangement::grid(const Column &column, int32_t block) {
    Grid &grid = grids_[block];
    if (grid.layout != nullptr) return grid;
    const auto frame = frames_.find(column.first);
    grid.alignment = frame == frames_.end() ? column : frame->second;
    grid.layout = new QGridLayout;
    grid.layout->setVerticalSpacing(lineSpacing);
    columnLayout(column)->addLayout(grid.layout);
    return grid;
}

void Arrangement::place(QWidget *container, QWidget *widget, int32_t kind, const kx3_placement &place) {
    const Column column{container, place.column};
    if (kind == KX3_FRAME) {
        frames_[widget] = column;
        columnLayout(column)->addWidget(widget);
        return;
    }
    Grid &grid = this->grid(column, place.block);
    grid.cells = std::max(grid.cells, place.cell + 1);
    const int cell = 2 * place.cell;
    switch (place.part) {
    case KX3_PART_LABEL: {
        grid.layout->addWidget(widget, place.line, cell, Qt::AlignLeft | Qt::AlignVCenter);
        int &widest = grid.labelWidths[place.cell];
        widest = std::max(widest, widget->sizeHint().width());
        break;
    }
    case KX3_PART_FIELD:
        // Lists of one column are as wide as the widest of them.
        grid.layout->addWidget(widget, place.line, cell + 1,
                               kind == KX3_COMBO_BOX ? Qt::Alignment() : Qt::Alignment(Qt::AlignLeft));
        break;
    default: grid.layout->addWidget(widget, place.line, cell, 1, 2, Qt::AlignLeft);
    }
}

/// The widest label of a cell over all grids that align, apart from those that would tear the others
/// away from their fields.
int Arrangement::commonLabelWidth(const Column &alignment, int32_t cell, int longest) const {
    int common = 0;
    for (const auto &[block, grid] : grids_) {
        const auto width = grid.labelWidths.find(cell);
        if (grid.alignment == alignment && width != grid.labelWidths.end() && width->second <= longest)
            common = std::max(common, width->second);
    }
    return common;
}

void Arrangement::finish() {
    for (const auto &[block, grid] : grids_) {
        const int longest = longLabel * grid.alignment.first->fontMetrics().averageCharWidth();
        for (const auto &[cell, width] : grid.labelWidths)
            grid.layout->setColumnMinimumWidth(2 * cell, commonLabelWidth(grid.alignment, cell, longest));
        grid.layout->setColumnStretch(2 * grid.cells, 1);
    }
    for (const auto &[column, layout] : columns_)
        layout->addStretch(1);
}

} // namespace kx3qt
