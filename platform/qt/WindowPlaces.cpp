#include "platform/qt/WindowPlaces.h"

#include "platform/qt/FreePlace.h"

#include <QCursor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QScreen>
#include <QStringList>
#include <QWidget>
#include <QWindow>

#include <array>
#include <cstdlib>
#include <utility>

namespace tavrel {
namespace {

constexpr int MostPlaces = 64;        // of one account: windows times the desks at which it works
constexpr qint64 MostOfFile = 262144; // of a file that somebody else has written
constexpr int Farthest = 32767;       // what a window system counts to
constexpr QSize LikelyFrame(10, 37);  // before a window was ever shown nobody tells what goes around it

QList<QRect> Screens() {
    QList<QRect> screens;
    for (const auto* screen : QGuiApplication::screens())
        screens += screen->availableGeometry().isEmpty() ? screen->geometry() : screen->availableGeometry();
    return screens;
}

/// The screens as they stand, such as "xcb DP-1 0 0 1920 1080 1 DP-2 1920 0 1920 1080 1".
QString Arrangement() {
    QStringList screens;
    for (const auto* screen : QGuiApplication::screens()) {
        const QRect place = screen->geometry();
        screens += QString("%1 %2 %3 %4 %5 %6")
                       .arg(screen->name().simplified())
                       .arg(place.x())
                       .arg(place.y())
                       .arg(place.width())
                       .arg(place.height())
                       .arg(screen->devicePixelRatio());
    }
    screens.sort(); // which one is the first makes no difference
    return QGuiApplication::platformName() + ' ' + screens.join(' ');
}

/// A line of the file, parted by tabs: window, place, size of what goes around, whether it is maximised, screens.
struct Line {
    QString window, arrangement;
    WindowPlace place;

    static std::optional<Line> In(const QString& text) {
        const auto parts = text.split('\t');
        if (parts.size() != 9)
            return std::nullopt;
        std::array<int, 6> numbers{};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            bool read = false;
            const int number = numbers.at(i) = parts[static_cast<qsizetype>(i) + 1].toInt(&read);
            if (!read || number < -Farthest || number > Farthest)
                return std::nullopt;
        }
        const auto [x, y, width, height, wider, higher] = numbers;
        if (wider < 0 || higher < 0 || width <= wider || height <= higher)
            return std::nullopt;
        return Line{parts[0], parts[8], {{x, y, width, height}, {wider, higher}, parts[7] == "maximised"}};
    }
    QString Text() const {
        const auto& [frame, around, maximised] = place;
        QStringList parts{window};
        for (const int number : {frame.x(), frame.y(), frame.width(), frame.height(), around.width(), around.height()})
            parts += QString::number(number);
        parts += {maximised ? "maximised" : "", arrangement};
        return parts.join('\t');
    }
    bool IsOf(const QString& name, const QString& screens) const { return window == name && arrangement == screens; }
};

QList<Line> LinesIn(const QString& path) {
    QFile file(path);
    QList<Line> lines;
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // a pipe would never end
        return lines;
    for (const auto& text : QString::fromUtf8(file.read(MostOfFile)).split('\n'))
        if (auto line = Line::In(text))
            lines += *std::move(line);
    return lines;
}

} // namespace

WindowPlaces::WindowPlaces(QString file, std::function<QRect()> images)
    : file_(std::move(file)), images_(std::move(images)) {}

WindowPlace WindowPlaces::For(const QWidget& window, QSize wanted, const std::function<QSize()>& least) const {
    if (const auto remembered = Remembered(window))
        return *remembered;
    return {FreePlace(Screens(), Images(), wanted + LikelyFrame, [&] { return least() + LikelyFrame; }), LikelyFrame};
}

QRect WindowPlaces::Images() const {
    if (const QRect place = images_ ? images_() : QRect(); !place.isEmpty())
        return place;
    // Whoever asked for the window has just done it where the pointer is, and looks at images all over that screen.
    const auto* screen = QGuiApplication::screenAt(QCursor::pos());
    return (screen ? screen : QGuiApplication::primaryScreen())->geometry();
}

std::optional<WindowPlace> WindowPlaces::Remembered(const QWidget& window) const {
    const auto screens = Arrangement();
    for (const auto& line : LinesIn(file_))
        if (line.IsOf(window.objectName(), screens))
            return line.place;
    return std::nullopt;
}

void WindowPlaces::Remember(const QWidget& window) const {
    if (file_.isEmpty())
        return;
    QList<Line> lines{{window.objectName(), Arrangement(), PlaceOf(window)}};
    for (auto& line : LinesIn(file_))
        if (!line.IsOf(lines[0].window, lines[0].arrangement) && lines.size() < MostPlaces)
            lines += std::move(line);
    const QFileInfo file(file_);
    QDir().mkpath(QFileInfo(file.path()).path());
    QDir().mkdir(file.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QSaveFile kept(file_); // whole or not at all; where it cannot be written the window opens beside the images again
    if (!kept.open(QIODevice::WriteOnly))
        return;
    for (const auto& line : lines)
        kept.write(line.Text().toUtf8() + '\n');
    kept.commit();
}

WindowPlace PlaceOf(const QWidget& window) {
    const QRect frame = window.frameGeometry();
    if (!window.isMaximized())
        return {frame, frame.size() - window.size()};
    const auto* handle = window.windowHandle();
    const QMargins around = handle ? handle->frameMargins() : QMargins();
    const QRect normal = window.normalGeometry();
    return {normal.marginsAdded(around), normal.size().grownBy(around) - normal.size(), true};
}

void Put(QWidget& window, const WindowPlace& place) {
    const auto screens = Screens();
    const QRect frame = Inside(ScreenOf(place.frame, screens), place.frame);
    window.resize(frame.size() - place.around);
    window.move(frame.topLeft());
    if (place.maximised)
        window.setWindowState(Qt::WindowMaximized);
}

void BringBack(QWidget& window) {
    const auto screens = Screens();
    auto place = PlaceOf(window);
    place.frame = Inside(ScreenOf(place.frame, screens), place.frame);
    if (!place.maximised && !window.isFullScreen() && place.frame != window.frameGeometry())
        Put(window, place);
}

} // namespace tavrel
