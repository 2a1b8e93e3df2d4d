#include "suite/lumaret/ImageView.h"

#include "platform/error.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStaticText>
#include <QStyle>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavrel {
namespace {

constexpr int WheelStep = 120; // one notch, in eighths of a degree
constexpr double ZoomStep = 1.15;
constexpr QColor LightWords(240, 240, 205), Warning(255, 190, 70);
constexpr QPoint Margin(10, 8);
constexpr int FarthestSlice = std::numeric_limits<int>::max() / 2;

/// Above 0 what differs from its neighbours stands out by so much, below 0 it gives way, at -1 to the mean of the nine
/// pixels around it; 0 leaves the picture alone.
void ApplySharpness(QImage& image, float sharpness) {
    if (sharpness == 0)
        return;
    const QImage plain = image.copy();
    const int samples = image.depth() / 8, width = image.width(), height = image.height();
    const float ninth = sharpness / 9;
    for (int y = 0; y < height; ++y) {
        const std::array<const uchar*, 3> rows = {plain.constScanLine(std::max(y - 1, 0)), plain.constScanLine(y),
                                                  plain.constScanLine(std::min(y + 1, height - 1))};
        uchar* line = image.scanLine(y);
        for (int x = 0; x < width * samples; ++x) {
            const int left = std::max(x - samples, x % samples);
            const int right = std::min(x + samples, (width - 1) * samples + x % samples);
            int sum = 0;
            for (const uchar* row : rows)
                sum += row[left] + row[x] + row[right];
            const auto level = static_cast<float>(rows[1][x]);
            const float sharpened = level * (1 + sharpness) - ninth * static_cast<float>(sum);
            line[x] = static_cast<uchar>(std::lround(std::clamp(sharpened, 0.0F, 255.0F)));
        }
    }
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

/// Light words with a dark edge can be read on any image.
template <typename Draw> void WithDarkEdge(QPainter& painter, const QColor& colour, Draw&& draw) {
    painter.setPen(Qt::black);
    for (const QPoint shift : {QPoint(-1, 0), QPoint(1, 0), QPoint(0, -1), QPoint(0, 1)})
        draw(shift);
    painter.setPen(colour);
    draw(QPoint());
}

} // namespace

ImageView::ImageView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(180, 160);
    setAccessibleName(tr("Image"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(this, &ImageView::Changed, this, [this] { setAccessibleDescription(InWords()); });
}

template <typename Work> void ImageView::Try(Work&& work) {
    if (!failure_.isEmpty())
        return;
    try {
        work();
    } catch (const Error& error) {
        failure_ = QString::fromStdString(error.description);
    } catch (const std::exception& error) {
        failure_ = tr("The image cannot be shown: %1").arg(error.what());
    }
}

void ImageView::Load(const QString& path) {
    failure_.clear();
    caption_.clear();
    handed_.reset();
    Try([&] {
        if (file_ && path == path_)
            return;
        path_ = path;
        file_.reset(); // one image at a time is in memory
        file_ = std::make_unique<ImageFile>(path);
    });
}

void ImageView::Open(const QString& path, int frame, bool keepView) {
    Load(path);
    Try([&] {
        const bool kept = keepView && formerSize_ == file_->Size();
        if (!kept) {
            view_ = ViewParameters();
            view_.smoothed = true;
            fitted_ = ownWindow_ = true;
        }
        view_.frame = frame;
        TakeOwnWindow(!kept);
    });
    Render();
    Place();
    emit Changed();
}

void ImageView::Open(const QString& path, const ViewParameters& parameters) {
    Load(path);
    view_ = parameters;
    handed_ = parameters;
    fitted_ = false;
    Try([&] {
        ownWindow_ = !(parameters.windowWidth >= 1);
        TakeOwnWindow(true);
    });
    Render();
    Place();
    emit Changed();
}

void ImageView::Clear() {
    path_.clear();
    file_.reset();
    frameImage_ = QImage();
    failure_.clear();
    caption_.clear();
    update();
    emit Changed();
}

void ImageView::Caption(const QStringList& lines) {
    caption_ = lines;
    update();
    emit Changed();
}

/// A slice without a window of its own keeps the former one's unless it is the first: the range of
/// its values would let the picture flicker from slice to slice.
void ImageView::TakeOwnWindow(bool atAnyRate) {
    if (!ownWindow_)
        return;
    const auto named = file_->NamedWindow(view_.frame);
    if (!named && !atAnyRate)
        return;
    const GreyWindow window = named ? *named : file_->OwnWindow(view_.frame);
    view_.windowCenter = static_cast<float>(window.center);
    view_.windowWidth = static_cast<float>(window.width);
}

void ImageView::Render() {
    frameImage_ = QImage();
    orientation_.reset();
    Try([&] {
        const ViewParameters drawn = Geometry().Drawable(view_);
        frameImage_ = file_->Render(drawn.frame,
                                    {static_cast<double>(drawn.windowCenter), static_cast<double>(drawn.windowWidth)},
                                    drawn.inverted);
        ApplySharpness(frameImage_, drawn.sharpness);
        ApplyGamma(frameImage_, drawn.gamma);
        frameImage_.convertTo(QImage::Format_RGB32); // scaled smoothly in half the time
        formerSize_ = file_->Size();
        orientation_ = file_->OrientationOf(drawn.frame);
    });
}

void ImageView::Place() {
    if (HasImage() && handed_) {
        ViewParameters placed = Geometry().Drawable(*handed_);
        if (Geometry().DisplayedArea(placed) != handed_->displayedArea)
            placed = Geometry().Showing(handed_->displayedArea, placed);
        view_.zoom = placed.zoom;
        view_.panX = placed.panX;
        view_.panY = placed.panY;
    } else if (HasImage() && fitted_) {
        view_.zoom = Geometry().FittingZoom(view_.rotation);
    }
    update();
}

ViewGeometry ImageView::Geometry() const {
    return {size(), file_ ? file_->Size() : QSize(), file_ ? file_->PixelAspect() : 1};
}

ViewParameters ImageView::View() const {
    if (handed_)
        return *handed_;
    ViewParameters view = view_;
    view.displayedArea = HasImage() ? Geometry().DisplayedArea(view_) : ViewParameters::Area{};
    return view;
}

void ImageView::Touched() {
    handed_.reset();
    update();
    emit Changed();
}

void ImageView::Flip(bool& along, bool& across, float& pan) {
    // The image is flipped before it is turned: a quarter turn exchanges the two.
    bool& flip = view_.rotation % 180 == 0 ? along : across;
    flip = !flip;
    pan = -pan;
    Touched();
}

void ImageView::FlipHorizontal() {
    Flip(view_.flipHorizontal, view_.flipVertical, view_.panX);
}

void ImageView::FlipVertical() {
    Flip(view_.flipVertical, view_.flipHorizontal, view_.panY);
}

void ImageView::Rotate(int degrees) {
    view_.rotation = ((view_.rotation % 360 + degrees) % 360 + 360) % 360;
    const QPointF pan =
        QTransform().rotate(degrees).map(QPointF(static_cast<double>(view_.panX), static_cast<double>(view_.panY)));
    view_.panX = static_cast<float>(pan.x());
    view_.panY = static_cast<float>(pan.y());
    if (fitted_ && HasImage())
        view_.zoom = Geometry().FittingZoom(view_.rotation);
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

void ImageView::Zoom(double factor, QPointF fixed) {
    const float former = view_.zoom;
    fitted_ = false;
    view_.zoom = std::clamp(former * static_cast<float>(factor), SmallestZoom, LargestZoom);
    const float grown = view_.zoom / former;
    const auto x = static_cast<float>(fixed.x()), y = static_cast<float>(fixed.y());
    view_.panX = x + (view_.panX - x) * grown;
    view_.panY = y + (view_.panY - y) * grown;
    Touched();
}

void ImageView::ActualSize() {
    Zoom(1 / static_cast<double>(view_.zoom));
    view_.zoom = 1;
}

void ImageView::Fit() {
    fitted_ = true;
    view_.panX = view_.panY = 0;
    if (HasImage())
        view_.zoom = Geometry().FittingZoom(view_.rotation);
    Touched();
}

void ImageView::Reset() {
    if (file_)
        Open(path_, view_.frame, false);
}

std::optional<EdgeMarks> ImageView::Marks() const {
    if (!HasImage() || !orientation_)
        return std::nullopt;
    return MarksAtEdges(*orientation_, Geometry().ImageToView(view_));
}

QStringList ImageView::Signs() const {
    QStringList signs = {Marks() ? QString() : tr("Orientation not known"), TurnInWords(view_)};
    signs.removeAll(QString());
    return signs;
}

QStringList ImageView::Description() const {
    return HasImage() ? file_->Description() + caption_ : caption_;
}

QString ImageView::InWords() const {
    if (!HasImage())
        return failure_;
    QStringList words = Description() + Signs();
    if (const auto marks = Marks())
        words += tr("Left edge %1, right edge %2, upper edge %3, lower edge %4")
                     .arg(marks->left, marks->right, marks->top, marks->bottom);
    return words.join(". ");
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (HasImage()) {
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform, view_.smoothed);
        painter.setTransform(Geometry().ImageToView(view_), true);
        painter.drawImage(QPointF(0, 0), frameImage_);
        painter.restore();
    }
    QList<QRect> taken = {
        PaintWords(painter, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, Description().join('\n'), LightWords)};
    if (HasImage()) {
        QStringList below;
        if (file_->Monochrome())
            below += tr("Center %1   Width %2").arg(view_.windowCenter, 0, 'f', 0).arg(view_.windowWidth, 0, 'f', 0);
        if (const float sharpness = Geometry().Drawable(view_).sharpness; sharpness != 0)
            below += tr("Sharpness %1").arg(static_cast<double>(sharpness), 0, 'g', 2);
        below += tr("Zoom %1 %").arg(view_.zoom * 100, 0, 'f', 0);
        taken += PaintWords(painter, Qt::AlignLeft | Qt::AlignBottom, below.join('\n'), LightWords);
        // Above them where there is no place beside them.
        const QStringList signs = Signs();
        int width = 0;
        for (const QString& sign : signs)
            width = std::max(width, painter.fontMetrics().horizontalAdvance(sign));
        const bool beside = taken.last().right() + Margin.x() * 3 + width < rect().width();
        taken += PaintWords(painter, Qt::AlignRight | Qt::AlignBottom | Qt::TextWordWrap, signs.join('\n'), Warning,
                            beside ? 0 : taken.last().height());
        if (const auto marks = Marks())
            PaintMarks(painter, *marks, taken);
    } else {
        PaintWords(painter, Qt::AlignCenter | Qt::TextWordWrap, failure_, LightWords);
    }
}

void ImageView::PaintMarks(QPainter& painter, const EdgeMarks& marks, const QList<QRect>& taken) const {
    QFont font = painter.font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.4);
    painter.setFont(font);
    const QRect inner = rect().marginsRemoved(QMargins(Margin.x(), Margin.y(), Margin.x(), Margin.y()));
    const auto paint = [&](const QString& mark, Qt::Alignment edge) {
        QRect place = QStyle::alignedRect(Qt::LeftToRight, edge, painter.fontMetrics().size(0, mark), inner);
        for (const QRect& words : taken)
            if (words.intersects(place))
                edge.testFlag(Qt::AlignBottom) ? place.moveBottom(words.top() - 1) : place.moveTop(words.bottom() + 1);
        WithDarkEdge(painter, LightWords,
                     [&](QPoint shift) { painter.drawText(place.translated(shift), Qt::AlignCenter, mark); });
    };
    paint(marks.left, Qt::AlignLeft | Qt::AlignVCenter);
    paint(marks.right, Qt::AlignRight | Qt::AlignVCenter);
    paint(marks.top, Qt::AlignHCenter | Qt::AlignTop);
    paint(marks.bottom, Qt::AlignHCenter | Qt::AlignBottom);
}

QRect ImageView::PaintWords(QPainter& painter, int alignment, const QString& words, const QColor& colour,
                            int raisedBy) const {
    // They are laid out once.
    const QRect inner = rect().marginsRemoved(QMargins(Margin.x(), Margin.y(), Margin.x(), Margin.y()));
    QStaticText text(QString(words).replace('\n', QChar::LineSeparator));
    text.setTextFormat(Qt::PlainText);
    QTextOption option(Qt::Alignment::fromInt(alignment & Qt::AlignHorizontal_Mask));
    option.setWrapMode((alignment & Qt::TextWordWrap) != 0 ? QTextOption::WrapAtWordBoundaryOrAnywhere
                                                           : QTextOption::NoWrap);
    text.setTextOption(option);
    text.setTextWidth(inner.width());
    text.prepare(painter.transform(), painter.font());
    const int height = qCeil(text.size().height());
    const int below = (alignment & Qt::AlignBottom) != 0    ? inner.height() - height - raisedBy
                      : (alignment & Qt::AlignVCenter) != 0 ? (inner.height() - height) / 2
                                                            : 0;
    const QPoint place = inner.topLeft() + QPoint(0, below);
    WithDarkEdge(painter, colour, [&](QPoint shift) { painter.drawStaticText(place + shift, text); });
    int width = 0;
    for (const QString& line : words.split('\n'))
        width = std::max(width, painter.fontMetrics().horizontalAdvance(line));
    const int left = (alignment & Qt::AlignRight) != 0 ? std::max(0, inner.width() - width) : 0;
    return {place + QPoint(left, 0), QSize(width, height)};
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
        Touched();
    } else if (file_->Monochrome()) {
        DragWindow(by);
    }
}

