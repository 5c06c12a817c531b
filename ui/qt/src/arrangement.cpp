#include "arrangement.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace kx3qt {

namespace {

// Tight lines keep the tallest editors within 768 lines.
constexpr int lineSpacing = 3;
constexpr int blockSpacing = 6;
constexpr int longLabel = 18; // characters

/// A row layout in place of the one that the container has had.
QHBoxLayout *freshRow(QWidget *container) {
    delete container->layout();
    auto *row = new QHBoxLayout(container);
    if (qobject_cast<QGroupBox *>(container) != nullptr)
        row->setContentsMargins(blockSpacing, lineSpacing, blockSpacing, blockSpacing);
    else
        row->setContentsMargins(0, 0, 0, 0);
    return row;
}

} // namespace

Arrangement::Arrangement(QWidget *buttons) : buttons_(freshRow(buttons)) { buttons_->addStretch(); }

QBoxLayout *Arrangement::columnLayout(const Column &column) {
    QBoxLayout *&layout = columns_[column];
    if (layout != nullptr) return layout;
    const auto &[container, number] = column;
    layout = new QVBoxLayout;
    layout->setSpacing(blockSpacing);
    QBoxLayout *row = number == 0 ? freshRow(container) : static_cast<QBoxLayout *>(container->layout());
    row->addLayout(layout, 1);
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

void Arrangement::place(QWidget *widget, const kx3_placement &place) {
    const Column column{widget->parentWidget(), place.column};
    if (place.column == KX3_BUTTON_ROW) return buttons_->addWidget(widget);
    if (qobject_cast<QGroupBox *>(widget) != nullptr) {
        frames_[widget] = column;
        return columnLayout(column)->addWidget(widget);
    }
    Grid &grid = this->grid(column, place.block);
    grid.cells = std::max(grid.cells, place.cell + 1);
    const int cell = 2 * place.cell + (place.part == KX3_PART_FIELD ? 1 : 0);
    if (place.part == KX3_PART_LABEL) {
        int &widest = grid.labelWidths[place.cell];
        widest = std::max(widest, widget->sizeHint().width());
    }
    // Lists of one column are as wide as the widest of them.
    const bool filling = place.part == KX3_PART_FIELD && qobject_cast<QComboBox *>(widget) != nullptr;
    grid.layout->addWidget(widget, place.line, cell, 1, place.part == KX3_PART_WHOLE ? 2 : 1,
                           filling ? Qt::Alignment() : Qt::AlignLeft);
}

void Arrangement::finish() {
    // The widest label of a cell over all grids that align, apart from those that would tear the others
    // away from their fields.
    std::map<std::pair<Column, int32_t>, int> common;
    for (const auto &[block, grid] : grids_)
        for (const auto &[cell, width] : grid.labelWidths) {
            int &widest = common[{grid.alignment, cell}];
            if (width <= longLabel * grid.alignment.first->fontMetrics().averageCharWidth())
                widest = std::max(widest, width);
        }
    for (const auto &[block, grid] : grids_) {
        for (const auto &[cell, width] : grid.labelWidths)
            grid.layout->setColumnMinimumWidth(2 * cell, common[{grid.alignment, cell}]);
        grid.layout->setColumnStretch(2 * grid.cells, 1);
    }
    for (const auto &[column, layout] : columns_)
        layout->addStretch(1);
}

} // namespace kx3qt
