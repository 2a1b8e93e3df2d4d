#pragma once

#include <QDBusConnection>

#include <string>

namespace tavrel {

/// The storage service's side of the service events: owns the name "Porvane.Service" on the session
/// bus and emits the signals of its interface. Needs neither a Qt application nor an event loop.
///
/// Events may be sent from any thread and leave in the order in which they were sent. One that was
/// sent before a C-STORE is answered has been handled by a client as soon as the client's next
/// `Peer.Ping` to the service is answered; the library answers it by itself, on its own thread.
/// A bus that has gone away costs the events, nothing else.
class DbusServiceEmitter {
public:
    /// Takes the name on the session bus. Errors: there is no bus; another process has the name.
    DbusServiceEmitter();
    /// The same on a connection that is the emitter's own.
    explicit DbusServiceEmitter(QDBusConnection bus);
    ~DbusServiceEmitter();
    DbusServiceEmitter(const DbusServiceEmitter&) = delete;
    DbusServiceEmitter& operator=(const DbusServiceEmitter&) = delete;

    void OnConnection(const std::string& callingAe, const std::string& calledAe, const std::string& peer);
    void OnEndConnection(const std::string& callingAe, const std::string& calledAe, const std::string& peer);
    /// `path`: the stored file's absolute path in the system's own form.
    void OnStore(const std::string& callingAe, const std::string& calledAe, const std::string& sopClassUid,
                 const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path);

private:
    void Emit(const QString& signal, const QVariantList& arguments);

    QDBusConnection bus_;
};

} // namespace tavrel
