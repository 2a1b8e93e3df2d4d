#include "platform/qt/QtWindows.h"

#include "platform/error.h"
#include "platform/qt/FormWindow.h"
#include "platform/qt/QtText.h"
#include "platform/qt/WrappingLabel.h"

#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace tavrel {
namespace {

const std::function<void(QWidget&)>& LayoutOf(const Form& form, const Layouts& layouts) {
    const auto layout = layouts.find(form.Name());
    if (layout == layouts.end())
        throw Error(Fault::NoLayout, form.Name(), "There is no layout for the window " + form.Name());
    return layout->second;
}

constexpr int SettlingTime = 300; // ms; a window manager moves windows when the screens change, too

/// The window that the person works in, or none.
QWindow* ActiveWindow() {
    const auto works = [](const QWidget* widget) { return widget && widget->isVisible() && widget->windowHandle(); };
    for (const auto* widget : {QApplication::activeModalWidget(), QApplication::activeWindow()})
        if (works(widget))
            return widget->windowHandle();
    for (const auto* widget : QApplication::topLevelWidgets())
        if (works(widget) && dynamic_cast<const FormWindow*>(widget))
            return widget->windowHandle();
    return nullptr;
}

/// Puts a window that is not shown yet over another. It does not belong to the other, which may go
/// first.
void PutOver(QWidget& widget, QWindow* other) {
    widget.setWindowFlag(Qt::Dialog); // Only a dialog is kept above another window.
    widget.winId();                   // Makes the window's handle.
    widget.windowHandle()->setTransientParent(other);
}

QMessageBox::StandardButton ToQt(Answer answer) {
    switch (answer) {
    case Answer::Ok:
        return QMessageBox::Ok;
    case Answer::Cancel:
        return QMessageBox::Cancel;
    case Answer::Yes:
        return QMessageBox::Yes;
    case Answer::No:
        return QMessageBox::No;
    }
    return QMessageBox::Ok;
}

QString Caption(Answer answer) {
    switch (answer) {
    case Answer::Ok:
        return "&OK";
    case Answer::Cancel:
        return "&Cancel";
    case Answer::Yes:
        return "&Yes";
    case Answer::No:
        return "&No";
    }
    return {};
}

/// The answers that a box offers, the one that leaving it gives last.
std::vector<Answer> Offered(Buttons buttons) {
    switch (buttons) {
    case Buttons::Ok:
        return {Answer::Ok};
    case Buttons::OkCancel:
        return {Answer::Ok, Answer::Cancel};
    case Buttons::YesNo:
        return {Answer::Yes, Answer::No};
    case Buttons::YesNoCancel:
        return {Answer::Yes, Answer::No, Answer::Cancel};
    }
    return {};
}

QMessageBox::Icon ToQt(Icon icon) {
    switch (icon) {
    case Icon::None:
        return QMessageBox::NoIcon;
    case Icon::CriticalStop:
        return QMessageBox::Critical;
    case Icon::Exclamation:
        return QMessageBox::Warning;
    }
    return QMessageBox::NoIcon;
}

} // namespace

QtWindows::QtWindows(const Layouts& layouts, WindowPlaces places) : layouts_(layouts), places_(std::move(places)) {
    QApplication::setQuitOnLastWindowClosed(false);
    screensChanged_.setSingleShot(true);
    screensChanged_.setInterval(SettlingTime);
    screensChanged_.callOnTimeout([this] { BringAllBack(); });
    for (const auto* screen : QGuiApplication::screens())
        Follow(*screen);
    QObject::connect(qApp, &QGuiApplication::screenAdded, &screensChanged_, [this](const QScreen* screen) {
        Follow(*screen);
        screensChanged_.start();
    });
    QObject::connect(qApp, &QGuiApplication::screenRemoved, &screensChanged_, qOverload<>(&QTimer::start));
}

QtWindows::~QtWindows() {
    for (const auto& [form, window] : windows_)
        window->Dismiss();
}

FormWindow& QtWindows::Make(Form& form) {
    if (auto* window = WindowOf(form))
        return *window;
    auto& window = *(windows_[&form] = new FormWindow(form, LayoutOf(form, layouts_))); // It goes by Dismiss.
    if (topMost_.erase(&form) > 0)
        window.StayOnTop();
    return window;
}

