#include "platform/dcmtk/DcmtkStore.h"

#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/Implementation.h"
#include "platform/limits.h"

#include <charconv>

namespace tavrel {
std::string StoreTarget::Name() const {
    return calledAe + " at " + host + ", port " + port;
}

void CheckTarget(const StoreTarget& target) {
    for (const auto& title : {target.callingAe, target.calledAe})
        if (title.empty() || title.size() > longest::AeTitle)
            throw DicomFailure(DicomFault::NotSendable, "The AE title \"" + title + "\" must have 1 to 16 characters.");
    int port = 0;
    const auto* end = target.port.data() + target.port.size();
    const auto [stop, failure] = std::from_chars(target.port.data(), end, port);
    if (failure != std::errc{} || stop != end || port < 1 || port > 65535)
        throw DicomFailure(DicomFault::NotSendable, "\"" + target.port + "\" is no port of a storage service.");
}

void StoreDataSet(const EncodedDataSet& dataSet, const StoreTarget& target, const StoreTimeouts& timeouts,
                  StoreFunction& store) {
    store({dataSet, target, timeouts, ImplementationVersionName(), InImplicitVr});
}

} // namespace tavrel
