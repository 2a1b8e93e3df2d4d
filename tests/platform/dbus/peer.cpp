// A process at the other end of the bus, in the role that its first argument names.

#include "platform/dbus/BusNames.h"
#include "platform/dbus/DbusAutomation.h"
#include "platform/dbus/DbusServiceEmitter.h"
#include "platform/error.h"
#include "platform/posix/PosixProcess.h"
#include "tests/platform/dbus/RecordingObject.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <iostream>

namespace tavrel::test {
namespace {

/// The program: its CloseReport ends the process.
int ServeAutomation(int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    PosixProcess process(argumentCount, arguments);
    Record record;
    record.during = [&](const std::string& call) {
        if (call == "CloseReport")
            process.End();
    };
    RecordingFactory factory(record);
    DbusAutomation automation(QDBusConnection::sessionBus(), factory, process,
                              {.storing = [] { return false; }, .windowOpen = [] { return false; }});
    process.AtEnd([&] { automation.Leave(); });
    return QCoreApplication::exec();
}

/// A viewer whose methods call the program back, as a client that knows nothing of event loops does,
/// before they answer.
class CallingBack final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() == "ViewRefertImages") {
            auto image = QDBusMessage::createMethodCall(TavrelFactory.service, "/Tavrel/CTavrel/1",
                                                        TavrelObjectInterface, "RemoveImagesFromSR");
            const auto answer = bus.call(image, QDBus::Block, 2000);
            if (answer.type() == QDBusMessage::ErrorMessage)
                return bus.send(message.createErrorReply(answer.errorName(), answer.errorMessage()));
        }
        return bus.send(message.createReply());
    }
};

int ShowImages(int argumentCount, char** arguments) {
    QCoreApplication application(argumentCount, arguments);
    auto bus = QDBusConnection::sessionBus();
    bus.connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", &application,
                SLOT(quit()));
    CallingBack viewer;
    bus.registerVirtualObject(LumaretViewer.path, &viewer);
    bus.interface()->registerService(LumaretViewer.service);
    return QCoreApplication::exec();
}

/// The storage service: tells one store for each line of its input.
int TellStores() {
    DbusServiceEmitter events;
    std::cout << "ready" << std::endl;
    for (std::string uid; std::getline(std::cin, uid);)
        events.OnStore("AE_INTERNAL", "STORAGE", "1.2", uid, "1.3", "/data/" + uid + ".dcm");
    return 0;
}

} // namespace
} // namespace tavrel::test

int main(int argumentCount, char** arguments) {
    const std::string_view role = argumentCount > 1 ? arguments[1] : "";
    try {
        if (role == "automation")
            return tavrel::test::ServeAutomation(argumentCount, arguments);
        if (role == "viewer")
            return tavrel::test::ShowImages(argumentCount, arguments);
        if (role == "service")
            return tavrel::test::TellStores();
    } catch (const tavrel::Error& error) {
        std::cerr << error.description << std::endl;
    }
    return 1;
}
