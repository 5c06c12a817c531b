// The configuration editors.
#pragma once

#include "host/context.h"

namespace kx3 {

/// The thread's editor dialogs, each created on first use and kept.
class Editors {
  public:
    explicit Editors(Context &context) noexcept : context_(context) {}
    Editors(const Editors &) = delete;
    Editors &operator=(const Editors &) = delete;

    /// Open the editor of programming mode `mode` modally; return when it has unloaded itself. A
    /// mode without an editor does nothing.
    void open(Byte mode);

  private:
    Context &context_;
};

} // namespace kx3
