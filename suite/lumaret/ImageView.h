#pragma once

#include "platform/viewer.h"
#include "suite/lumaret/ImageFile.h"
#include "suite/lumaret/ViewGeometry.h"

#include <QWidget>

#include <optional>

namespace tavrel {

/// Shows one frame of an image as its view parameters say.
///
/// Dragging with the left button changes the window (right: wider, down: higher centre), with the
/// middle or right button, or with Shift, the pan. The wheel turns slices; with Ctrl it zooms.
/// The view is fitted to the widget until a person zooms or pans. The window is the file's own until
/// a person changes it.
class ImageView : public QWidget {
    Q_OBJECT

public:
    explicit ImageView(QWidget* parent = nullptr);

    /// Shows a frame with its own window, fitted and smoothed, or, where `keepView` is true and the
    /// image has the size of the former one, with the view as it stands. What cannot be shown says
    /// so in the image's place.
    void Open(const QString& path, int frame, bool keepView);
    /// Shows a file exactly as `parameters` say; a view of another size than theirs shows the same
    /// area of the image. Until somebody changes the view, `View` answers them as they came.
    void Open(const QString& path, const ViewParameters& parameters);
    void Clear();
    /// Words that stand on the image, below what the file says of itself, one string a line.
    void Caption(const QStringList& lines);

    bool HasImage() const { return !frameImage_.isNull(); }
    int FrameCount() const { return file_ ? file_->FrameCount() : 0; }
    const QString& Path() const { return path_; }
    /// Of the image's study and patient, as its file tells it; empty without an image.
    QString StudyUid() const { return file_ ? file_->StudyUid() : QString(); }
    QString Patient() const { return file_ ? file_->Patient() : QString(); }
    const QString& Failure() const { return failure_; }

    /// The view exactly as it is on screen, with the image pixels that it shows.
    ViewParameters View() const;
    /// The marks at the edges of the image on the screen; nothing where the image does not say which they are.
    std::optional<EdgeMarks> Marks() const;
    /// The rendered frame, before zoom, pan, flips and rotation.
    const QImage& FrameImage() const { return frameImage_; }

public slots:
    // Left, right, up and down are those of the screen. What is in the middle stays there.
    void FlipHorizontal();
    void FlipVertical();
    void Rotate(int degrees);
    void Invert();
    void Smooth(bool on);
    /// Zooms by `factor`; the point at `fixed`, counted from the middle of the view, stays.
    void Zoom(double factor, QPointF fixed = {});
    /// A pixel of the image is one of the screen.
    void ActualSize();
    void Fit();
    void Reset();

signals:
    /// So many slices further, or back, were asked for.
    void Turned(int steps);
    void Changed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QSize sizeHint() const override { return {700, 700}; }

private:
    /// Runs what may fail on the file's account; the failure then stands in the image's place.
    template <typename Work> void Try(Work&& work);
    void Load(const QString& path);
    void TakeOwnWindow(bool atAnyRate);
    void Render();
    /// Gives the view the place that its size and the image's want.
    void Place();
    ViewGeometry Geometry() const;
    void Flip(bool& along, bool& across, float& pan);
    void DragWindow(QPoint by);
    /// The view is no longer the one that was handed over.
    void Touched();
    /// What it shows besides pixels, for those who hear it.
    QString InWords() const;
    /// Whose image it is and which one.
    QStringList Description() const;
    /// Answers where the words stand.
    QRect PaintWords(QPainter& painter, int alignment, const QString& words, const QColor& colour,
                     int raisedBy = 0) const;
    void PaintMarks(QPainter& painter, const EdgeMarks& marks, const QList<QRect>& taken) const;
    QStringList Signs() const;

    QString path_;
    std::unique_ptr<ImageFile> file_;
    QImage frameImage_;
    std::optional<Orientation> orientation_; ///< of the frame
    QSize formerSize_;
    QString failure_;
    QStringList caption_;
    ViewParameters view_; ///< as it is drawn
    std::optional<ViewParameters> handed_;
    bool fitted_ = true;
    bool ownWindow_ = true;
    QPoint dragFrom_;
    int wheel_ = 0; ///< turned and not yet used, in eighths of a degree
};

} // namespace tavrel
