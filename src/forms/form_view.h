// What a presenter shows of a form, and what of it has to be shown anew.
#pragma once

#include "forms/dialog_layout.h"

#include <cstdint>
#include <vector>

namespace kx3 {

/// What has become different of a form.
struct FormChanges {
    bool structure = false;                ///< the layout, captions, lists or the message
    std::vector<const Control *> controls; ///< whose state differs; all of them with the structure
    const Control *focus = nullptr;        ///< where the focus has moved; null when it has not
};

/// One presenter's view of a form, from its load to its end. The form outlives the view.
class FormView {
  public:
    explicit FormView(const Form &form) noexcept;

    /// Whether the form is open, and has not been loaded again since the view was made.
    [[nodiscard]] bool open() const noexcept;
    /// The form's layout as it stands. Made only when the structure has changed; good until it does.
    [[nodiscard]] const DialogLayout &layout();
    /// What has changed since the last call; everything on the first.
    [[nodiscard]] FormChanges takeChanges();

  private:
    const Form &form_;
    std::uint64_t generation_;
    std::uint64_t shown_ = 0; ///< revision that the presenter has taken
    const Control *shownFocus_ = nullptr;
    std::uint64_t arranged_ = 0; ///< revision of the structure that `layout_` is of
    DialogLayout layout_;
};

} // namespace kx3
