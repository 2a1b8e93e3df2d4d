#include "platform/qt/FormWindow.h"

#include "platform/qt/ColumnShares.h"
#include "platform/qt/QtText.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QWindow>

namespace tavrel {
namespace {

constexpr int Shown = 200;       // ms after a window is shown
constexpr int StandsStill = 500; // ms after it was moved: longer than what else moves it takes

/// The shares as sizes, of which none is too small for its column: a splitter would widen that one.
QList<int> Wide(QList<int> shares) {
    for (auto& share : shares)
        share *= 100;
    return shares;
}

} // namespace

FormWindow::FormWindow(Form& form, const std::function<void(QWidget&)>& layOut) : form_(&form) {
    setObjectName(ToQt(form.Name()));
    layOut(*this);
    for (auto* splitter : findChildren<QSplitter*>())
        splitter->setSizes(Wide(ColumnShares(*splitter, splitter->count())));
    binder_.emplace(form, *this);
    folding_.emplace(*this).Follow();
    const auto showCaption = [this] { setWindowTitle(ToQt(form_->Caption())); };
    showCaption();
    form.Watch(showCaption);
    moved_.setSingleShot(true);
    moved_.setInterval(StandsStill);
    moved_.callOnTimeout([this] { Remember(); });
}

void FormWindow::Dismiss() {
    form_->Watch({});
    form_ = nullptr;
    binder_.reset();
    hide();
    deleteLater();
}

void FormWindow::StandAt(const WindowPlaces& places) {
    places_ = &places;
    Put(*this, places.For(*this, size()));
}

void FormWindow::StandOver(const QRect& other) {
    QRect place(QPoint(), size());
    place.moveCenter(other.center());
    Put(*this, {place, QSize(0, 0)});
}

void FormWindow::Settle() {
    settled_ = PlaceOf(*this);
}

void FormWindow::Remember() {
    if (!places_ || !settled_ || PlaceOf(*this) == *settled_)
        return;
    Settle();
    places_->Remember(*this);
}

void FormWindow::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    moved_.start();
}

void FormWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    moved_.start();
}

void FormWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    settled_.reset();
    // The window manager tells only now how much its frame takes.
    QTimer::singleShot(Shown, this, [this] {
        BringBack(*this);
        Settle();
    });
}

void FormWindow::hideEvent(QHideEvent* event) {
    Remember();
    moved_.stop();
    QWidget::hideEvent(event);
}

void FormWindow::StayOnTop() {
    // A flag of the widget would hide and move a window that is on the screen already.
    if (isVisible())
        windowHandle()->setFlag(Qt::WindowStaysOnTopHint);
    else
        setWindowFlag(Qt::WindowStaysOnTopHint);
}

void FormWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (form_)
        form_->FrameClosed();
}

void FormWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return QWidget::keyPressEvent(event);
    for (auto* button : findChildren<QPushButton*>())
        if (button->isDefault())
            return button->click();
}

} // namespace tavrel
