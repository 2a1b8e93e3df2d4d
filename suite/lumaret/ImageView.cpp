#include "suite/lumaret/ImageView.h"

#include "platform/error.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavrel {
namespace {

constexpr float SmallestZoom = 0.02F, LargestZoom = 64;
constexpr int WheelStep = 120; // one notch, in eighths of a degree

std::int16_t Pixel(double value) {
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

/// The grey levels as gamma bends them; 1 leaves them alone.
void ApplyGamma(QImage& image, float gamma) {
    if (gamma == 1 || !(gamma > 0) || !std::isfinite(gamma))
        return;
    std::array<uchar, 256> bent{};
    for (std::size_t level = 0; level < bent.size(); ++level)
        bent[level] = static_cast<uchar>(
            std::lround(255 * std::pow(static_cast<double>(level) / 255, 1.0 / static_cast<double>(gamma))));
    const int bytes = image.width() * image.depth() / 8;
    for (int y = 0; y < image.height(); ++y) {
        uchar* line = image.scanLine(y);
        std::transform(line, line + bytes, line, [&](uchar level) { return bent[level]; });
    }
}

} // namespace

ImageView::ImageView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(256, 256);
    setAccessibleName(tr("Image"));
}

bool ImageView::Load(const QString& path, int frame) {
    failure_.clear();
    frameImage_ = QImage();
    try {
        if (!file_ || path != path_) {
            path_ = path;
            file_.reset();
            file_ = std::make_unique<ImageFile>(path);
        }
        view_.frame = frame;
        return true;
    } catch (const Error& error) {
        failure_ = QString::fromStdString(error.description);
    } catch (const std::exception& error) {
        failure_ = tr("The image cannot be shown: %1").arg(error.what());
    }
    return false;
}

void ImageView::Open(const QString& path, int frame, bool keepView) {
    const QSize former = HasImage() ? file_->Size() : QSize();
    if (Load(path, frame)) {
        if (!keepView || former != file_->Size()) {
            view_ = ViewParameters();
            view_.frame = frame;
            fitted_ = true;
        }
        if (!keepView || view_.windowWidth < 1) {
            try {
                const GreyWindow window = file_->OwnWindow(frame);
                view_.windowCenter = static_cast<float>(window.center);
                view_.windowWidth = static_cast<float>(window.width);
            } catch (const Error& error) {
                failure_ = QString::fromStdString(error.description);
            }
        }
        Render();
        if (fitted_)
            view_.zoom = static_cast<float>(FittingZoom());
    }
    Touched();
}

void ImageView::Open(const QString& path, const ViewParameters& parameters) {
    if (Load(path, parameters.frame)) {
        view_ = parameters;
        fitted_ = false;
        Render();
        // A view of another size than the one it was handed from shows the same part of the image.
        if (HasImage() && parameters.displayedArea != ViewParameters::Area{} &&
            DisplayedArea() != parameters.displayedArea)
            ShowArea(parameters.displayedArea);
    }
    Touched();
}

void ImageView::Clear() {
    path_.clear();
    file_.reset();
    frameImage_ = QImage();
    failure_.clear();
    caption_.clear();
    Touched();
}

void ImageView::Caption(const QStringList& lines) {
    caption_ = lines;
    update();
}

void ImageView::Render() {
    frameImage_ = QImage();
    if (!file_ || !failure_.isEmpty())
        return;
    try {
        const GreyWindow window{static_cast<double>(view_.windowCenter), static_cast<double>(view_.windowWidth)};
        frameImage_ = file_->Render(view_.frame, window, view_.inverted);
        ApplyGamma(frameImage_, view_.gamma);
    } catch (const Error& error) {
        failure_ = QString::fromStdString(error.description);
    }
}

ViewParameters ImageView::View() const {
    ViewParameters view = view_;
    view.displayedArea = DisplayedArea();
    return view;
}

double ImageView::FittingZoom() const {
    if (!HasImage())
        return 1;
    QSizeF size(frameImage_.width(), frameImage_.height() * file_->PixelAspect());
    if (view_.rotation % 180 != 0)
        size.transpose();
    const double zoom = std::min(width() / size.width(), height() / size.height());
    return std::clamp(zoom, static_cast<double>(SmallestZoom), static_cast<double>(LargestZoom));
}

QTransform ImageView::ImageToView() const {
    const double zoom = static_cast<double>(view_.zoom);
    QTransform transform;
    transform.translate(width() / 2.0 + static_cast<double>(view_.panX),
                        height() / 2.0 + static_cast<double>(view_.panY));
    transform.rotate(view_.rotation);
    transform.scale(view_.flipHorizontal ? -zoom : zoom, view_.flipVertical ? -zoom : zoom);
    transform.scale(1, file_ ? file_->PixelAspect() : 1);
    transform.translate(-frameImage_.width() / 2.0, -frameImage_.height() / 2.0);
    return transform;
}

ViewParameters::Area ImageView::DisplayedArea() const {
    if (!HasImage())
        return {};
    const QRectF shown =
        ImageToView().inverted().mapRect(QRectF(rect())).intersected(QRectF(QPointF(0, 0), frameImage_.size()));
    return {Pixel(std::floor(shown.left())), Pixel(std::floor(shown.top())), Pixel(std::ceil(shown.right())),
            Pixel(std::ceil(shown.bottom()))};
}

