// The configuration editors.
#pragma once

#include "editors/description.h"
#include "editors/editor_form.h"
#include "context/context.h"

#include <array>
#include <memory>

namespace kx3 {

/// The thread's editor dialogs, each created on first use and kept.
class Editors {
  public:
    explicit Editors(const Context &context) noexcept : context_(context) {}
    Editors(const Editors &) = delete;
    Editors &operator=(const Editors &) = delete;

    /// Open the editor of programming mode `mode` modally; return when it has unloaded itself. A
    /// mode without an editor does nothing. Errors of the load and of its events end the editor and
    /// are raised here; opening an editor that is open already is the invalid-call error and leaves
    /// the open one alone.
    void open(Byte mode);

  private:
    const Context &context_;
    std::array<std::unique_ptr<EditorForm>, editorCount> forms_;
};

} // namespace kx3
