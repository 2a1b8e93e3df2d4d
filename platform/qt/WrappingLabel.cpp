#include "platform/qt/WrappingLabel.h"

#include <QPainter>
#include <QResizeEvent>
#include <QTextLayout>

#include <algorithm>
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

/// With a place for a break in a word, behind what divides it or forty characters, where twelve more follow. No regular
/// expression: the start of the program would load the engine of these for it.
QString Breakable(const QString& text) {
    constexpr int longest = 40;
    constexpr int rest = 12;
    QString broken;
    int run = 0; // without a place for a break
    for (qsizetype at = 0; at < text.size(); ++at) {
        broken += text[at];
        run = text[at].isSpace() ? 0 : run + 1;
        const QStringView following = QStringView(text).mid(at + 1, rest);
        const bool divides = QStringView(u"/\\-").contains(text[at]);
        if ((divides || run >= longest) && !text[at].isHighSurrogate() && following.size() == rest &&
            std::ranges::none_of(following, [](QChar each) { return each.isSpace(); })) {
            broken += QChar(0x200B);
            run = 0;
        }
    }
    return broken;
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
    label.setText(Breakable(text));
    label.setAccessibleName(text);
}

} // namespace tavrel
