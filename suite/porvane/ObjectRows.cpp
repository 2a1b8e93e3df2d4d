#include "suite/porvane/ObjectRows.h"

#include "suite/catalogue/Rows.h"

namespace tavrel {
namespace {

/// A number that an object does not have is left out.
ColumnTexts With(ColumnTexts row, const char* column, std::optional<int> number) {
    if (number)
        row.emplace_back(column, std::to_string(*number));
    return row;
}

} // namespace

void InsertPatientRow(Connection& catalogue, const ObjectHeader& header) {
    InsertRow(catalogue, "Patient",
              {{"ID", header.patientId},
               {"PatientName", header.patientName},
               {"BirthDate", header.birthDate},
               {"Sex", header.sex}});
}

void InsertStudyRow(Connection& catalogue, const ObjectHeader& header, const std::string& studyPath) {
    InsertRow(catalogue, "Study",
              {{"StudyInstanceUID", header.studyUid},
               {"StudyPath", studyPath},
               {"IDPatient", header.patientId},
               {"StudyDate", header.studyDate},
               {"StudyTime", header.studyTime},
               {"StudyDescription", header.studyDescription},
               {"ReferringPhysician", header.referringPhysician},
               {"AccessionNumber", header.accessionNumber}});
}

void InsertSeriesRow(Connection& catalogue, const ObjectHeader& header, const std::string& seriesDir) {
    InsertRow(catalogue, "Series",
              With({{"SeriesInstanceUID", header.seriesUid},
                    {"StudyInstanceUID", header.studyUid},
                    {"SeriesDir", seriesDir},
                    {"Modality", header.modality},
                    {"SeriesStatus", ""},
                    {"SeriesDescription", header.seriesDescription}},
                   "SeriesNumber", header.seriesNumber));
}

void InsertImageRow(Connection& catalogue, const ObjectHeader& header, const std::string& imageFile,
                    std::optional<int> twin) {
    InsertRow(catalogue, "Image",
              With(With({{"SeriesInstanceUID", header.seriesUid},
                         {"ImageFile", imageFile},
                         {"SOPInstanceUID", header.sopInstanceUid},
                         {"SOPClassUID", header.sopClassUid}},
                        "InstanceNumber", header.instanceNumber),
                   "Twin", twin));
}

} // namespace tavrel
