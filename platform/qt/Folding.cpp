#include "platform/qt/Folding.h"

#include <QApplication>
#include <QBoxLayout>
#include <QEvent>
#include <QGridLayout>
#include <QPointer>
#include <QSplitter>
#include <QVariant>

#include <algorithm>
#include <array>
#include <utility>

namespace tavrel {
namespace {

constexpr std::pair SharesOfRows{7750, 2250};

/// Takes a widget out of the layout that holds it; answers which, and where there.
QString TakeOut(QWidget& widget) {
    QLayout* around = nullptr;
    for (auto* layout : widget.window()->findChildren<QLayout*>())
        if (layout->indexOf(&widget) >= 0)
            around = layout;
    const int index = around->indexOf(&widget);
    QString place = QString("%1 %2").arg(around->objectName()).arg(index);
    if (const auto* grid = qobject_cast<QGridLayout*>(around)) {
        std::array<int, 4> cell{};
        grid->getItemPosition(index, &cell[0], &cell[1], &cell[2], &cell[3]);
        place = around->objectName();
        for (const int each : cell)
            place += QString(" %1").arg(each);
    }
    around->removeWidget(&widget);
    return place;
}

void PutInto(const QString& place, QWidget& widget) {
    const bool hidden = widget.isHidden(); // a layout of another widget would show it later only
    const auto words = place.split(' ');
    std::array<int, 4> cell{};
    std::transform(words.begin() + 1, words.end(), cell.begin(), [](const QString& number) { return number.toInt(); });
    auto* layout = widget.window()->findChild<QLayout*>(words[0]);
    if (auto* grid = qobject_cast<QGridLayout*>(layout))
        grid->addWidget(&widget, cell[0], cell[1], cell[2], cell[3]);
    else
        dynamic_cast<QBoxLayout&>(*layout).insertWidget(cell[0], &widget);
    widget.setHidden(hidden);
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
    rows_ = qobject_cast<QSplitter*>(columns_->parentWidget());
    connect(columns_, &QSplitter::splitterMoved, this, [this] { KeepSizes(); });
    connect(rows_, &QSplitter::splitterMoved, this, [this] { KeepSizes(); });
    window_.layout()->setSizeConstraint(QLayout::SetNoConstraint); // The columns would forbid to become narrow.
    window_.installEventFilter(this);
}

QSize Folding::Needed() const {
    return window_.layout()->totalMinimumSize();
}

/// A window that is not shown yet does not ask its parts again by itself.
void Folding::AskAllAgain() const {
    for (auto* widget : window_.findChildren<QWidget*>())
        widget->updateGeometry();
    for (auto* layout : window_.findChildren<QLayout*>()) // one within another keeps what it knows
        layout->invalidate();
}

QSize Folding::Least() {
    if (!column_)
        return window_.size();
    if (!folded_) {
        window_.ensurePolished(); // its parts do not know their style before
        AskAllAgain();
        KeepSizes();
        unfoldedWidth_ = Needed().width();
        Fold(true);
        window_.setMinimumSize(Needed());
    }
    return Needed();
}

/// Folds and unfolds as the window's size, or what it needs, has become.
void Folding::Follow() {
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
    MoveWidgets();
    NarrowWidgets();
    if (fold)
        rows_->setSizes(heights_.isEmpty() ? QList<int>{SharesOfRows.first, SharesOfRows.second} : heights_);
    else
        columns_->setSizes(widths_);
    AskAllAgain();
    if (focus && window_.isAncestorOf(focus))
        focus->setFocus();
}

void Folding::TurnBoxes() {
    for (auto* box : window_.findChildren<QBoxLayout*>())
        if (box->property("folds").toBool())
            box->setDirection(box->direction() == QBoxLayout::LeftToRight ? QBoxLayout::TopToBottom
                                                                          : QBoxLayout::LeftToRight);
}

void Folding::MoveWidgets() {
    for (auto* widget : window_.findChildren<QWidget*>())
        if (const auto place = widget->property("foldsInto"); place.isValid()) {
            widget->setProperty("foldsInto", TakeOut(*widget));
            PutInto(place.toString(), *widget);
        }
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
