// Finding fields by the names that people type.
//
// Case, blanks at the ends, runs of blanks and a colon at the end do not count, and the beginning of
// a caption is enough as long as no other caption begins like it. A field can be named by
//
//   its caption                    CKDIV8
//   frame and caption              Fuse Low Byte/CKDIV8
//   a frame, for all its fields    Fuse Low Byte/
//   its control in the dialog      Combo1(7)
#pragma once

#include "editor.h"

#include <string_view>
#include <vector>

namespace kx3console::config {

using FieldList = std::vector<const Field *>;

/// The fields that a person can see for this device.
[[nodiscard]] FieldList visibleFields(const Editor &editor);

/// The one field of that name, or all fields of that frame. Fails with Exit::usage and lists the names
/// that were meant, or the nearest ones.
[[nodiscard]] FieldList findFields(const Editor &editor, std::string_view name);
/// The one field of that name; a frame is none.
[[nodiscard]] const Field &findField(const Editor &editor, std::string_view name);

/// `text` in lower case, with single blanks and none at the ends, without a colon at its end.
[[nodiscard]] std::string normalName(std::string_view text);

} // namespace kx3console::config
