#include "platform/qt/InputBlock.h"

#include "platform/qt/FormWindow.h"
#include "platform/qt/QtText.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
constexpr auto Blink = 150ms;
constexpr auto Long = 2s;

int Living = 0;

void ForEachFormWindow(const std::function<void(FormWindow&)>& act) {
    for (auto* widget : QApplication::topLevelWidgets())
        if (auto* window = dynamic_cast<FormWindow*>(widget); window && window->isVisible())
            act(*window);
}

std::unique_ptr<QWidget> Note(const QString& text) {
    auto note = std::make_unique<QLabel>(text);
    note->setObjectName("paneNote");
    note->setMargin(24);
    note->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    note->setAttribute(Qt::WA_ShowWithoutActivating);
    note->setAttribute(Qt::WA_QuitOnClose, false);
    note->show();
    return note;
}

} // namespace

InputBlock::InputBlock(std::string_view what) {
    ++Living;
    qApp->installEventFilter(this);
    longer_.setSingleShot(true);
    longer_.callOnTimeout([text = ToQt(what)] {
        QApplication::setOverrideCursor(Qt::BusyCursor);
        ForEachFormWindow([&](FormWindow& window) { window.Veil(text); });
    });
    longer_.start(Blink);
    long_.setSingleShot(true);
    long_.callOnTimeout([this, text = ToQt(what)] {
        bool windowOpen = false;
        ForEachFormWindow([&](FormWindow&) { windowOpen = true; });
        if (!windowOpen)
            note_ = Note(text);
    });
    long_.start(Long);
}

InputBlock::~InputBlock() {
    // What was typed until now belongs to the time of the block.
    QCoreApplication::processEvents();
    if (!longer_.isActive()) {
        QApplication::restoreOverrideCursor();
        ForEachFormWindow([](FormWindow& window) { window.Unveil(); });
    }
    qApp->removeEventFilter(this);
    --Living;
}

bool InputBlock::On() {
    return Living > 0;
}

bool InputBlock::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::Drop:
        return true;
    case QEvent::Close:
        event->ignore();
        return true;
    default:
        return false;
    }
}

} // namespace tavrel
