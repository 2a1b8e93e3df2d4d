#pragma once

#include "platform/dcmtk/DcmtkNetwork.h"
#include "platform/dicom.h"

#include <memory>
#include <thread>

namespace tavrel {

/// DICOM objects on DCMTK.
class DcmtkLibrary final : public DicomLibrary {
public:
    /// Its data sets can be read and saved, not sent.
    DcmtkLibrary();
    /// `background` and `events` must outlive the library and all its objects.
    /// It stands here so that a program that only reads is linked to no network.
    DcmtkLibrary(Background& background, ServiceEvents& events, StoreTimeouts timeouts = {}) : DcmtkLibrary() {
        network_ = std::make_shared<const DcmtkNetwork>(DcmtkNetwork{background, events, timeouts, TheStore});
    }

    DataSetHandle NewDataSet() override;
    std::shared_ptr<DataSetList> NewDataSetList() override;
    std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) override;
    std::vector<LostCharacter> FindUnwritable(std::string_view text, std::string_view characterSet) const override;
    void GetReadyToStore() override;

private:
    std::shared_ptr<const DcmtkNetwork> network_;
    std::jthread gettingReady_;
};

} // namespace tavrel
