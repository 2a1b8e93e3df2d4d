#pragma once

#include "tests/support/ForwardingDicom.h"

#include <functional>
#include <string>
#include <vector>

namespace tavrel::test {

/// One call of `StoreToNode`.
struct SentVersion {
    std::string host, port, callingAe, calledAe;
    bool wait = false;
    DataSetHandle dataSet; ///< the version itself, as it stands now
};

/// The DICOM library with the network cut off: what a report sends is recorded here.
class RecordingStore : public ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;

    std::vector<SentVersion> sent;
    /// What the storage service does with a version, e.g. raise its event; it refuses by throwing.
    std::function<void(const SentVersion&)> answer;

    std::shared_ptr<DataSetList> NewDataSetList() override;
};

} // namespace tavrel::test
