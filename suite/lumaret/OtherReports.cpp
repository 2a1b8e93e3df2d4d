#include "suite/lumaret/OtherReports.h"

namespace tavrel {

namespace {

QString OwnName(const StudyRow& study, const std::optional<PatientIdentity>& inStudy) {
    return inStudy && !SameName(inStudy->name, study.patientName) ? inStudy->name : QString();
}

} // namespace

OtherReports FindOtherReports(StudyCatalogue& catalogue, const StudyRow& study, const QString& file) {
    const auto inStudy = file.isEmpty() ? std::nullopt : PatientIn(file);
    OtherReports found{.reports = {}, .ownName = OwnName(study, inStudy)};
    const PatientIdentity patient{found.ownName.isEmpty() ? study.patientName : found.ownName, study.patientId,
                                  inStudy ? inStudy->issuer : QString()};
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

std::optional<StudyRow> StudyAsItsFilesSay(StudyCatalogue& catalogue, const QString& studyUid) {
    auto study = catalogue.Study(studyUid);
    if (!study)
        return study;
    QString file;
    for (const SeriesRow& series : catalogue.SeriesOf(studyUid))
        if (file.isEmpty())
            file = catalogue.FilesOf(series).value(0);
    if (const auto name = file.isEmpty() ? QString() : OwnName(*study, PatientIn(file)); !name.isEmpty())
        study->patientName = name;
    return study;
}

} // namespace tavrel
