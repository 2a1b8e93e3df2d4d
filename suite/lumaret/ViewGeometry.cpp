#include "suite/lumaret/ViewGeometry.h"

#include <QRectF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavrel {
namespace {

constexpr float FarthestPan = 1e6F, LargestGreyValue = 1e7F;

std::int16_t Pixel(double value) {
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

float Within(float limit, float value) {
    return std::isfinite(value) ? std::clamp(value, -limit, limit) : 0;
}

float ZoomOf(double zoom) {
    return std::clamp(static_cast<float>(zoom), SmallestZoom, LargestZoom);
}

} // namespace

QTransform ViewGeometry::ImageToView(const ViewParameters& parameters) const {
    const auto zoom = static_cast<double>(parameters.zoom);
    QTransform turned;
    turned.rotate(parameters.rotation % 360);
    turned.scale(parameters.flipHorizontal ? -zoom : zoom, (parameters.flipVertical ? -zoom : zoom) * pixelAspect);
    turned.translate(-image.width() / 2.0, -image.height() / 2.0);
    // Whole view pixels: an image at its own size is drawn pixel for pixel.
    const double x = turned.dx() + view.width() / 2.0 + static_cast<double>(parameters.panX);
    const double y = turned.dy() + view.height() / 2.0 + static_cast<double>(parameters.panY);
    return {turned.m11(), turned.m12(), turned.m21(), turned.m22(), std::round(x), std::round(y)};
}

ViewParameters::Area ViewGeometry::DisplayedArea(const ViewParameters& parameters) const {
    const QRectF shown = ImageToView(parameters)
                             .inverted()
                             .mapRect(QRectF(QPointF(0, 0), view))
                             .intersected(QRectF(QPointF(0, 0), image));
    return {Pixel(std::floor(shown.left())), Pixel(std::floor(shown.top())), Pixel(std::ceil(shown.right())),
            Pixel(std::ceil(shown.bottom()))};
}

float ViewGeometry::FittingZoom(int rotation) const {
    QSizeF size(image.width(), image.height() * pixelAspect);
    if (size.isEmpty())
        return 1;
    if (rotation % 180 != 0)
        size.transpose();
    return ZoomOf(std::min(view.width() / size.width(), view.height() / size.height()));
}

ViewParameters ViewGeometry::Showing(const ViewParameters::Area& area, ViewParameters parameters) const {
    const QRectF wanted(QPointF(area.left, area.top), QPointF(area.right, area.bottom));
    if (wanted.isEmpty())
        return parameters;
    parameters.panX = parameters.panY = 0;
    parameters.zoom = 1;
    const QRectF atOne = ImageToView(parameters).mapRect(wanted);
    parameters.zoom = ZoomOf(std::min(view.width() / atOne.width(), view.height() / atOne.height()));
    const QPointF middle = ImageToView(parameters).map(wanted.center());
    parameters.panX = static_cast<float>(std::round(view.width() / 2.0 - middle.x()));
    parameters.panY = static_cast<float>(std::round(view.height() / 2.0 - middle.y()));
    return parameters;
}

ViewParameters ViewGeometry::Drawable(ViewParameters parameters) const {
    const bool zoomed = std::isfinite(parameters.zoom) && parameters.zoom > 0;
    parameters.zoom = zoomed ? ZoomOf(static_cast<double>(parameters.zoom)) : FittingZoom(parameters.rotation);
    parameters.panX = Within(FarthestPan, parameters.panX);
    parameters.panY = Within(FarthestPan, parameters.panY);
    parameters.windowCenter = Within(LargestGreyValue, parameters.windowCenter);
    parameters.windowWidth = Within(LargestGreyValue, parameters.windowWidth);
    parameters.sharpness =
        std::isfinite(parameters.sharpness) ? std::clamp(parameters.sharpness, LeastSharpness, MostSharpness) : 0;
    return parameters;
}

} // namespace tavrel
