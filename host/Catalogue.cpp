#include "host/Catalogue.h"

#include "platform/error.h"

namespace tavrel {

std::string InQuotes(std::string_view value) {
    if (value.find('\'') != std::string_view::npos)
        throw Error(Fault::TypeMismatch, "Catalogue",
                    "The catalogue cannot be asked with a text that holds an apostrophe: " + std::string(value));
    return std::string(value);
}

void WriteHistory(Global& global, std::string_view seriesUid, std::string_view actionVal,
                  std::string_view description) {
    Connection& catalogue = Catalogue(global);
    const auto server = catalogue.OpenResultSet("SELECT AETitle FROM DicomServer");
    const std::string node = server->Text("AETitle");
    server->Close();

    const std::string series = InQuotes(seriesUid);
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
    const std::string patientName = unknown ? "" : std::string(known->Field("PatientName").value_or(""));
    const std::string studyUid = unknown ? series : known->Text("StudyInstanceUID");
    const std::string knownSeriesUid = unknown ? series : known->Text("SeriesInstanceUID");
    known->Close();

    catalogue.OpenResultSet(
        "INSERT INTO History (Node, Username, PatientName, PatientID, StudyUID, SeriesUID, ActionVal, Description) "
        " VALUES ('" +
        InQuotes(node) + "','" + InQuotes(global.currentUserName) + "','" + InQuotes(patientName) + "','" +
        InQuotes(patientId) + "','" + InQuotes(studyUid) + "','" + InQuotes(knownSeriesUid) + "','" +
        InQuotes(actionVal) + "','" + InQuotes(description) + "')");
}

bool SetSeriesStatus(Global& global, std::string_view seriesUid, std::string_view status) {
    try {
        Catalogue(global).OpenResultSet("UPDATE Series SET SeriesStatus='" + InQuotes(status) +
                                        "' WHERE SeriesInstanceUID='" + InQuotes(seriesUid) + "'");
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace tavrel
