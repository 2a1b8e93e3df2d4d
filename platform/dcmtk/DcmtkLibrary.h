#pragma once

#include "platform/dcmtk/DcmtkServices.h"
#include "platform/dicom.h"

#include <memory>
#include <string>

namespace tavrel {

/// DICOM objects on DCMTK. `background` and `events` must outlive the library and all its objects.
class DcmtkLibrary final : public DicomLibrary {
public:
    /// `unsentFolder` (a native path, made when it is first needed) takes the versions that could not
    /// be sent.
    DcmtkLibrary(Background& background, ServiceEvents& events, std::string unsentFolder, StoreTimeouts timeouts = {});

    DataSetHandle NewDataSet() override;
    std::shared_ptr<DataSetList> NewDataSetList() override;
    std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) override;

private:
    std::shared_ptr<const DcmtkServices> services_;
};

} // namespace tavrel
