#include "editors/editors.h"

#include "base/error.h"

namespace kx3 {

void Editors::open(Byte mode) {
    const auto editor = editorOfMode(mode);
    if (!editor) return;
    std::unique_ptr<EditorForm> &form = forms_[*editor];
    if (!form) form = std::make_unique<EditorForm>(context_, *editorDescriptions[*editor]);
    if (form->loaded()) raise(ErrorNumber::invalidCall, u"The configuration editor is already open");
    form->setMode(mode);
    form->load();
    const UnloadAtEnd unloadAtEnd(*form);
    context_.ui.showModal(*form);
    form->rethrowFailure();
}

} // namespace kx3
