#include "tests/support/FakeServiceEvents.h"

#include <algorithm>

namespace tavrel::test {

class FakeServiceEvents::Attachment : public ServiceObject {
public:
    Attachment(FakeServiceEvents& events, ServiceEventHandler& handler) : events_(events), handler_(handler) {
        events_.handlers_.push_back(&handler_);
    }
    ~Attachment() override { events_.handlers_.erase(std::ranges::find(events_.handlers_, &handler_)); }

private:
    FakeServiceEvents& events_;
    ServiceEventHandler& handler_;
};

std::unique_ptr<ServiceObject> FakeServiceEvents::Attach(ServiceEventHandler& handler) {
    ++attached;
    return std::make_unique<Attachment>(*this, handler);
}

void FakeServiceEvents::RaiseConnection() {
    for (ServiceEventHandler* handler : std::vector(handlers_))
        handler->OnConnection("AE_INTERNAL", "PORVANE", "127.0.0.1");
}

void FakeServiceEvents::RaiseEndConnection() {
    for (ServiceEventHandler* handler : std::vector(handlers_))
        handler->OnEndConnection("AE_INTERNAL", "PORVANE", "127.0.0.1");
}

void FakeServiceEvents::RaiseStore(const std::string& seriesUid, const std::string& path, const std::string& callingAe,
                                   const std::string& sopInstanceUid) {
    for (ServiceEventHandler* handler : std::vector(handlers_))
        handler->OnStore(callingAe, "PORVANE", "1.2.840.10008.5.1.4.1.1.88.11", sopInstanceUid, seriesUid, path);
}

void FakeServiceEvents::RaiseOtherStore(const std::string& sopInstanceUid) {
    for (ServiceEventHandler* handler : std::vector(handlers_))
        handler->OnOtherStore(sopInstanceUid);
}

} // namespace tavrel::test
