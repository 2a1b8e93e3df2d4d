#include "suite/lumaret/OtherReports.h"

#include "suite/lumaret/ImageFile.h"

namespace tavrel {

OtherReports FindOtherReports(StudyCatalogue& catalogue, const StudyRow& study, const QString& imageFile) {
    PatientIdentity patient{study.patientName, study.patientId, {}};
    if (const auto inImage = imageFile.isEmpty() ? std::nullopt : PatientIn(imageFile))
        patient.issuer = inImage->issuer;
    OtherReports found;
    for (const OtherReport& report : catalogue.OtherReportsOf(study)) {
        const auto named = report.newestFile.isEmpty() ? std::nullopt : PatientIn(report.newestFile);
        if (named && !SamePatient(*named, patient))
            ++found.leftOut;
        else
            found.reports.push_back({report, named && !SameName(named->name, patient.name) ? named->name : QString()});
    }
    return found;
}

} // namespace tavrel
