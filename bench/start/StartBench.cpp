// How long a report takes to come up: from the viewer's first call of a program that was started ahead to the editor's
// drawn window ("ahead"), and from the start of the program through the viewer's two calls ("tavrel"). Beside them,
// in turns, from the start of a program with an empty window of the same size to that ("empty"), and of one with a
// line of text in it ("text"):
//
//     bench_start EMPTY TAVREL IMAGE TURNS
//
// Needs a display, a session bus without a viewer and a catalogue that knows the image. Prints a line for each run:
// the name, the seconds, and the bytes that are resident half a second later.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QSize>
#include <QStringList>
#include <QThread>
#include <QTimer>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr auto Service = "Tavrel.CTavrel";
constexpr qint64 Patience = 20000;             // ms
constexpr int AtRest = 500;                    // ms
constexpr int BetweenLooks = 1;                // ms; who looks more often takes the display's time from the program
constexpr std::uint32_t Background = 0xeef1f4; // of both windows, drawn

template <typename Reply> std::unique_ptr<Reply, decltype(&std::free)> Taken(Reply* reply) {
    return {reply, &std::free};
}

class Display {
public:
    Display() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_) != 0)
            throw std::runtime_error("there is no display");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        pid_ = Taken(xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, 11, "_NET_WM_PID"), nullptr))
                   ->atom;
        clients_ =
            Taken(xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, 16, "_NET_CLIENT_LIST"), nullptr))
                ->atom;
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;
    ~Display() { xcb_disconnect(connection_); }

    /// The size of the process's window in which something is drawn; empty while there is none.
    QSize Drawn(qint64 process) const {
        for (const auto window : Numbers(root_, clients_, XCB_ATOM_WINDOW))
            if (Numbers(window, pid_, XCB_ATOM_CARDINAL) == std::vector{static_cast<std::uint32_t>(process)}) {
                const auto pixel = Taken(xcb_get_image_reply(
                    connection_, xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 4, 4, 1, 1, ~0U),
                    nullptr));
                if (pixel && xcb_get_image_data_length(pixel.get()) >= 4 &&
                    (*reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(pixel.get())) & 0xffffff) == Background)
                    return SizeOf(window);
            }
        return {};
    }

private:
    QSize SizeOf(std::uint32_t window) const {
        const auto place = Taken(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        return place ? QSize(place->width, place->height) : QSize();
    }
    std::vector<std::uint32_t> Numbers(std::uint32_t window, std::uint32_t property, std::uint32_t type) const {
        const auto value = Taken(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, property, type, 0, 1024), nullptr));
        if (!value)
            return {};
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(value.get()));
        return {first, first + xcb_get_property_value_length(value.get()) / 4};
    }

    xcb_connection_t* connection_;
    std::uint32_t root_ = 0, pid_ = 0, clients_ = 0;
};

/// The viewer, which takes whatever it is told.
class Viewer : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        return connection.send(message.createReply());
    }
};

qint64 ResidentBytes(qint64 process) {
    QFile status(QString("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const auto& line : QString::fromUtf8(status.readAll()).split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.split(' ', Qt::SkipEmptyParts).at(1).toLongLong() * 1024;
    return 0;
}

/// Opens the report as soon as the report program is on the bus, or when it is told to.
class Caller : public QObject {
public:
    explicit Caller(QString image) : image_(std::move(image)), watcher_(Service, QDBusConnection::sessionBus()) {
        connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, [this] {
            if (atOnce)
                OpenReport();
        });
    }
    void OpenReport() {
        Call("/Tavrel/CTavrel", "Tavrel.ClassFactory", "CreateInstance", {}, [this](const QDBusMessage& made) {
            Call(made.arguments().at(0).value<QDBusObjectPath>().path(), "Tavrel.CTavrel", "LoadForImgSeries",
                 {QStringList{image_}}, [](const QDBusMessage&) {});
        });
    }

    bool atOnce = true;

private:
    void Call(const QString& path, const QString& interface, const QString& method, const QVariantList& values,
              std::function<void(const QDBusMessage&)> then) {
        auto message = QDBusMessage::createMethodCall(Service, path, interface, method);
        message.setArguments(values);
        auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
        connect(call, &QDBusPendingCallWatcher::finished, this, [call, then = std::move(then)] {
            if (!call->isError()) // it is killed in the end
                then(call->reply());
            call->deleteLater();
        });
    }

    QString image_;
    QDBusServiceWatcher watcher_;
};

struct Start {
    QSize window;
    double seconds;
    qint64 bytes;
};

void Rest() {
    QEventLoop rest;
    QTimer::singleShot(AtRest, &rest, &QEventLoop::quit);
    rest.exec();
}

bool ReportProgramServes() {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(Service);
}

/// The time runs from the start of the program or, where it is to be `called`, from that call on.
Start Measure(const Display& display, const QString& program, const QStringList& arguments,
              const std::function<void()>& called = {}) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer time;
    time.start();
    process.start(program, arguments);
    if (called) {
        while (!ReportProgramServes() && time.elapsed() < Patience)
            QThread::msleep(1);
        Rest();
        time.restart();
        called();
    }
    Start start{};
    while (process.state() == QProcess::Starting || (start.window = display.Drawn(process.processId())).isEmpty()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        if (time.elapsed() > Patience || process.state() == QProcess::NotRunning)
            throw std::runtime_error(program.toStdString() + " shows no window");
        QThread::msleep(BetweenLooks);
    }
    start.seconds = static_cast<double>(time.nsecsElapsed()) / 1e9;
    Rest();
    start.bytes = ResidentBytes(process.processId());
    process.kill();
    process.waitForFinished();
    while (ReportProgramServes())
        QThread::msleep(1);
    return start;
}

void Print(const char* name, const Start& start) {
    std::printf("%s\t%.6f\t%lld\n", name, start.seconds, start.bytes);
}

} // namespace

int main(int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    if (argumentCount != 5) {
        std::fputs("bench_start EMPTY TAVREL IMAGE TURNS\n", stderr);
        return 2;
    }
    try {
        const auto words = QCoreApplication::arguments();
        const Display display;
        Viewer viewer;
        auto bus = QDBusConnection::sessionBus();
        bus.registerVirtualObject("/Lumaret/Viewer", &viewer);
        bus.registerService("Lumaret.Viewer");
        Caller caller(words[3]);
        const auto editor = [&](bool ahead) {
            caller.atOnce = !ahead;
            const auto call = [&] { caller.OpenReport(); };
            return Measure(display, words[2], {"--automation"}, ahead ? call : std::function<void()>());
        };
        const QSize size = editor(false).window;
        const QStringList sizes{QString::number(size.width()), QString::number(size.height())};
        for (int turn = 0; turn < words[4].toInt(); ++turn) {
            Print("empty", Measure(display, words[1], sizes));
            Print("text", Measure(display, words[1], sizes + QStringList{"Report"}));
            Print("ahead", editor(true));
            Print("tavrel", editor(false));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_start: %s\n", error.what());
        return 1;
    }
    return 0;
}
