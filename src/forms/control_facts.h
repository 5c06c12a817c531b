// What a description of a form says of its controls, without the form itself.
#pragma once

#include "base/types.h"

#include <memory>
#include <string>
#include <vector>

namespace kx3 {

/// Where a form opens. Every form has a fixed single border and no minimise or maximise button.
enum class StartPosition : Byte { centerOwner, centerScreen };

/// Index of a control that is no element of a control array.
inline constexpr Integer noIndex = -1;

/// Entries of a list; lists that show the same entries share them.
using ItemList = std::shared_ptr<const std::vector<std::u16string>>;

} // namespace kx3
