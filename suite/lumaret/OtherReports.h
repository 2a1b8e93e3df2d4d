#pragma once

#include "suite/lumaret/ImageFile.h"
#include "suite/lumaret/StudyCatalogue.h"

namespace tavrel {

/// The reports in a patient's other studies, as they may be shown beside one study.
struct OtherReports {
    struct Report {
        OtherReport report;
        QString otherName;       ///< what its newest file calls the patient, where that is another name
        PatientIdentity patient; ///< whose study it is shown beside
    };
    std::vector<Report> reports;
    QString ownName; ///< what the study's own file calls the patient, where the catalogue has another name
    int leftOut = 0; ///< whose own files name another patient, or another issuer of the same number
};

/// Those of the study's patient as the catalogue has it; the files themselves are asked who it is, beside `file`, one
/// of the study's (or none).
OtherReports FindOtherReports(StudyCatalogue& catalogue, const StudyRow& study, const QString& file);

/// The study, its patient named as one of its own files does. The catalogue has one name for a number, which a disc
/// from elsewhere may have for somebody else.
std::optional<StudyRow> StudyAsItsFilesSay(StudyCatalogue& catalogue, const QString& studyUid);

} // namespace tavrel
