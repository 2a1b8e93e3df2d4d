#include "platform/qt/FreePlace.h"

#include <algorithm>
#include <cstdint>

namespace tavrel {
namespace {

std::int64_t Area(const QRect& rect) {
    return rect.isEmpty() ? 0 : std::int64_t{rect.width()} * rect.height();
}

/// The parts of a screen that lie beside a window, above it and below.
QList<QRect> Free(const QRect& screen, const QRect& taken) {
    const QRect covered = screen & taken;
    if (covered.isEmpty())
        return {screen};
    QRect right = screen, left = screen, below = screen, above = screen;
    right.setLeft(covered.right() + 1);
    left.setRight(covered.left() - 1);
    below.setTop(covered.bottom() + 1);
    above.setBottom(covered.top() - 1);
    return {right, left, below, above};
}

/// A window of that size in the part of a screen, as near to the other window as there is room.
QRect Near(const QRect& taken, const QRect& part, QSize size) {
    QRect place(QPoint(), size);
    place.moveCenter(taken.center());
    return Inside(part, place);
}

/// What has no room at the side has it below.
QSize Folded(QSize size, QSize wanted, const QRect& part) {
    return size.width() < wanted.width() ? QSize(size.width(), part.height()) : size;
}

} // namespace

const QRect& ScreenOf(const QRect& window, const QList<QRect>& screens) {
    return *std::ranges::max_element(screens, {}, [&](const QRect& screen) { return Area(screen & window); });
}

QRect Inside(const QRect& screen, const QRect& window) {
    QRect inside(window.topLeft(), window.size().boundedTo(screen.size()));
    inside.moveRight(std::min(inside.right(), screen.right()));
    inside.moveBottom(std::min(inside.bottom(), screen.bottom()));
    inside.moveLeft(std::max(inside.left(), screen.left()));
    inside.moveTop(std::max(inside.top(), screen.top()));
    return inside;
}

QRect FreePlace(const QList<QRect>& screens, const QRect& taken, QSize wanted, const std::function<QSize()>& leastOf) {
    const QRect& home = ScreenOf(taken, screens);
    QList<QRect> parts = Free(home, taken);
    for (const auto& screen : screens)
        if (&screen != &home)
            parts += Free(screen, taken);
    const auto fits = [&](const QRect& part) { return wanted == wanted.boundedTo(part.size()); };
    if (const auto roomy = std::ranges::find_if(parts, fits); roomy != parts.end())
        return Near(taken, *roomy, wanted);
    const QSize least = leastOf();
    parts.removeIf([&](const QRect& part) { return part.width() < least.width() || part.height() < least.height(); });
    const auto used = [&](const QRect& part) { return wanted.boundedTo(part.size()); };
    const auto best = std::ranges::max_element(
        parts, {}, [&](const QRect& part) { return Area(QRect(QPoint(), used(part))); }); // of equals the first
    if (best == parts.end()) {
        const int width = std::clamp(home.width() / 2, least.width(), std::max(wanted.width(), least.width()));
        QRect place = Near(taken, home, Folded({width, wanted.height()}, wanted, home));
        place.moveRight(home.right());
        return place;
    }
    return Near(taken, *best, Folded(used(*best), wanted, *best));
}

} // namespace tavrel
