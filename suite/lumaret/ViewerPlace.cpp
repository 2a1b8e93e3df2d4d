#include "suite/lumaret/ViewerPlace.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace tavrel {
namespace {

constexpr int EditorWidth = 735; // the narrow editor and what goes around two windows

/// Another screen, or the right side of the only one.
QRect EditorPlace() {
    const auto screens = QGuiApplication::screens();
    if (screens.size() > 1)
        return screens.back()->geometry();
    QRect right = screens.front()->availableGeometry();
    right.setLeft(right.right() + 1 - EditorWidth);
    return right;
}

} // namespace

ViewerPlace::ViewerPlace(QWidget& window, const QString& file) : window_(window), places_(file, EditorPlace) {
    constexpr double share = 0.9;
    const QSize wanted = QGuiApplication::primaryScreen()->availableSize() * share;
    Put(window_, places_.For(window_, wanted, [this] { return window_.minimumSizeHint(); }));
    window_.installEventFilter(this);
}

bool ViewerPlace::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close)
        places_.Remember(window_);
    return QObject::eventFilter(watched, event);
}

} // namespace tavrel
