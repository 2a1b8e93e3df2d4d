#include "platform/dcmtk/DcmtkLibrary.h"

#include "platform/dcmtk/DcmtkDataSetList.h"
#include "platform/dcmtk/TextCheck.h"
#include "platform/dcmtk/Toolkit.h"

#include <exception>

namespace tavrel {

DcmtkLibrary::DcmtkLibrary() {
    HoldToolkit();
}

DataSetHandle DcmtkLibrary::NewDataSet() {
    return std::make_shared<DcmtkDataSet>(network_);
}

std::shared_ptr<DataSetList> DcmtkLibrary::NewDataSetList() {
    return std::make_shared<DcmtkDataSetList>(network_);
}

std::shared_ptr<DataSetList> DcmtkLibrary::OpenImageSeries(std::span<const std::string> paths) {
    return std::make_shared<DcmtkDataSetList>(network_, paths);
}

std::vector<LostCharacter> DcmtkLibrary::FindUnwritable(std::string_view text, std::string_view characterSet) const {
    return LostCharacters(text, CheckText(text, CharacterSet{characterSet}, TextKind::Plain));
}

void DcmtkLibrary::GetReadyToStore() {
    if (network_ && !gettingReady_.joinable())
        gettingReady_ = std::jthread([store = network_->store] {
            try {
                TheToolkit().ReadDictionary();
                store();
            } catch (const std::exception&) {
                return; // the store tells it
            }
        });
}

} // namespace tavrel
