#include "platform/qt/WrappingLabel.h"

#include <QPainter>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QTextLayout>

#include <cmath>

namespace tavrel {
namespace {

/// Breaks the text of `layout` into lines of `width` and answers their height.
qreal BreakLines(QTextLayout& layout, int width) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

} // namespace

int WrappingLabel::heightForWidth(int width) const {
    QTextLayout layout(text(), font());
    return static_cast<int>(std::ceil(BreakLines(layout, width)));
}

QSize WrappingLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()), fontMetrics().height()};
}

QSize WrappingLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 8, heightForWidth(std::max(width(), 1))};
}

void WrappingLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    // The height that it needs is another one. The layout that is at work now would forget what it is told.
    if (event->oldSize().width() != width())
        QMetaObject::invokeMethod(this, &WrappingLabel::updateGeometry, Qt::QueuedConnection);
}

void WrappingLabel::paintEvent(QPaintEvent* event) {
    QTextLayout layout(text(), font());
    BreakLines(layout, width());
    if (layout.lineCount() <= 1)
        return QLabel::paintEvent(event); // which shows what is selected, too
    QPainter painter(this);
    drawFrame(&painter); // what tells that it has the focus
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, QPointF(0, 0));
}

void SayWrapped(QLabel& label, const QString& text) {
    static const QRegularExpression separator(R"(([/\\-]|\S{40})(?=\S{12}))");
    label.setText(QString(text).replace(separator, "\\1\u200B"));
    label.setAccessibleName(text);
}

} // namespace tavrel
