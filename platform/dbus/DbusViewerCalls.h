#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDeadlineTimer>

#include <chrono>
#include <map>
#include <optional>
#include <utility>

namespace tavrel {

/// The calls to the viewer's object "Lumaret.Viewer".
///
/// A property is sent without waiting; the next method call waits for both and raises what failed of
/// either. So the properties of one hand-over and its method reach the viewer in one piece, whatever
/// is served meanwhile, and a viewer that waits for us in a call of its own is waited for by nothing.
///
/// A viewer that has let one call's time pass is taken as hung: until it answers that call, the next
/// ones fail at once.
class DbusViewerCalls {
public:
    /// `bound`: the longest wait for an answer.
    DbusViewerCalls(QDBusConnection bus, std::chrono::milliseconds bound) : bus_(std::move(bus)), bound_(bound) {}

    /// Has the bus start the viewer unless it runs. An error when it cannot; at once when nobody has
    /// the name and nothing is registered for it.
    void Start();
    void SetProperty(const QString& name, const QVariant& value);
    void CallMethod(const QString& name);

private:
    QDBusPendingCall AskBus(const QDBusMessage& question);
    /// Waits until `call`, which is named `name` to the person, is answered; an error when it is not.
    void Await(const QDBusPendingCall& call, const QString& name);

    QDBusConnection bus_;
    std::chrono::milliseconds bound_;
    std::map<QString, QDBusPendingCall> properties_; ///< the last one sent of each, until a method call
    std::optional<QDeadlineTimer> deadline_;         ///< of the outermost wait
    std::optional<QDBusPendingCall> overdue_;
};

} // namespace tavrel
