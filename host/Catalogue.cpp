#include "host/Catalogue.h"

#include "host/Text.h"
#include "platform/attributes.h"

namespace tavrel {

void WriteHistory(Global& global, std::string_view seriesUid, std::string_view actionVal,
                  std::string_view description) {
    Connection& catalogue = Catalogue(global);
    const auto server = catalogue.OpenResultSet("SELECT AETitle FROM DicomServer");
    const std::string node = server->Text("AETitle");
    server->Close();

    const std::string series(seriesUid);
    const auto known = catalogue.OpenResultSet(
        "SELECT Patient.ID, Patient.PatientName, Study.StudyInstanceUID, Series.SeriesInstanceUID "
        " FROM Patient, Study, Series "
        " WHERE Series.SeriesInstanceUID ='" +
        series +
        "'"
        " AND Patient.ID = Study.IDPatient"
        " AND Study.StudyInstanceUID = Series.StudyInstanceUID");
    // A series that the catalogue does not know names the row by its UID alone.
    const bool unknown = known->AtEnd();
    const std::string patientId = unknown ? series : known->Text("id");
    const std::string patientName = unknown ? "" : known->Text("PatientName");
    const std::string studyUid = unknown ? series : known->Text("StudyInstanceUID");
    const std::string knownSeriesUid = unknown ? series : known->Text("SeriesInstanceUID");
    known->Close();

    catalogue.OpenResultSet(
        "INSERT INTO History (Node, Username, PatientName, PatientID, StudyUID, SeriesUID, ActionVal, Description) "
        " VALUES ('" +
        node + "','" + global.currentUserName + "','" + patientName + "','" + patientId + "','" + studyUid + "','" +
        knownSeriesUid + "','" + std::string(actionVal) + "','" + std::string(description) + "')");
}

bool SetSeriesStatus(Global& global, std::string_view seriesUid, std::string_view status) {
    try {
        Catalogue(global).OpenResultSet("UPDATE Series SET SeriesStatus='" + std::string(status) +
                                        "' WHERE SeriesInstanceUID='" + std::string(seriesUid) + "'");
        return true;
    } catch (...) {
        return false;
    }
}

std::string TimeStamp(const Clock& clock) {
    const DateTime now = clock.Now();
    return Padded(now.year, 4) + "." + Padded(now.month, 2) + "." + Padded(now.day, 2) + "." + Padded(now.hour, 2) +
           "." + Padded(now.minute, 2) + "." + Padded(now.second, 2);
}

std::string FolderOf(std::string_view path) {
    const std::size_t separator = path.rfind('\\');
    if (separator == std::string_view::npos)
        return ".";
    const std::size_t start = path.find_first_not_of(' ');
    return std::string(path.substr(start, separator + 1 - start));
}

void AppendCodeItem(DicomLibrary& dicom, DicomDataSet& dataSet, Tag sequence, std::string_view codeScheme,
                    std::string_view codeValue, std::string_view codeMeaning, std::int16_t& itemIndex) {
    if (itemIndex < 0)
        itemIndex = static_cast<std::int16_t>(dataSet.GetSequenceItemCount(sequence));
    const DataSetHandle item = dicom.NewDataSet();
    dataSet.SetSequenceItem(sequence, itemIndex, item);
    item->SetValue(attribute::CodeValue, 0, std::string(codeValue));
    item->SetValue(attribute::CodingSchemeDesignator, 0, std::string(codeScheme));
    item->SetValue(attribute::CodeMeaning, 0, std::string(codeMeaning));
}

} // namespace tavrel
