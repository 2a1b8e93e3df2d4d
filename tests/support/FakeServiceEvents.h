#pragma once

#include "platform/service_events.h"

#include <string>
#include <vector>

namespace tavrel::test {

/// The storage service as the source of its events.
class FakeServiceEvents : public ServiceEvents {
public:
    int attached = 0; ///< how often a handler was attached
    int awaited = 0;
    std::vector<std::string> expected; ///< the versions that were about to be sent

    std::unique_ptr<ServiceObject> Attach(ServiceEventHandler& handler) override;
    void Expect(const std::string& sopInstanceUid) override { expected.push_back(sopInstanceUid); }
    void AwaitSentEvents() override { ++awaited; }

    /// How many handlers listen now.
    std::size_t Listeners() const { return handlers_.size(); }
    void RaiseConnection();
    void RaiseEndConnection();
    /// `path` with the separator "\".
    void RaiseStore(const std::string& seriesUid, const std::string& path, const std::string& callingAe = "AE_INTERNAL",
                    const std::string& sopInstanceUid = "1.2.3.4");

    /// The event of an object that this program did not send.
    void RaiseOtherStore(const std::string& sopInstanceUid);

private:
    class Attachment;
    std::vector<ServiceEventHandler*> handlers_;
};

} // namespace tavrel::test
