#include "platform/qt/InputBlock.h"

#include "platform/qt/QtText.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QResizeEvent>
#include <QVBoxLayout>

namespace tavrel {
namespace {

using namespace std::chrono_literals;
constexpr auto Blink = 150ms;
constexpr auto Long = 2s;

int Living = 0;

/// The programs' windows that are on the screen, without their messages and questions.
std::vector<QWidget*> OpenWindows() {
    std::vector<QWidget*> windows;
    for (auto* widget : QApplication::topLevelWidgets()) {
        const auto type = widget->windowType(); // of a form that is kept above another one, that of a dialog
        if (widget->isVisible() && (type == Qt::Window || type == Qt::Dialog) && !qobject_cast<QDialog*>(widget))
            windows.push_back(widget);
    }
    return windows;
}

/// Covers the window and says on it what is going on.
QWidget* Veil(QWidget& window, const QString& what) {
    auto* veil = new QFrame(&window);
    veil->setObjectName("paneVeil");
    veil->setProperty("veil", true);
    auto* board = new QFrame(veil);
    board->setObjectName("paneVeilBoard");
    board->setProperty("card", true);
    auto* bar = new QProgressBar(board);
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    bar->setFixedSize(280, 8);
    auto* inside = new QVBoxLayout(board);
    inside->addWidget(new QLabel(what, board));
    inside->addWidget(bar);
    auto* around = new QVBoxLayout(veil);
    around->addWidget(board, 0, Qt::AlignCenter);
    veil->setGeometry(window.rect());
    veil->show();
    return veil;
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
    longer_.callOnTimeout([this, text = ToQt(what)] {
        QApplication::setOverrideCursor(Qt::BusyCursor);
        for (auto* window : OpenWindows())
            veils_.emplace_back(Veil(*window, text));
    });
    longer_.start(Blink);
    long_.setSingleShot(true);
    long_.callOnTimeout([this, text = ToQt(what)] {
        if (OpenWindows().empty())
            note_ = Note(text);
    });
    long_.start(Long);
}

InputBlock::~InputBlock() {
    // What was typed until now belongs to the time of the block.
    QCoreApplication::processEvents();
    if (!longer_.isActive()) {
        QApplication::restoreOverrideCursor();
        for (const auto& veil : veils_)
            delete veil;
    }
    qApp->removeEventFilter(this);
    --Living;
}

bool InputBlock::On() {
    return Living > 0;
}

bool InputBlock::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Resize:
        for (const auto& veil : veils_)
            if (veil && veil->parent() == watched)
                veil->resize(static_cast<const QResizeEvent*>(event)->size());
        return false;
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
