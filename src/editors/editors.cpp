#include "editors/editors.h"

#include "base/error.h"
#include "context/context.h"
#include "editors/editor_form.h"
#include "editors/editor_list.h"
#include "outside/ui.h"

namespace kx3 {

Editors::Editors(const Context &context) noexcept : context_(context) {}

Editors::~Editors() = default;

void Editors::open(Byte mode) {
    const EditorDescription *editor = editorOf(mode);
    if (editor == nullptr) return;
    std::unique_ptr<EditorForm> &form = forms_[editor];
    if (!form) form = std::make_unique<EditorForm>(context_, *editor);
    if (form->loaded()) raise(ErrorNumber::invalidCall, u"The configuration editor is already open");
    form->setMode(mode);
    form->load();
    const UnloadAtEnd unloadAtEnd(*form);
    const std::uint64_t opened = form->revision();
    try {
        context_.ui.showModal(*form);
    } catch (...) {
        if (form->loaded() && form->revision() == opened) form->undoLoad(); // nobody has seen it
        throw;
    }
    form->rethrowFailure();
}

} // namespace kx3
