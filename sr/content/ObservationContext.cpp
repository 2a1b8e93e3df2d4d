#include "sr/content/ObservationContext.h"

#include "host/Text.h"
#include "platform/attributes.h"

namespace tavrel {

void ObservationContext::DicomObject(const DataSetHandle& item) {
    ObserverName = TextOf(*item, attribute::VerifyingObserverName);
    ObserverOrganization = TextOf(*item, attribute::VerifyingOrganization);
    ObservationDateTime = DateTimeOf(item->GetValue(attribute::VerificationDateTime));
}

DataSetHandle ObservationContext::DicomObject(DicomLibrary& dicom) const {
    DataSetHandle item = dicom.NewDataSet();
    item->SetValue(attribute::VerifyingObserverName, 0, ObserverName);
    item->SetValue(attribute::VerifyingOrganization, 0, ObserverOrganization);
    item->SetValue(attribute::VerificationDateTime, 0, ObservationDateTime);
    return item;
}

} // namespace tavrel
