#include "platform/dcmtk/DcmtkLibrary.h"

#include "platform/dcmtk/DcmtkDataSetList.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/dcmtk/TextCheck.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/oflog/oflog.h>

#include <mutex>

namespace tavrel {
namespace {

/// What goes wrong is told through errors; the toolkit's remarks on the console help nobody.
void SilenceToolkit() {
    static std::once_flag silent;
    std::call_once(silent, [] { OFLog::configure(OFLogger::OFF_LOG_LEVEL); });
}

} // namespace

DcmtkLibrary::DcmtkLibrary() {
    SilenceToolkit();
}

DcmtkLibrary::DcmtkLibrary(Background& background, ServiceEvents& events, StoreTimeouts timeouts) : DcmtkLibrary() {
    network_ = std::make_shared<const DcmtkNetwork>(DcmtkNetwork{background, events, timeouts});
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
        gettingReady_ = std::jthread([] {
            dcmDataDict.rdlock(); // which reads the toolkit's dictionary
            dcmDataDict.rdunlock();
            ReadyStoreModule();
        });
}

} // namespace tavrel
