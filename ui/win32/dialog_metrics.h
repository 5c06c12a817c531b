// Font and lengths of a dialog, in pixels of one resolution.
#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <windows.h>

namespace kx3::win32 {

struct FontDeleter {
    void operator()(HFONT font) const noexcept { ::DeleteObject(font); }
};
using UniqueFont = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;

struct DeviceContextDeleter {
    void operator()(HDC context) const noexcept { ::DeleteDC(context); }
};
using UniqueMemoryContext = std::unique_ptr<std::remove_pointer_t<HDC>, DeviceContextDeleter>;

/// The resolution that one pixel a unit belongs to.
inline constexpr int designDpi = 96;

/// Dots per inch of the screen, as the system tells this process.
[[nodiscard]] int screenDpi() noexcept;

/// The user's message font at a resolution, and what texts in it take.
class DialogMetrics {
  public:
    /// Raises "out of memory" when the system has no font or device context left.
    explicit DialogMetrics(int dpi);

    [[nodiscard]] HFONT font() const noexcept { return font_.get(); }
    /// Pixels of what takes `units` at `designDpi`.
    [[nodiscard]] int scaled(int units) const noexcept { return ::MulDiv(units, dpi_, designDpi); }
    /// Height of a line of text.
    [[nodiscard]] int textHeight() const noexcept { return textHeight_; }
    /// Width of a caption in which "&" marks the access key.
    [[nodiscard]] int captionWidth(const std::u16string &caption) const noexcept;
    /// Width of a text that is drawn as it is.
    [[nodiscard]] int textWidth(const std::u16string &text) const noexcept;
    /// Height of `text` broken into lines of `width`.
    [[nodiscard]] int brokenTextHeight(const std::u16string &text, int width) const noexcept;

  private:
    [[nodiscard]] SIZE extent(const std::u16string &text, UINT format, int width) const noexcept;

    int dpi_;
    UniqueFont font_;
    UniqueMemoryContext context_; ///< has the font selected, so that it goes first
    int textHeight_ = 0;
};

} // namespace kx3::win32
