#pragma once

#include "platform/dicom.h"

#include <string>

namespace tavrel {

/// One verifying observer: an item of the Verifying Observer Sequence (0040,A073).
class ObservationContext {
public:
    std::string ObserverName;         ///< (0040,A075) PN
    std::string ObserverOrganization; ///< (0040,A027) LO
    DateTime ObservationDateTime;     ///< (0040,A030) DT

    /// Fills the observer from such an item.
    void DicomObject(const DataSetHandle& item);
    /// A new item with the observer.
    DataSetHandle DicomObject(DicomLibrary& dicom) const;
};

} // namespace tavrel
