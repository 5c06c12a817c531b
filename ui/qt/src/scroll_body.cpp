#include "scroll_body.h"

#include <QEvent>
#include <QScreen>
#include <QScrollBar>

namespace kx3qt {

namespace {

/// Part of the screen that the blocks may take, beside the message, the buttons and the window's frame.
QSize roomOn(const QScreen &screen) {
    const QSize all = screen.availableSize();
    return {all.width() * 19 / 20, all.height() * 4 / 5};
}

} // namespace

ScrollBody::ScrollBody(QWidget *parent) : QScrollArea(parent) {
    setFrameShape(NoFrame);
    setFocusPolicy(Qt::NoFocus); // the first field has the focus at first
    setWidgetResizable(true);
    setWidget(new QWidget);
}

QSize ScrollBody::sizeHint() const {
    const QSize room = roomOn(*screen());
    QSize needed = contentSize();
    const bool isTooHigh = needed.height() > room.height();
    if (needed.width() > room.width()) needed.rheight() += horizontalScrollBar()->sizeHint().height();
    if (isTooHigh) needed.rwidth() += verticalScrollBar()->sizeHint().width();
    return needed.boundedTo(room);
}

QSize ScrollBody::contentSize() const { return widget()->sizeHint().expandedTo({leastWidth_, 0}); }

void ScrollBody::fitContent() {
    widget()->setMinimumSize(contentSize());
    updateGeometry();
}

/// The base class takes no notice of content that needs another size.
bool ScrollBody::eventFilter(QObject *watched, QEvent *event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest) fitContent();
    return QScrollArea::eventFilter(watched, event);
}

} // namespace kx3qt
