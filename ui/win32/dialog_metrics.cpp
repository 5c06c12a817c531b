#include "win32/dialog_metrics.h"

#include "base/error.h"
#include "platform/win32/wide.h"

namespace kx3::win32 {

namespace {

UniqueFont messageFont(int dpi) noexcept {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    if (::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0) == FALSE) return nullptr;
    LOGFONTW font = metrics.lfMessageFont;
    font.lfHeight = ::MulDiv(font.lfHeight, dpi, screenDpi());
    return UniqueFont(::CreateFontIndirectW(&font));
}

} // namespace

int screenDpi() noexcept {
    const UniqueMemoryContext screen(::CreateCompatibleDC(nullptr));
    const int dpi = ::GetDeviceCaps(screen.get(), LOGPIXELSY);
    return dpi > 0 ? dpi : designDpi;
}

DialogMetrics::DialogMetrics(int dpi) : dpi_(dpi), font_(messageFont(dpi)), context_(::CreateCompatibleDC(nullptr)) {
    if (!font_ || !context_) raise(ErrorNumber::outOfMemory, u"Out of memory: no font for a dialog");
    ::SelectObject(context_.get(), font_.get());
    TEXTMETRICW metrics{};
    ::GetTextMetricsW(context_.get(), &metrics);
    textHeight_ = metrics.tmHeight;
}

int DialogMetrics::captionWidth(const std::u16string &caption) const noexcept {
    return extent(caption, DT_SINGLELINE, 0).cx;
}

int DialogMetrics::textWidth(const std::u16string &text) const noexcept {
    return extent(text, DT_SINGLELINE | DT_NOPREFIX, 0).cx;
}

int DialogMetrics::brokenTextHeight(const std::u16string &text, int width) const noexcept {
    return extent(text, DT_WORDBREAK | DT_NOPREFIX, width).cy;
}

SIZE DialogMetrics::extent(const std::u16string &text, UINT format, int width) const noexcept {
    RECT box{0, 0, width, 0};
    ::DrawTextW(context_.get(), platform::wide(text), static_cast<int>(text.size()), &box, format | DT_CALCRECT);
    return {box.right, box.bottom};
}

} // namespace kx3::win32
