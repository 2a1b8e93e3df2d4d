#include "platform/qt/ApplicationOnDisplay.h"

#include <QApplication>
#include <QPixmapCache>

#include <cstdlib>
#include <iostream>
#include <utility>
#include <vector>

#include <unistd.h>

namespace tavrel {
namespace {

struct Beginning {
    const char* program;
    QtMessageHandler handler = nullptr;                   ///< the one that was in force
    std::vector<std::pair<QtMsgType, QString>> held = {}; ///< what the toolkit said of the display
};

/// The style keeps a picture of every size and colour that a box has had, most of which are never asked for again.
constexpr int MostKilobytesOfPictures = 1024;

Beginning* UnderWay = nullptr; // a message handler is a bare function

QString ReasonIn(const QString& lastWords) {
    const bool named = !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
                       !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    if (!named)
        return "there is no display (DISPLAY is not set)";
    return (UnderWay->held.empty() ? lastWords : UnderWay->held.front().second).trimmed();
}

void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtFatalMsg) {
        std::cerr << UnderWay->program << ": No window can be shown: " << ReasonIn(message).toStdString() << std::endl;
        _exit(EXIT_FAILURE);
    }
    if (QByteArray(context.category).startsWith("qt.qpa"))
        UnderWay->held.emplace_back(type, message);
    else
        UnderWay->handler(type, context, message);
}

} // namespace

std::unique_ptr<QApplication> ApplicationOnDisplay(const char* program, int& argumentCount, char** arguments) {
    Beginning state{program};
    UnderWay = &state;
    state.handler = qInstallMessageHandler(Handle);
    auto application = std::make_unique<QApplication>(argumentCount, arguments);
    qInstallMessageHandler(state.handler);
    QPixmapCache::setCacheLimit(MostKilobytesOfPictures);
    UnderWay = nullptr;
    for (const auto& [type, message] : state.held)
        state.handler(type, QMessageLogContext(), message);
    return application;
}

} // namespace tavrel
