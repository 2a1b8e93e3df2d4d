#pragma once

#include "platform/service_events.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace tavrel {

/// The events of the storage service "Porvane.Service" on the session bus. Never starts the service.
class DbusServiceEvents final : public QObject, public ServiceEvents, protected QDBusContext {
    Q_OBJECT

public:
    /// `bound`: how long `AwaitSentEvents` waits for a service that does not answer.
    explicit DbusServiceEvents(QDBusConnection bus, std::chrono::milliseconds bound = std::chrono::seconds(2));

    /// The object must not outlive this one.
    std::unique_ptr<ServiceObject> Attach(ServiceEventHandler& handler) override;
    void Expect(const std::string& sopInstanceUid) override;
    void AwaitSentEvents() override;
    /// Whether a store is waiting in `AwaitSentEvents` at this moment.
    bool Awaiting() const { return awaiting_; }

private slots:
    void OnConnection(const QString& callingAe, const QString& calledAe, const QString& peer);
    void OnEndConnection(const QString& callingAe, const QString& calledAe, const QString& peer);
    void OnStore(const QString& callingAe, const QString& calledAe, const QString& sopClassUid,
                 const QString& sopInstanceUid, const QString& seriesUid, const QString& path);

private:
    class Attachment;
    template <typename Event> void Tell(Event event);
    /// Whether the event at hand is that of a version sent, which is no longer expected then.
    bool TakeExpected(const std::string& sopInstanceUid);

    QDBusConnection bus_;
    std::chrono::milliseconds bound_;
    bool awaiting_ = false;
    std::vector<Attachment*> attachments_;
    std::map<std::string, QString> expected_; ///< the service that was there, by the version's UID; empty for any
};

} // namespace tavrel
