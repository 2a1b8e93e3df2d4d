#pragma once

#include <QRect>

namespace tavrel {

/// Where the largest window of a process lies on the screens, its frame included. An empty one where it has none that
/// is seen, and where the window system tells nobody (Wayland).
QRect LargestWindowOf(unsigned process);

} // namespace tavrel
