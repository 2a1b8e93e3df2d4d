#include "sr/ObservationContext.h"

#include "host/Attributes.h"
#include "host/Text.h"

namespace tavrel {

void ObservationContext::DicomObject(const DataSetHandle& item) {
    ObserverName = TextOf(item->GetValue(attribute::VerifyingObserverName, "PN"));
    ObserverOrganization = TextOf(item->GetValue(attribute::VerifyingOrganization, "LO"));
    ObservationDateTime = DateTimeOf(item->GetValue(attribute::VerificationDateTime, "DT"));
}

DataSetHandle ObservationContext::DicomObject(DicomLibrary& dicom) const {
    const DataSetHandle item = dicom.NewDataSet();
    item->SetValue(attribute::VerifyingObserverName, "PN", 0, ObserverName);
    item->SetValue(attribute::VerifyingOrganization, "LO", 0, ObserverOrganization);
    item->SetValue(attribute::VerificationDateTime, "DT", 0, ObservationDateTime);
    return item;
}

} // namespace tavrel
