#pragma once

#include "platform/background.h"
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

/// Drops the work, which is the network's part of a store.
class CutNetwork : public Background {
public:
    void Run(std::string_view, const std::function<void()>&) override {}
};

/// The DICOM library with its network cut off: what a report sends is recorded here, once the library
/// has checked and encoded it as it does before it asks a service.
class RecordingStore : public ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;

    std::vector<SentVersion> sent;
    /// What the storage service does with a version, e.g. raise its event; it refuses by throwing.
    std::function<void(const SentVersion&)> answer;

    bool ready = false; ///< the report has told it that a version will come

    std::shared_ptr<DataSetList> NewDataSetList() override;
    void GetReadyToStore() override { ready = true; }
};

} // namespace tavrel::test
