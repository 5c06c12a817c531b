// Texts behind 32-bit handles: BSTRs of the automation allocator in the 32-bit Windows build, a
// process-wide store elsewhere.
#pragma once

#include "base/types.h"

#include <string>
#include <string_view>

namespace kx3::platform {

/// A new handle that owns a copy of `text`; never 0. Raises out of memory.
[[nodiscard]] String allocateString(std::u16string_view text);

/// Copy of the text behind `string`; empty for handle 0. A handle that this process never
/// allocated, or has freed, is an invalid-call error.
[[nodiscard]] std::u16string readString(String string);

/// Free the text behind `string`. Handle 0 and unknown handles are left alone.
void freeString(String string) noexcept;

} // namespace kx3::platform
