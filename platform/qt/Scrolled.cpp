#include "platform/qt/Scrolled.h"

#include <QApplication>
#include <QEvent>
#include <QScrollBar>

#include <algorithm>

namespace tavrel {
namespace {

constexpr int LeastHeight = 160;

} // namespace

Scrolled::Scrolled(QWidget* parent) : QScrollArea(parent) {
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && widget()->isAncestorOf(now)) // a mnemonic's work, too
            ensureWidgetVisible(now);
    });
}

QSize Scrolled::sizeHint() const {
    return widget()->sizeHint();
}

QSize Scrolled::minimumSizeHint() const {
    const QSize needed = widget()->minimumSizeHint();
    return {needed.width() + verticalScrollBar()->sizeHint().width(), std::min(needed.height(), LeastHeight)};
}

ScrolledRows::ScrolledRows(QWidget* parent) : QSplitter(Qt::Vertical, parent) {
    dynamic_cast<Scrolled&>(*parent).setWidget(this);
}

bool Scrolled::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}

} // namespace tavrel