void ImageView::ShowArea(const ViewParameters::Area& area) {
    const QRectF wanted(QPointF(area.left, area.top), QPointF(area.right, area.bottom));
    if (wanted.width() < 1 || wanted.height() < 1)
        return;
    view_.panX = view_.panY = 0;
    view_.zoom = 1;
    const QRectF at1 = ImageToView().mapRect(wanted);
    const double zoom = std::min(width() / at1.width(), height() / at1.height());
    view_.zoom = std::clamp(static_cast<float>(zoom), SmallestZoom, LargestZoom);
    const QPointF center = ImageToView().map(wanted.center());
    view_.panX = static_cast<float>(width() / 2.0 - center.x());
    view_.panY = static_cast<float>(height() / 2.0 - center.y());
}

void ImageView::Touched() {
    update();
    emit Changed();
}

void ImageView::FlipHorizontal() {
    view_.flipHorizontal = !view_.flipHorizontal;
    Touched();
}

void ImageView::FlipVertical() {
    view_.flipVertical = !view_.flipVertical;
    Touched();
}

void ImageView::Rotate(int degrees) {
    view_.rotation = ((view_.rotation + degrees) % 360 + 360) % 360;
    if (fitted_)
        view_.zoom = static_cast<float>(FittingZoom());
    Touched();
}

void ImageView::Invert() {
    view_.inverted = !view_.inverted;
    Render();
    Touched();
}

void ImageView::Smooth(bool on) {
    view_.smoothed = on;
    Touched();
}

void ImageView::Zoom(double factor) {
    fitted_ = false;
    view_.zoom = std::clamp(view_.zoom * static_cast<float>(factor), SmallestZoom, LargestZoom);
    Touched();
}

void ImageView::Fit() {
    fitted_ = true;
    view_.panX = view_.panY = 0;
    view_.zoom = static_cast<float>(FittingZoom());
    Touched();
}

void ImageView::Reset() {
    if (file_)
        Open(path_, view_.frame, false);
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (HasImage()) {
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform, view_.smoothed);
        painter.setTransform(ImageToView());
        painter.drawImage(QPointF(0, 0), frameImage_);
        painter.restore();
    }
    painter.setPen(QColor(235, 235, 200));
    const QRect inner = rect().adjusted(10, 8, -10, -8);
    painter.drawText(inner, Qt::AlignLeft | Qt::AlignTop, caption_.join('\n'));
    if (HasImage()) {
        QStringList lines;
        if (file_->Monochrome())
            lines += tr("Center %1   Width %2").arg(view_.windowCenter, 0, 'f', 0).arg(view_.windowWidth, 0, 'f', 0);
        lines += tr("Zoom %1 %").arg(view_.zoom * 100, 0, 'f', 0);
        painter.drawText(inner, Qt::AlignLeft | Qt::AlignBottom, lines.join('\n'));
    } else if (!failure_.isEmpty()) {
        painter.drawText(inner, Qt::AlignCenter | Qt::TextWordWrap, failure_);
    }
}

void ImageView::mousePressEvent(QMouseEvent* event) {
    dragFrom_ = event->pos();
    setFocus(Qt::MouseFocusReason);
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
    if (!HasImage() || event->buttons() == Qt::NoButton)
        return;
    const QPoint by = event->pos() - dragFrom_;
    dragFrom_ = event->pos();
    const bool pan = event->buttons() != Qt::LeftButton || event->modifiers().testFlag(Qt::ShiftModifier);
    if (pan) {
        fitted_ = false;
        view_.panX += static_cast<float>(by.x());
        view_.panY += static_cast<float>(by.y());
    } else if (file_->Monochrome()) {
        // A wide window is moved in wider steps, so that every kind of image needs the same hand.
        const float step = std::max(1.0F, std::round(view_.windowWidth / 256));
        view_.windowWidth = std::max(1.0F, view_.windowWidth + step * static_cast<float>(by.x()));
        view_.windowCenter += step * static_cast<float>(by.y());
        Render();
    }
    Touched();
}

void ImageView::wheelEvent(QWheelEvent* event) {
    const int notches = event->angleDelta().y() / WheelStep;
    if (notches == 0)
        return;
    if (event->modifiers().testFlag(Qt::ControlModifier))
        Zoom(std::pow(1.15, notches));
    else
        emit Turned(-notches);
}

void ImageView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Down:
    case Qt::Key_Right:
        return emit Turned(1);
    case Qt::Key_Up:
    case Qt::Key_Left:
        return emit Turned(-1);
    case Qt::Key_PageDown:
        return emit Turned(10);
    case Qt::Key_PageUp:
        return emit Turned(-10);
    case Qt::Key_Home:
        return emit Turned(-std::numeric_limits<int>::max() / 2);
    case Qt::Key_End:
        return emit Turned(std::numeric_limits<int>::max() / 2);
    case Qt::Key_Plus:
        return Zoom(1.15);
    case Qt::Key_Minus:
        return Zoom(1 / 1.15);
    default:
        QWidget::keyPressEvent(event);
    }
}

void ImageView::resizeEvent(QResizeEvent*) {
    if (fitted_ && HasImage())
        view_.zoom = static_cast<float>(FittingZoom());
}

} // namespace tavrel
