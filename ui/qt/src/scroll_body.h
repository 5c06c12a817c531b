// Room for the blocks of a dialog: all that they need, and scroll bars only where the screen is too
// small for the user's font.
#pragma once

#include <QScrollArea>

namespace kx3qt {

class ScrollBody final : public QScrollArea {
  public:
    explicit ScrollBody(QWidget *parent);

    void setLeastWidth(int width) { leastWidth_ = width; }
    /// Take notice of what the content needs now. What finds no room scrolls; it is not squeezed.
    void fitContent();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    [[nodiscard]] QSize contentSize() const;

    int leastWidth_ = 0;
};

} // namespace kx3qt
