// Pixels for a form's dialog: the shared layout's grid, filled with measured texts.
#pragma once

#include "forms/dialog_layout.h"
#include "win32/dialog_metrics.h"

#include <string>
#include <vector>
#include <windows.h>

namespace kx3::win32 {

/// The text of a frame, label, check box or button as the system's controls take it.
[[nodiscard]] std::u16string shownCaption(const Placement &place);

/// Rectangles inside the dialog's client area.
struct Arrangement {
    std::vector<RECT> places; ///< by control position; those of hidden controls are empty
    std::vector<RECT> marks;  ///< by control position: where a refused field bears its mark
    RECT message{};           ///< empty without a message
    SIZE client{};
};

/// Arrange the form as it stands. Each label and field has the height of `fieldHeight`, what a closed
/// drop-down list takes. Rows stand close when they would not fit `tallest` pixels otherwise.
[[nodiscard]] Arrangement arrange(const Form &form, const DialogLayout &layout, const DialogMetrics &metrics,
                                  int fieldHeight, int tallest);

/// What stands beside a refused field: a shape, for those who do not tell colours apart.
inline constexpr char16_t refusalMark[] = u"!";

} // namespace kx3::win32