FormWindow* QtWindows::WindowOf(const Form& form) const {
    const auto window = windows_.find(&form);
    return window == windows_.end() ? nullptr : window->second;
}

/// Brings the windows back as soon as a screen has become another.
void QtWindows::Follow(const QScreen& screen) {
    for (const auto changed : {&QScreen::geometryChanged, &QScreen::availableGeometryChanged})
        QObject::connect(&screen, changed, &screensChanged_, qOverload<>(&QTimer::start));
}

void QtWindows::BringAllBack() {
    for (auto* widget : QApplication::topLevelWidgets())
        if (!widget->isVisible())
            continue;
        else if (auto* window = dynamic_cast<FormWindow*>(widget))
            window->ComeBack();
        else if (widget->windowType() == Qt::Window || widget->windowType() == Qt::Dialog)
            BringBack(*widget);
}

void QtWindows::Present(FormWindow& window) {
    window.show();
    window.raise();
    window.activateWindow();
}

void QtWindows::Show(Form& form) {
    auto& window = Make(form);
    if (!window.isVisible()) {
        window.setWindowModality(Qt::NonModal);
        window.StandAt(places_);
    }
    Present(window);
}

void QtWindows::ShowModal(Form& form, Form* owner) {
    auto& window = Make(form);
    if (!window.isVisible()) {
        window.setWindowModality(Qt::ApplicationModal);
        const auto* owning = owner ? WindowOf(*owner) : nullptr;
        auto* over = owning ? owning->windowHandle() : ActiveWindow();
        PutOver(window, over);
        if (over)
            window.StandOver(over->frameGeometry());
        else
            window.StandAt(places_);
    }
    QEventLoop loop;
    const auto wait = waiting_.emplace(&form, &loop);
    Present(window);
    loop.exec();
    waiting_.erase(wait);
}

void QtWindows::Hide(Form& form) {
    auto* window = WindowOf(form);
    if (!window || !window->isVisible())
        return;
    window->hide();
    const auto [first, last] = waiting_.equal_range(&form);
    std::for_each(first, last, [](const auto& wait) { wait.second->quit(); });
}

void QtWindows::Unload(Form& form) {
    topMost_.erase(&form);
    Hide(form);
    if (auto* window = WindowOf(form)) { // Unless it has been unloaded in the meantime.
        windows_.erase(&form);
        window->Dismiss();
    }
}

void QtWindows::MakeTopMost(Form& form) {
    if (auto* window = WindowOf(form))
        window->StayOnTop();
    else
        topMost_.insert(&form); // a form may be loaded and never shown
}

Answer QtWindows::Ask(const MessageBox& message) {
    QMessageBox box;
    box.setWindowTitle(tavrel::ToQt(message.title));
    box.setTextFormat(Qt::PlainText);
    box.setText(tavrel::ToQt(message.text));
    SayWrapped(*box.findChild<QLabel*>("qt_msgbox_label"), tavrel::ToQt(message.text));
    box.setIcon(ToQt(message.icon));
    const auto offered = Offered(message.buttons);
    for (const auto answer : offered)
        box.addButton(ToQt(answer))->setText(Caption(answer));
    for (const auto& [button, words] : {std::pair{QMessageBox::Yes, &message.yes}, {QMessageBox::No, &message.no}})
        if (!words->empty())
            box.button(button)->setText('&' + tavrel::ToQt(*words));
    box.setDefaultButton(ToQt(message.defaultAnswer));
    box.setEscapeButton(ToQt(offered.back()));
    if (AnyTopMost())
        box.setWindowFlag(Qt::WindowStaysOnTopHint);
    const int pressed = RunDialog(box);
    const auto given =
        std::ranges::find(offered, pressed, [](Answer answer) { return static_cast<int>(ToQt(answer)); });
    return given == offered.end() ? offered.back() : *given;
}

int QtWindows::RunDialog(QDialog& dialog) {
    PutOver(dialog, ActiveWindow());
    ++dialogs_;
    const int result = dialog.exec();
    --dialogs_;
    return result;
}

bool QtWindows::AnyTopMost() const {
    return std::ranges::any_of(windows_, [](const auto& entry) {
        const auto* window = entry.second;
        return window->isVisible() && window->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint);
    });
}

bool QtWindows::AnyWindowOpen() const {
    return dialogs_ > 0 || std::ranges::any_of(windows_, [](const auto& entry) { return entry.second->isVisible(); });
}

} // namespace tavrel