void ImageView::DragWindow(QPoint by) {
    // A wide window is moved in wider steps, so that every kind of image needs the same hand.
    const float step = std::max(1.0F, std::round(view_.windowWidth / 256));
    ownWindow_ = false;
    view_.windowWidth = std::max(1.0F, view_.windowWidth + step * static_cast<float>(by.x()));
    view_.windowCenter += step * static_cast<float>(by.y());
    Render();
    Touched();
}

void ImageView::wheelEvent(QWheelEvent* event) {
    wheel_ += event->angleDelta().y(); // touch pads send small parts of a notch
    const int notches = wheel_ / WheelStep;
    wheel_ -= notches * WheelStep;
    if (notches == 0)
        return;
    if (!event->modifiers().testFlag(Qt::ControlModifier))
        emit Turned(-notches);
    else if (HasImage())
        Zoom(std::pow(ZoomStep, notches), event->position() - QRectF(rect()).center());
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
        return emit Turned(-FarthestSlice);
    case Qt::Key_End:
        return emit Turned(FarthestSlice);
    case Qt::Key_Plus:
        return Zoom(ZoomStep);
    case Qt::Key_Minus:
        return Zoom(1 / ZoomStep);
    default:
        QWidget::keyPressEvent(event);
    }
}

void ImageView::resizeEvent(QResizeEvent*) {
    Place();
}

} // namespace tavrel
