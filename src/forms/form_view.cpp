#include "forms/form_view.h"

#include "forms/form.h"

#include <utility>

namespace kx3 {

FormView::FormView(const Form &form) noexcept : form_(form), generation_(form.generation()) {}

bool FormView::open() const noexcept { return form_.loaded() && form_.generation() == generation_; }

const DialogLayout &FormView::layout() {
    if (arranged_ != form_.structureRevision()) {
        layout_ = dialogLayout(form_);
        arranged_ = form_.structureRevision();
    }
    return layout_;
}

FormChanges FormView::takeChanges() {
    const std::uint64_t since = std::exchange(shown_, form_.revision());
    FormChanges changes{.structure = form_.structureRevision() > since, .controls = {}};
    for (const Control &control : form_.controls())
        if (changes.structure || form_.revisionOf(control) > since) changes.controls.push_back(&control);
    if (std::exchange(shownFocus_, form_.focus()) != form_.focus()) changes.focus = form_.focus();
    return changes;
}

} // namespace kx3
