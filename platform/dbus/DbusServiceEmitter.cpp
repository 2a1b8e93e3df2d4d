#include "platform/dbus/DbusServiceEmitter.h"

#include "Introspection.h"
#include "platform/dbus/BusNames.h"
#include "platform/error.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <utility>

namespace tavrel {

namespace {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

/// The interface has signals alone.
class DbusServiceEmitter::Description final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return introspection::StorageService; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.interface().startsWith(QLatin1String("org.freedesktop.DBus.")))
            return false; // the library answers these
        bus.send(message.createErrorReply(QDBusError::UnknownMethod, "There is no " + message.member() + " here."));
        return true;
    }
};

DbusServiceEmitter::DbusServiceEmitter()
    : DbusServiceEmitter(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "porvane-events")) {}

DbusServiceEmitter::DbusServiceEmitter(QDBusConnection bus)
    : bus_(std::move(bus)), description_(std::make_unique<Description>()) {
    if (!bus_.isConnected())
        throw Error(bus_.lastError().type(), PorvaneService.service,
                    "There is no session bus to tell stored reports on: " + bus_.lastError().message().toStdString());
    Describe(); // before the name: whoever waits for the name asks at once
    const auto reply =
        bus_.interface()->registerService(PorvaneService.service, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    if (reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return;
    End();
    throw Error(QDBusError::AddressInUse, PorvaneService.service,
                "Another process has the name \"Porvane.Service\" on the session bus.");
}

DbusServiceEmitter::~DbusServiceEmitter() {
    if (bus_.isConnected())
        bus_.interface()->unregisterService(PorvaneService.service); // the connection itself is closed some time later
    End();
}

void DbusServiceEmitter::Describe() {
    description_->moveToThread(&answering_);
    answering_.start();
    bus_.registerVirtualObject(PorvaneService.path, description_.get());
}

void DbusServiceEmitter::End() {
    bus_.unregisterObject(PorvaneService.path);
    answering_.quit();
    answering_.wait();
    QDBusConnection::disconnectFromBus(bus_.name());
}

void DbusServiceEmitter::OnConnection(const std::string& callingAe, const std::string& calledAe,
                                      const std::string& peer) {
    Emit("OnConnection", {Text(callingAe), Text(calledAe), Text(peer)});
}

void DbusServiceEmitter::OnEndConnection(const std::string& callingAe, const std::string& calledAe,
                                         const std::string& peer) {
    Emit("OnEndConnection", {Text(callingAe), Text(calledAe), Text(peer)});
}

void DbusServiceEmitter::OnStore(const std::string& callingAe, const std::string& calledAe,
                                 const std::string& sopClassUid, const std::string& sopInstanceUid,
                                 const std::string& seriesUid, const std::string& path) {
    Emit("OnStore",
         {Text(callingAe), Text(calledAe), Text(sopClassUid), Text(sopInstanceUid), Text(seriesUid), Text(path)});
}

void DbusServiceEmitter::Emit(const QString& signal, const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(PorvaneService.path, PorvaneService.interface, signal);
    message.setArguments(arguments);
    bus_.send(message);
}

} // namespace tavrel
