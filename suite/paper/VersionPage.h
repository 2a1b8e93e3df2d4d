#pragma once

#include "platform/dicom.h"
#include "platform/printer.h"

#include <string>

namespace tavrel {

/// Where a version stands among those of its report. One that stands nowhere is a document by itself.
struct VersionPlace {
    int number = 0; ///< from 1
    int count = 0;
    int unreadable = 0; ///< files of the report besides, of which nothing is known
};

/// The pages of one version of a report, or of another structured report, whatever its length: the patient, what is not
/// approved and which version it is stand on every page. It has no fields.
PrintLayout VersionPage(const DicomDataSet& version, const VersionPlace& place);

} // namespace tavrel
