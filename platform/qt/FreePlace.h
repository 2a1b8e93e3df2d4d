#pragma once

#include <QList>
#include <QRect>

#include <functional>

namespace tavrel {

/// Where a window goes, its frame included, that shall cover nothing of `taken`: beside it where there is room for
/// `wanted`, else where most of that fits and no less than `least`, be it on another screen. Where there is no such
/// place it covers at most half of the screen, at its right. `screens` are the parts of the screens that windows may
/// use; `least` is asked when `wanted` fits nowhere.
QRect FreePlace(const QList<QRect>& screens, const QRect& taken, QSize wanted, const std::function<QSize()>& least);

/// The screen that holds the most of a window, and the first one for a window that is on none.
const QRect& ScreenOf(const QRect& window, const QList<QRect>& screens);

/// The window moved, and made smaller if need be, so that no part of it is off that screen.
QRect Inside(const QRect& screen, const QRect& window);

} // namespace tavrel
