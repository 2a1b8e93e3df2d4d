#pragma once

#include "platform/dicom.h"

namespace tavrel {

/// Whether a version that is not of the interchange form holds more than a title and a reading: it is another kind of
/// structured report, or its content tree has items that only its maker knows. To write it anew would lose them.
bool HoldsMoreThanAReport(const DicomDataSet& version);

} // namespace tavrel
