#include "platform/qt/Folding.h"

#include <QApplication>
#include <QBoxLayout>
#include <QEvent>
#include <QGridLayout>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QVariant>

#include <algorithm>
#include <array>
#include <utility>

namespace tavrel {
namespace {

constexpr int LeastHeight = 160; // of what is scrolled
constexpr std::pair SharesOfRows{7500, 2500};

/// Shows its widget whole where there is room, and never asks for the widget's whole height.
class Scrolled : public QScrollArea {
public:
    explicit Scrolled(QWidget* parent) : QScrollArea(parent) {
        setFrameShape(NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setWidgetResizable(true);
        setFocusPolicy(Qt::NoFocus);
    }
    QSize sizeHint() const override { return widget()->sizeHint(); }
    QSize minimumSizeHint() const override {
        const QSize needed = widget()->minimumSizeHint();
        return {needed.width() + verticalScrollBar()->sizeHint().width(), std::min(needed.height(), LeastHeight)};
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == widget() && event->type() == QEvent::LayoutRequest)
            updateGeometry();
        return QScrollArea::eventFilter(watched, event);
    }
};

using Cell = std::array<int, 4>;

QString Words(const Cell& cell) {
    return QString("%1 %2 %3 %4").arg(cell[0]).arg(cell[1]).arg(cell[2]).arg(cell[3]);
}

Cell CellIn(const QString& words) {
    Cell cell{};
    std::ranges::transform(words.split(' '), cell.begin(), [](const QString& number) { return number.toInt(); });
    return cell;
}

/// Moves a widget of a grid; answers where it was.
Cell Move(QGridLayout& grid, QWidget& widget, const Cell& to) {
    const int index = grid.indexOf(&widget);
    Cell from{};
    grid.getItemPosition(index, &from[0], &from[1], &from[2], &from[3]);
    auto* item = grid.takeAt(index);
    grid.addItem(item, to[0], to[1], to[2], to[3], item->alignment());
    return from;
}

} // namespace

Folding::Folding(QWidget& window) : window_(window) {
    for (auto* splitter : window.findChildren<QSplitter*>())
        for (int i = 0; i < splitter->count(); ++i)
            if (splitter->widget(i)->property("foldsBelow").toBool()) {
                columns_ = splitter;
                column_ = splitter->widget(i);
            }
    if (!column_)
        return;
    PutIntoScrollArea();
    connect(columns_, &QSplitter::splitterMoved, this, [this] { KeepSizes(); });
    connect(rows_, &QSplitter::splitterMoved, this, [this] { KeepSizes(); });
    window_.layout()->setSizeConstraint(QLayout::SetNoConstraint); // The columns would forbid to become narrow.
    window_.installEventFilter(this);
}

void Folding::PutIntoScrollArea() {
    // Made within the window, as the order of the keyboard is the window's.
    rows_ = new QSplitter(Qt::Vertical, &window_);
    rows_->setObjectName("paneRows");
    rows_->setHandleWidth(columns_->handleWidth());
    rows_->setChildrenCollapsible(false);
    auto* scrolled = new Scrolled(&window_);
    scrolled->setObjectName("paneScrolled");
    delete window_.layout()->replaceWidget(columns_, scrolled);
    scrolled->setWidget(rows_); // still empty: whatever moves is dressed anew
    rows_->addWidget(columns_);
    connect(qApp, &QApplication::focusChanged, scrolled, [this, scrolled](QWidget*, QWidget* now) {
        if (now && rows_->isAncestorOf(now)) // a mnemonic's work, too
            scrolled->ensureWidgetVisible(now);
    });
}

QSize Folding::Needed() const {
    return window_.layout()->totalMinimumSize();
}

/// A window that is not shown yet does not ask its parts again by itself, nor do they know their style.
void Folding::AskAllAgain() const {
    for (auto* widget : window_.findChildren<QWidget*>()) {
        widget->ensurePolished();
        widget->updateGeometry();
    }
    for (auto* layout : window_.findChildren<QLayout*>()) // one within another keeps what it knows
        layout->invalidate();
}

void Folding::Measure() {
    if (!column_)
        return;
    if (folded_)
        Fold(false);
    AskAllAgain();
    KeepSizes();
    unfoldedWidth_ = Needed().width();
    Fold(true);
    window_.setMinimumSize(Needed());
    Follow();
}

/// Folds and unfolds as the window's size, or what it needs, has become.
void Folding::Follow() {
    if (unfoldedWidth_ == 0)
        return Measure();
    if (folded_ && window_.width() >= unfoldedWidth_)
        Fold(false);
    if (!folded_)
        unfoldedWidth_ = Needed().width();
    if (!folded_ && window_.width() < unfoldedWidth_)
        Fold(true);
    if (folded_)
        window_.setMinimumSize(Needed());
    KeepSizes();
}

void Folding::KeepSizes() {
    (folded_ ? heights_ : widths_) = (folded_ ? rows_ : columns_)->sizes();
}

void Folding::Fold(bool fold) {
    const QPointer<QWidget> focus = QApplication::focusWidget();
    folded_ = fold;
    (fold ? rows_ : columns_)->addWidget(column_); // It hides what it takes in, and with it goes the focus.
    TurnBoxes();
    MoveCells();
    NarrowWidgets();
    if (fold)
        rows_->setSizes(heights_.isEmpty() ? QList<int>{SharesOfRows.first, SharesOfRows.second} : heights_);
    else
        columns_->setSizes(widths_);
    AskAllAgain();
    if (focus && column_->isAncestorOf(focus))
        focus->setFocus();
}

void Folding::TurnBoxes() {
    for (auto* box : window_.findChildren<QBoxLayout*>())
        if (box->property("folds").toBool())
            box->setDirection(box->direction() == QBoxLayout::LeftToRight ? QBoxLayout::TopToBottom
                                                                          : QBoxLayout::LeftToRight);
}

void Folding::MoveCells() {
    for (auto* widget : window_.findChildren<QWidget*>())
        if (const auto cell = widget->property("foldedCell"); cell.isValid())
            widget->setProperty("foldedCell", Words(Move(dynamic_cast<QGridLayout&>(*widget->parentWidget()->layout()),
                                                         *widget, CellIn(cell.toString()))));
}

void Folding::NarrowWidgets() {
    for (auto* widget : window_.findChildren<QWidget*>())
        if (const auto width = widget->property("foldedWidth"); width.isValid()) {
            widget->setProperty("foldedWidth", widget->minimumWidth());
            widget->setMinimumWidth(width.toInt());
        }
}

bool Folding::eventFilter(QObject* watched, QEvent* event) {
    const bool handled = QObject::eventFilter(watched, event);
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
        Follow();
    return handled;
}

} // namespace tavrel
