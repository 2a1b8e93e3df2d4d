// The chooser on a study with many reports, against the bare sum of what it cannot do without: its
// statements through ODBC alone and the newest file of each report through DCMTK alone, in turns.

#include "bench/report/BareCatalogue.h"
#include "bench/report/Measurement.h"
#include "bench/report/Program.h"
#include "suite/catalogue/OdbcEntry.h"
#include "tests/editor/ReportingStation.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcfilefo.h>

#include <stdexcept>

namespace tavrel {
namespace {

void AddReports(test::ReportingStation& station, int count) {
    for (int number = 1; number <= count; ++number)
        station.AddReport({.seriesUid = "1.2.3.2." + std::to_string(number),
                           .seriesDir = "report" + std::to_string(number),
                           .title = "Report " + std::to_string(number),
                           .versions = 3});
}

void ChooseWithTavrel(test::ReportingStation& station, int reports) {
    const Measurement measurement;
    station.chooser.ShowSRDocuments("1.2.3");
    measurement.Print("tavrel");
    RequireSilence(station.windows);
    if (station.chooser.lstSRSeries.Count() != reports)
        throw std::runtime_error("not every report was listed");
}

std::vector<std::filesystem::path> NewestFiles(const BareCatalogue& catalogue, const std::filesystem::path& study) {
    enum SeriesColumn { SeriesInstanceUid, SeriesDir };
    std::vector<std::filesystem::path> files;
    catalogue.Rows("SELECT * FROM Study WHERE StudyInstanceUID='1.2.3'");
    for (const auto& series : catalogue.Rows("SELECT SeriesInstanceUID, SeriesDir, Series.* FROM Series "
                                             "WHERE StudyInstanceUID='1.2.3' AND Modality='SR'")) {
        const auto images = catalogue.Rows("SELECT ImageFile, Image.* FROM Image WHERE SeriesInstanceUID='" +
                                           series[SeriesInstanceUid] + "'");
        files.push_back(study / series[SeriesDir] / images.back().front());
    }
    return files;
}

void ReadBare(const BareCatalogue& catalogue, const std::filesystem::path& study) {
    const Measurement statements;
    const auto files = NewestFiles(catalogue, study);
    statements.Print("statements");

    const Measurement previews;
    for (const auto& file : files)
        if (DcmFileFormat report; report.loadFile(file.c_str()).bad())
            throw std::runtime_error("unreadable: " + file.string());
    previews.Print("previews");
}

void ChooseInTurns(int reports, int times) {
    test::ReportingStation station;
    AddReports(station, reports);
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    const BareCatalogue catalogue(ConnectionText(SqliteEntry({}, station.NativePath("catalogue.db"))));
    for (int turn = 0; turn < times; ++turn) {
        ChooseWithTavrel(station, reports);
        ReadBare(catalogue, station.NativePath("study"));
    }
}

} // namespace
} // namespace tavrel

int main(int argc, char** argv) {
    return tavrel::RunProgram(argc, argv, "bench_chooser REPORTS TIMES", [](tavrel::Arguments arguments) {
        tavrel::ChooseInTurns(std::stoi(arguments[0]), std::stoi(arguments[1]));
    });
}
