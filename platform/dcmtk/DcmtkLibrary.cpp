#include "platform/dcmtk/DcmtkLibrary.h"

#include "platform/dcmtk/DcmtkDataSetList.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/oflog/oflog.h>

namespace tavrel {

DcmtkLibrary::DcmtkLibrary(Background& background, ServiceEvents& events, std::string unsentFolder,
                           StoreTimeouts timeouts)
    : services_(
          std::make_shared<const DcmtkServices>(DcmtkServices{background, events, std::move(unsentFolder), timeouts})) {
    // What goes wrong is told through errors; the toolkit's remarks on the console help nobody.
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
}

DataSetHandle DcmtkLibrary::NewDataSet() {
    return std::make_shared<DcmtkDataSet>(services_);
}

std::shared_ptr<DataSetList> DcmtkLibrary::NewDataSetList() {
    return std::make_shared<DcmtkDataSetList>(services_);
}

std::shared_ptr<DataSetList> DcmtkLibrary::OpenImageSeries(std::span<const std::string> paths) {
    return std::make_shared<DcmtkDataSetList>(services_, paths);
}

} // namespace tavrel
