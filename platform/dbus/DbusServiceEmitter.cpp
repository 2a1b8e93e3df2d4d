#include "platform/dbus/DbusServiceEmitter.h"

#include "platform/dbus/BusNames.h"
#include "platform/error.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

#include <utility>

namespace tavrel {

namespace {

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

DbusServiceEmitter::DbusServiceEmitter()
    : DbusServiceEmitter(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "porvane-events")) {}

DbusServiceEmitter::DbusServiceEmitter(QDBusConnection bus) : bus_(std::move(bus)) {
    if (!bus_.isConnected())
        throw Error(bus_.lastError().type(), PorvaneService.service,
                    "There is no session bus to tell stored reports on: " + bus_.lastError().message().toStdString());
    const auto reply =
        bus_.interface()->registerService(PorvaneService.service, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    if (reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return;
    QDBusConnection::disconnectFromBus(bus_.name());
    throw Error(QDBusError::AddressInUse, PorvaneService.service,
                "Another process has the name \"Porvane.Service\" on the session bus.");
}

DbusServiceEmitter::~DbusServiceEmitter() {
    if (bus_.isConnected())
        bus_.interface()->unregisterService(PorvaneService.service); // the connection itself is closed some time later
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
