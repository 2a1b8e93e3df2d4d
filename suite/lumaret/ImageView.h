#pragma once

#include "platform/viewer.h"
#include "suite/lumaret/ImageFile.h"

#include <QTransform>
#include <QWidget>

namespace tavrel {

/// Shows one frame of an image as its view parameters say. Dragging with the left button changes the
/// window (right: wider, down: brighter centre), with the middle or right button, or Shift, the pan;
/// the wheel turns slices, with Ctrl it zooms.
class ImageView : public QWidget {
    Q_OBJECT

public:
    explicit ImageView(QWidget* parent = nullptr);

    /// Shows a file with its own window, fitted to the view, or, where `keepView` is true, with the
    /// view as it stands. What cannot be shown says so in the image's place.
    void Open(const QString& path, int frame, bool keepView);
    /// Shows a file exactly as `parameters` say.
    void Open(const QString& path, const ViewParameters& parameters);
    void Clear();
    /// Words that stand on the image, one string a line, at the top left.
    void Caption(const QStringList& lines);

    bool HasImage() const { return !frameImage_.isNull(); }
    int FrameCount() const { return file_ ? file_->FrameCount() : 0; }
    QString Path() const { return path_; }
    const QString& Failure() const { return failure_; }

    /// The view exactly as it is on screen, with the image pixels that it shows.
    ViewParameters View() const;
    /// The rendered frame, before zoom, pan, flips and rotation.
    const QImage& FrameImage() const { return frameImage_; }

public slots:
    void FlipHorizontal();
    void FlipVertical();
    void Rotate(int degrees);
    void Invert();
    void Smooth(bool on);
    void Zoom(double factor);
    void Fit();
    void Reset();

signals:
    /// A slice further (or back) was asked for.
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
    bool Load(const QString& path, int frame);
    void Render();
    double FittingZoom() const;
    /// From image pixels to the view's.
    QTransform ImageToView() const;
    ViewParameters::Area DisplayedArea() const;
    /// Zooms and pans so that `area` fills the view.
    void ShowArea(const ViewParameters::Area& area);
    void Touched();

    QString path_;
    std::unique_ptr<ImageFile> file_;
    QImage frameImage_;
    QString failure_;
    QStringList caption_;
    ViewParameters view_;
    bool fitted_ = true; ///< the zoom follows the size of the view
    QPoint dragFrom_;
};

} // namespace tavrel
