#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDeadlineTimer>
#include <QVariant>

#include <chrono>
#include <map>
#include <optional>
#include <utility>

namespace tavrel {

/// The calls to the viewer's object "Lumaret.Viewer".
///
/// A property is sent without waiting, so a viewer that waits for us in a call of its own is waited for by
/// nothing. The next method call waits for the properties first and is not made when one of them failed: the
/// viewer would show another image than is meant. When other properties were sent during that wait, its own are
/// sent again, so that they stand when the method reaches the viewer.
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
    struct Property {
        QVariant value;
        QDBusPendingCall set;
    };

    QDBusPendingCall AskBus(const QDBusMessage& question);
    QDBusPendingCall Set(const QString& name, const QVariant& value);
    /// Waits for the properties that `method` needs, sending them again where others came between.
    void AwaitProperties(std::map<QString, Property>& properties, const QString& method);
    /// Waits until `call`, which is named `name` to the person, is answered; an error when it is not.
    void Await(const QDBusPendingCall& call, const QString& name);

    QDBusConnection bus_;
    std::chrono::milliseconds bound_;
    std::map<QString, Property> properties_; ///< the last one sent of each, until a method call
    unsigned sets_ = 0;                      ///< how many properties were sent
    std::optional<QDeadlineTimer> deadline_; ///< of the outermost method call
    std::optional<QDBusPendingCall> overdue_;
};

} // namespace tavrel
