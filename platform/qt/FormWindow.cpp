#include "platform/qt/FormWindow.h"

#include "platform/qt/ColumnShares.h"
#include "platform/qt/QtText.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPushButton>
#include <QSplitter>
#include <QWindow>

#include <utility>

namespace tavrel {
namespace {

constexpr int Look = 200;        // ms between two looks at a window that was shown
constexpr int MostLooks = 10;    // at a window that stands in no frame
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
    folding_.emplace(*this);
    const auto showCaption = [this] { setWindowTitle(ToQt(form_->Caption())); };
    showCaption();
    form.Watch(showCaption);
    shown_.setInterval(Look);
    shown_.callOnTimeout([this] { LookAtPlace(); });
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
    Put(*this, places.For(*this, size(), [this] { return folding_->Least(); }));
}

void FormWindow::StandOver(const QRect& other) {
    QRect place(QPoint(), size());
    place.moveCenter(other.center());
    Put(*this, {place, QSize(0, 0)});
}

void FormWindow::ComeBack() {
    const auto remembered = places_ ? places_->Remembered(*this) : std::nullopt;
    if (remembered && !(windowState() & (Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen)))
        Put(*this, *remembered);
    else
        BringBack(*this);
    Settle();
}

void FormWindow::Settle() {
    settled_ = PlaceOf(*this);
}

/// The window manager tells only when the window is shown how much its frame takes, and no event says when.
void FormWindow::LookAtPlace() {
    const auto before = std::exchange(seen_, PlaceOf(*this));
    BringBack(*this);
    const bool framed = !seen_->around.isNull();
    if ((!framed || before != seen_) && ++looks_ < MostLooks)
        return;
    shown_.stop();
    Settle();
}

void FormWindow::Remember() {
    if (!places_ || !settled_ || isFullScreen() || PlaceOf(*this) == *settled_)
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
    seen_.reset();
    looks_ = 0;
    shown_.start();
}

void FormWindow::hideEvent(QHideEvent* event) {
    Remember();
    shown_.stop();
    moved_.stop();
    QWidget::hideEvent(event);
}

void FormWindow::StayOnTop() {
    // Setting a flag of the widget would hide and move a window that is on the screen, and dress all its parts anew.
    overrideWindowFlags(windowFlags() | Qt::WindowStaysOnTopHint);
    if (windowHandle())
        windowHandle()->setFlag(Qt::WindowStaysOnTopHint);
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
