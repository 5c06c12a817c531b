// Puts the widgets of a form into Qt layouts, by the places that the plug-in gives.
#pragma once

#include <kx3mpu6.h>

#include <QGridLayout>
#include <QWidget>
#include <map>
#include <utility>

namespace kx3qt {

/// Layouts of all containers, made anew. Widgets keep their parents; what is not placed is left to its
/// caller to hide.
class Arrangement {
  public:
    /// `buttons` is the container of the row of buttons.
    explicit Arrangement(QWidget *buttons);

    /// Put a widget into its place in its parent.
    void place(QWidget *widget, const kx3_placement &place);
    /// Align labels and close the columns; to be called once, after all widgets are placed.
    void finish();

  private:
    using Column = std::pair<QWidget *, int32_t>; ///< container, column of blocks

    /// The grid of a run of rows.
    struct Grid {
        QGridLayout *layout = nullptr;
        Column alignment{};                 ///< grids of one column of blocks align their fields
        std::map<int32_t, int> labelWidths; ///< widest label, by cell
        int32_t cells = 1;
    };

    QBoxLayout *columnLayout(const Column &column);
    Grid &grid(const Column &column, int32_t block);

    QBoxLayout *buttons_;
    std::map<Column, QBoxLayout *> columns_;
    std::map<QWidget *, Column> frames_; ///< where each frame stands
    std::map<int32_t, Grid> grids_;      ///< by block
};

} // namespace kx3qt
