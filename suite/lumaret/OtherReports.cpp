#include "suite/lumaret/OtherReports.h"

namespace tavrel {

OtherReports FindOtherReports(StudyCatalogue& catalogue, const StudyRow& study, const QString& file) {
    PatientIdentity patient{study.patientName, study.patientId, {}};
    if (const auto inStudy = file.isEmpty() ? std::nullopt : PatientIn(file))
        patient.issuer = inStudy->issuer;
    OtherReports found;
    for (const OtherReport& report : catalogue.OtherReportsOf(study)) {
        const auto named = report.newestFile.isEmpty() ? std::nullopt : PatientIn(report.newestFile);
        if (named && !SamePatient(*named, patient))
            ++found.leftOut;
        else
            found.reports.push_back(
                {report, named && !SameName(named->name, patient.name) ? named->name : QString(), patient});
    }
    return found;
}

} // namespace tavrel
