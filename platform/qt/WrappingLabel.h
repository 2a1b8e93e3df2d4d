#pragma once

#include <QLabel>

namespace tavrel {

/// A label whose text wraps where it must, within a word too: no part of a patient's name may be
/// hidden, and DICOM names have no blanks.
class WrappingLabel : public QLabel {
public:
    using QLabel::QLabel;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

/// For a label that wraps at blanks: lets it wrap a path or another long word within as well, since a word wider than
/// its place would be cut or widen the window, off the screen perhaps. A screen reader says the text as it is.
void SayWrapped(QLabel& label, const QString& text);

} // namespace tavrel
