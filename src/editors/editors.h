// The configuration editors.
#pragma once

#include "base/types.h"

#include <map>
#include <memory>

namespace kx3 {

struct Context;
struct EditorDescription;
class EditorForm;

/// The thread's editor dialogs, each created on first use and kept.
class Editors {
  public:
    explicit Editors(const Context &context) noexcept;
    Editors(const Editors &) = delete;
    Editors &operator=(const Editors &) = delete;
    ~Editors();

    /// Open the editor of programming mode `mode` modally; return when it has unloaded itself. A
    /// mode without an editor does nothing. Errors of the load and of its events end the editor and
    /// are raised here; opening an editor that is open already is the invalid-call error and leaves
    /// the open one alone.
    void open(Byte mode);

  private:
    const Context &context_;
    std::map<const EditorDescription *, std::unique_ptr<EditorForm>> forms_;
};

} // namespace kx3
