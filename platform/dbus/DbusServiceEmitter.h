#pragma once

#include <QDBusConnection>
#include <QThread>

#include <memory>
#include <string>

namespace tavrel {

/// The storage service's side of the service events: owns the name "Porvane.Service" on the session
/// bus, emits the signals of its interface and describes itself to who asks. Needs a Qt application,
/// but no event loop of it.
///
/// Events may be sent from any thread and leave in the order in which they were sent. One that was
/// sent before a C-STORE is answered has been handled by a client as soon as the client's next
/// `Peer.Ping` to the service is answered; the library answers it by itself.
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

    /// Whether the bus is still there. From any thread.
    bool Connected() const { return bus_.isConnected(); }

    void OnConnection(const std::string& callingAe, const std::string& calledAe, const std::string& peer);
    void OnEndConnection(const std::string& callingAe, const std::string& calledAe, const std::string& peer);
    /// `path`: the stored file's absolute path in the system's own form.
    void OnStore(const std::string& callingAe, const std::string& calledAe, const std::string& sopClassUid,
                 const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path);

private:
    void Describe();
    void End();
    void Emit(const QString& signal, const QVariantList& arguments);

    class Description;

    QDBusConnection bus_;
    std::unique_ptr<Description> description_;
    QThread answering_;
};

} // namespace tavrel
