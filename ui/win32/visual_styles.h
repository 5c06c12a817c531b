// The user's visual style for the controls of a library whose host has not asked for it.
#pragma once

#include <windows.h>

namespace kx3::win32 {

/// Controls that are made while the object lives are drawn in the user's style. Without the manifest
/// that the library carries as resource `visualStylesManifest`, or on a system without styles, they
/// have the classic look.
class VisualStyles {
  public:
    VisualStyles() noexcept;
    ~VisualStyles();
    VisualStyles(const VisualStyles &) = delete;
    VisualStyles &operator=(const VisualStyles &) = delete;

  private:
    ULONG_PTR cookie_ = 0;
};

/// Beyond the numbers that the system's loader looks for: the manifest is for dialogs alone.
inline constexpr int visualStylesManifest = 100;

} // namespace kx3::win32
