#pragma once

#include "editor/PrintReport.h"
#include "tests/editor/ReportingStation.h"

namespace tavrel::test {

/// Every column of table `Report`, in its order.
inline const Texts ReportColumns = {
    "PatientName",        "BirthDate",      "Age",           "Sex",         "PatientID",        "StudyDate",
    "StudyDescription",   "StudyPhysician", "ReportHeading", "ReportTitle", "ReadingPhysician", "LastUpdated",
    "ApprovingPhysician", "ApprovingDate",  "Reading"};

/// A station whose editor shows an approved report.
class PrintingStation : public ReportingStation {
public:
    PrintingStation() { OpenReport({.approved = true}); }

    std::vector<Texts> PrintTable() { return Rows("Report", ReportColumns); }
    std::string Printed(const std::string& column) { return Rows("Report", {column}).at(0).at(0); }

    void PrintReading(const std::string& reading) {
        editor.txtReportAnnotation.Text(reading);
        editor.cmdPrint.Press();
    }
};

/// `character` as many times.
inline std::string Repeated(std::string_view character, int count) {
    std::string text;
    while (count-- > 0)
        text += character;
    return text;
}

} // namespace tavrel::test
