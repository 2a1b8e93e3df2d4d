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

/// The shares as sizes, of which none is too small for its column: a splitter would widen that one.
QList<int> Wide(QList<int> shares) {
    for (auto& share : shares)
        share *= 100;
    return shares;
}

} // namespace

FormWindow::FormWindow(Form& form, const std::function<void(QWidget&)>& layOut) : form_(&form) {
    layOut(*this);
    for (auto* splitter : findChildren<QSplitter*>())
        splitter->setSizes(Wide(ColumnShares(*splitter, splitter->count())));
    binder_.emplace(form, *this);
    const auto showCaption = [this] { setWindowTitle(ToQt(form_->Caption())); };
    showCaption();
    form.Watch(showCaption);
    resize(size().boundedTo(screen()->availableSize()));
}

void FormWindow::Dismiss() {
    form_->Watch({});
    form_ = nullptr;
    binder_.reset();
    hide();
    deleteLater();
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
