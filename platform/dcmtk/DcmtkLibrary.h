#pragma once

#include "platform/dcmtk/DcmtkNetwork.h"
#include "platform/dicom.h"

#include <memory>

namespace tavrel {

/// DICOM objects on DCMTK.
class DcmtkLibrary final : public DicomLibrary {
public:
    /// Reads the toolkit's dictionary, which the first file waits for otherwise. Of any thread.
    static void ReadDictionary();

    /// Its data sets can be read and saved, not sent.
    DcmtkLibrary();
    /// `background` and `events` must outlive the library and all its objects.
    DcmtkLibrary(Background& background, ServiceEvents& events, StoreTimeouts timeouts = {});

    DataSetHandle NewDataSet() override;
    std::shared_ptr<DataSetList> NewDataSetList() override;
    std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) override;
    std::vector<LostCharacter> FindUnwritable(std::string_view text, std::string_view characterSet) const override;

private:
    std::shared_ptr<const DcmtkNetwork> network_;
};

} // namespace tavrel
