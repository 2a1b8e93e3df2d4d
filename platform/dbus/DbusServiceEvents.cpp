#include "platform/dbus/DbusServiceEvents.h"

#include "platform/dbus/AwaitAnswer.h"
#include "platform/dbus/BusNames.h"
#include "platform/paths.h"

#include <QDBusMessage>
#include <QDBusPendingReply>

#include <algorithm>
#include <utility>

namespace tavrel {

/// One attached handler; leaves the list with its end.
class DbusServiceEvents::Attachment final : public ServiceObject {
public:
    Attachment(DbusServiceEvents& events, ServiceEventHandler& told) : handler(told), events_(events) {
        events.attachments_.push_back(this);
    }
    ~Attachment() override { std::erase(events_.attachments_, this); }

    ServiceEventHandler& handler;

private:
    DbusServiceEvents& events_;
};

DbusServiceEvents::DbusServiceEvents(QDBusConnection bus, std::chrono::milliseconds bound)
    : bus_(std::move(bus)), bound_(bound) {
    const auto listen = [this](const char* event, const char* slot) {
        bus_.connect(PorvaneService.service, PorvaneService.path, PorvaneService.interface, event, this, slot);
    };
    listen("OnConnection", SLOT(OnConnection(QString, QString, QString)));
    listen("OnEndConnection", SLOT(OnEndConnection(QString, QString, QString)));
    listen("OnStore", SLOT(OnStore(QString, QString, QString, QString, QString, QString)));
}

std::unique_ptr<ServiceObject> DbusServiceEvents::Attach(ServiceEventHandler& handler) {
    return std::make_unique<Attachment>(*this, handler);
}

void DbusServiceEvents::Expect(const std::string& sopInstanceUid) {
    auto ask = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                              "GetNameOwner");
    ask.setArguments({QString(PorvaneService.service)});
    const QDBusPendingReply<QString> owner = bus_.asyncCall(ask);
    const bool known = AwaitAnswer(owner, bound_) && owner.isValid();
    expected_.insert_or_assign(sopInstanceUid, known ? owner.value() : QString());
}

bool DbusServiceEvents::TakeExpected(const std::string& sopInstanceUid) {
    const auto found = expected_.find(sopInstanceUid);
    if (found == expected_.end() || (!found->second.isEmpty() && found->second != message().service()))
        return false;
    expected_.erase(found);
    return true;
}

void DbusServiceEvents::AwaitSentEvents() {
    auto ping = QDBusMessage::createMethodCall(PorvaneService.service, PorvaneService.path, "org.freedesktop.DBus.Peer",
                                               "Ping");
    ping.setAutoStartService(false);
    const bool before = std::exchange(awaiting_, true);
    AwaitAnswer(bus_.asyncCall(ping), bound_);
    awaiting_ = before;
}

void DbusServiceEvents::OnConnection(const QString& callingAe, const QString& calledAe, const QString& peer) {
    Tell([&](ServiceEventHandler& handler) {
        handler.OnConnection(callingAe.toStdString(), calledAe.toStdString(), peer.toStdString());
    });
}

void DbusServiceEvents::OnEndConnection(const QString& callingAe, const QString& calledAe, const QString& peer) {
    Tell([&](ServiceEventHandler& handler) {
        handler.OnEndConnection(callingAe.toStdString(), calledAe.toStdString(), peer.toStdString());
    });
}

void DbusServiceEvents::OnStore(const QString& callingAe, const QString& calledAe, const QString& sopClassUid,
                                const QString& sopInstanceUid, const QString& seriesUid, const QString& path) {
    if (!TakeExpected(sopInstanceUid.toStdString())) {
        Tell([&](ServiceEventHandler& handler) { handler.OnOtherStore(sopInstanceUid.toStdString()); });
        return;
    }
    Tell([&](ServiceEventHandler& handler) {
        handler.OnStore(callingAe.toStdString(), calledAe.toStdString(), sopClassUid.toStdString(),
                        sopInstanceUid.toStdString(), seriesUid.toStdString(), InsidePath(path.toStdString()));
    });
}

template <typename Event> void DbusServiceEvents::Tell(Event event) {
    // A handler may attach and detach while it is told.
    const auto attachments = attachments_;
    for (auto* attachment : attachments)
        if (std::find(attachments_.begin(), attachments_.end(), attachment) != attachments_.end())
            event(attachment->handler);
}

} // namespace tavrel
