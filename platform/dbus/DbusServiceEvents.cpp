#include "platform/dbus/DbusServiceEvents.h"

#include "platform/dbus/AwaitAnswer.h"
#include "platform/paths.h"

#include <QDBusMessage>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace tavrel {

namespace {

constexpr auto BusName = "Porvane.Service";
constexpr auto ObjectPath = "/Porvane/Service";

} // namespace

/// One attached handler; leaves the list with its end.
class DbusServiceEvents::Attachment final : public ServiceObject {
public:
    Attachment(DbusServiceEvents& events, ServiceEventHandler& told) : handler(told), events_(&events) {
        events.attachments_.push_back(this);
    }
    ~Attachment() override {
        if (events_)
            std::erase(events_->attachments_, this);
    }

    ServiceEventHandler& handler;

private:
    QPointer<DbusServiceEvents> events_;
};

DbusServiceEvents::DbusServiceEvents(const QDBusConnection& bus, std::chrono::milliseconds bound)
    : bus_(bus), bound_(bound) {
    bus_.connect(BusName, ObjectPath, BusName, "OnConnection", this, SLOT(OnConnection(QString, QString, QString)));
    bus_.connect(BusName, ObjectPath, BusName, "OnEndConnection", this,
                 SLOT(OnEndConnection(QString, QString, QString)));
    bus_.connect(BusName, ObjectPath, BusName, "OnStore", this,
                 SLOT(OnStore(QString, QString, QString, QString, QString, QString)));
}

std::unique_ptr<ServiceObject> DbusServiceEvents::Attach(ServiceEventHandler& handler) {
    return std::make_unique<Attachment>(*this, handler);
}

void DbusServiceEvents::AwaitSentEvents() {
    auto ping = QDBusMessage::createMethodCall(BusName, ObjectPath, "org.freedesktop.DBus.Peer", "Ping");
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
