#pragma once

#include <memory>
#include <string>

namespace tavrel {

/// What the DICOM storage service tells about its work. Called on the user-interface thread.
class ServiceEventHandler {
public:
    virtual ~ServiceEventHandler() = default;
    virtual void OnConnection(const std::string&, const std::string&, const std::string&) = 0;
    virtual void OnEndConnection(const std::string&, const std::string&, const std::string&) = 0;
    /// A version that this program has sent was stored (`ServiceEvents::Expect`). `path` is the stored file, with the
    /// program's own separator "\".
    virtual void OnStore(const std::string& callingAe, const std::string& calledAe, const std::string& sopClassUid,
                         const std::string& sopInstanceUid, const std::string& seriesUid, const std::string& path) = 0;
    /// Any other object was stored: nothing of it can be believed but that what waited may wait no longer.
    virtual void OnOtherStore(const std::string& /*sopInstanceUid*/) {}
};

/// A network-service object; its events end with it.
class ServiceObject {
public:
    virtual ~ServiceObject() = default;
};

class ServiceEvents {
public:
    virtual ~ServiceEvents() = default;
    /// Attaches `handler`, which must outlive the object returned. A service that is not there is
    /// no error: there are simply no events.
    virtual std::unique_ptr<ServiceObject> Attach(ServiceEventHandler& handler) = 0;
    /// A version is about to be sent: its store event, once, from the service that is there now, is `OnStore`. Where
    /// none is there, from the one that comes. Bounded.
    virtual void Expect(const std::string& sopInstanceUid) = 0;
    /// Returns when every event that the service sent before this call has been handled; bounded,
    /// and silent when the service is absent.
    virtual void AwaitSentEvents() = 0;
};

} // namespace tavrel
