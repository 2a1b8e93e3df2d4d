#pragma once

#include "platform/dicom.h"

#include <memory>
#include <string>
#include <vector>

namespace tavrel {

class DcmSRDocument;
struct ImagePresentationContext;

/// The pending image references, in the order added. The list is one object for all who hold it; it
/// exists from the first time that it is emptied.
using ImageList = std::vector<ImagePresentationContext>;

/// What belongs to one report from its opening on.
struct OpenedReport {
    std::string studyUid;
    std::string seriesUid;                    ///< the series that it was opened for: the image series, or its own
    std::shared_ptr<DataSetList> imageSeries; ///< none when a report series was opened by itself
    std::shared_ptr<DcmSRDocument> document;  ///< none after a failed opening
    std::shared_ptr<ImageList> pendingImages;
    std::string filePath; ///< the SR file last loaded, chosen or stored; "\\" separates
};

} // namespace tavrel
