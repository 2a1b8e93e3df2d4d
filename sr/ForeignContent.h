#pragma once

#include "platform/dicom.h"

namespace tavrel {

/// Whether a version holds more than a report of this program's, in either of its forms: it is another kind of
/// structured report, or its content tree has items that only its maker knows. To write it anew would lose them.
bool HoldsMoreThanAReport(const DicomDataSet& version);

} // namespace tavrel
