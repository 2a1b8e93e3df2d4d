#pragma once

#include "platform/dicom.h"

namespace tavrel {

/// Calls `body` with each item of a sequence, in their order.
template <typename Body> void ForEachItem(const DicomDataSet& holder, Tag sequence, Body body) {
    const int count = holder.GetSequenceItemCount(sequence);
    for (int index = 0; index < count; ++index)
        body(*holder.GetSequenceItem(sequence, index));
}

} // namespace tavrel
