#pragma once

#include "platform/dbus/BusNames.h"

#include <QDBusConnection>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <functional>

namespace tavrel::test {

/// A session bus of the test's own, with a service folder of its own. The environment names it, so
/// that everything the test starts finds it.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();

    /// A connection of its own; each is another client to the bus.
    QDBusConnection Connect();
    /// Lets the bus start `command` for `name`.
    void AddService(const QString& name, const QString& command);
    /// Ends the bus, as the end of a session does.
    void Kill();
    QString Folder() const { return folder_.path(); }
    bool HasOwner(const QString& name);
    bool WaitForOwner(const QString& name);

private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
    int connections_ = 0;
};

/// Runs the event loop until `condition` holds, for 10 s at most; answers whether it does.
bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds bound = std::chrono::seconds(10));

/// Stops a process as one that hangs; it has stopped when this returns.
void Stop(const QProcess& process);

/// Runs the event loop for a while in which something must not happen.
void Idle(std::chrono::milliseconds time = std::chrono::milliseconds(50));

/// Asks without waiting and without a time limit.
QDBusPendingCall Ask(const QDBusConnection& from, const QString& service, const QString& path, const QString& interface,
                     const QString& member, const QVariantList& arguments = {});

QDBusPendingCall Ask(const QDBusConnection& from, const BusObject& object, const QString& member);

bool WaitForAnswer(const QDBusPendingCall& call);

} // namespace tavrel::test
