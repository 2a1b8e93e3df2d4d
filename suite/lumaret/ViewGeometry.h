#pragma once

#include "platform/viewer.h"

#include <QSize>
#include <QTransform>

namespace tavrel {

inline constexpr float SmallestZoom = 0.02F, LargestZoom = 64;
inline constexpr float LeastSharpness = -1, MostSharpness = 10;

/// Where the pixels of an image lie in a view.
///
/// Zoom is view pixels for an image pixel's width. The image is flipped, then turned clockwise, both
/// about its own middle, which lies `PanX`, `PanY` view pixels from the middle of the view.
struct ViewGeometry {
    QSize view;
    QSize image;
    double pixelAspect = 1; ///< height of an image pixel by its width

    QTransform ImageToView(const ViewParameters& parameters) const;
    /// The image pixels that the view shows, from the first ones to behind the last ones.
    ViewParameters::Area DisplayedArea(const ViewParameters& parameters) const;
    /// The zoom that shows the whole image turned by `rotation`.
    float FittingZoom(int rotation) const;
    /// `parameters` with zoom and pan such that the view shows `area`, in its middle and as large as
    /// it can be. An empty area changes nothing.
    ViewParameters Showing(const ViewParameters::Area& area, ViewParameters parameters) const;
    /// `parameters` as they can be drawn: other programs hand over any number.
    ViewParameters Drawable(ViewParameters parameters) const;
};

} // namespace tavrel
