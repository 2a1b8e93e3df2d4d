#include "host/chooser/frmSRSeriesChoice.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/DcmSRDocument.h"
#include "sr/VersionOrder.h"

namespace tavrel {
namespace {

constexpr std::string_view ErrorPrefix = "Report Choice: ";

ListItem RowOf(const DcmSRDocument& report) {
    std::string scheme, code, meaning, annotation;
    report.GetTitle(scheme, code, meaning, annotation);
    std::string state = report.status() == DcmSRDocument::Approved ? "APPROVED" : "";
    if (!report.Damage().empty())
        state = "DAMAGED";
    const auto* referring = report.Referring();
    return {.text = annotation,
            .tag = {},
            .subItems = {state, referring ? DateTimeText(referring->ObservationDateTime) : "",
                         referring ? referring->ObserverName : ""}};
}

} // namespace

frmSRSeriesChoice::frmSRSeriesChoice(Global& global, std::function<void()> runNew)
    : Form("frmSRSeriesChoice", "Report selection"),
      lstSRSeries(*this, "lstSRSeries", {"Description", "State", "Last Updated", "Observer"}, 3), cmdOk(*this, "cmdOk"),
      cmdNew(*this, "cmdNew"), cmdCancel(*this, "cmdCancel"), global_(global), runNew_(std::move(runNew)) {
    lstSRSeries.ItemClick = [this] { lstSRSeries_ItemClick(); };
    lstSRSeries.DoubleClick = [this] { cmdOk_Click(); };
    cmdOk.Click = [this] { cmdOk_Click(); };
    cmdNew.Click = [this] { cmdNew_Click(); };
    cmdCancel.Click = [this] { cmdCancel_Click(); };
}

void frmSRSeriesChoice::Form_Load() {
    loaded_ = true;
    global_.ports.windows.MakeTopMost(*this);
    cancelled_ = 0;
}

bool frmSRSeriesChoice::ShowSRDocuments(std::string_view studyUid) {
    return TrapShort(global_.ports.windows, ErrorPrefix, [&] {
        reports_.clear();
        studyUid_ = studyUid;
        selectedIndex_ = 1;
        chosenSeriesUid_.clear();
        if (!loaded_)
            Form_Load();

        const auto study =
            Catalogue(global_).OpenResultSet("SELECT * FROM Study WHERE StudyInstanceUID='" + InQuotes(studyUid) + "'");
        if (study->AtEnd()) {
            global_.ports.windows.Ask({.text = "Non existing Study Instance", .title = {}, .icon = Icon::CriticalStop});
            return;
        }
        const std::string studyPath(study->Field("StudyPath").value_or(""));
        study->Close();
        CollectReports(studyPath, studyUid);

        if (reports_.size() > 1) {
            ListInit();
            global_.ports.windows.ShowModal(*this, nullptr);
        }
    });
}

void frmSRSeriesChoice::CollectReports(std::string_view studyPath, std::string_view studyUid) {
    const auto series = Catalogue(global_).OpenResultSet("SELECT * FROM Series WHERE StudyInstanceUID='" +
                                                         InQuotes(studyUid) + "' AND Modality='SR'");
    for (; !series->AtEnd(); series->MoveNext()) {
        const std::string uid(series->Field("SeriesInstanceUID").value_or(""));
        const auto seriesDir = series->Field("SeriesDir").value_or("");
        const auto folder = std::string(studyPath) + "\\" + std::string(seriesDir);
        const auto filed = FiledVersions(uid);
        if (studyPath.empty() || seriesDir.empty() || filed.newestFile.empty())
            LeaveOut(uid, "The catalogue names no file of it.");
        else
            reports_.push_back({folder, Preview(folder, filed)});
    }
    series->Close();
}

frmSRSeriesChoice::Filed frmSRSeriesChoice::FiledVersions(std::string_view seriesUid) const {
    const auto images =
        Catalogue(global_).OpenResultSet("SELECT * From Image WHERE SeriesInstanceUID='" + InQuotes(seriesUid) + "'");
    Filed filed;
    for (; !images->AtEnd(); images->MoveNext()) {
        ++filed.count;
        filed.newestFile = images->Field("ImageFile").value_or("");
    }
    images->Close();
    return filed;
}

void frmSRSeriesChoice::LeaveOut(const std::string& seriesUid, const std::string& why) const {
    global_.ports.process.LogToDesktop("The report series \"" + seriesUid + "\" of the study \"" + studyUid_ +
                                       "\" is left out of the choice: " + why);
}

std::shared_ptr<const DcmSRDocument> frmSRSeriesChoice::Preview(const std::string& folder, const Filed& filed) const {
    auto report = std::make_shared<DcmSRDocument>(global_);
    bool newest = false;
    Trap(
        [&] {
            report->OpenFile(folder + "\\" + filed.newestFile);
            newest = PredecessorCount(*report->Series()->Item(0)) + 1 >= filed.count;
        },
        [](const Error&) {});
    if (!newest) // it is damaged, or was filed after its successor
        report->OpenSeries(folder);
    return report;
}

void frmSRSeriesChoice::ListInit() {
    TrapShort(global_.ports.windows, "ListInit ", [&] {
        lstSRSeries.Fill([&](auto& rows) {
            rows.clear();
            for (const auto& report : reports_)
                rows.push_back(RowOf(*report.newestVersion));
        });
        lstSRSeries.Select(0); // the row that OK takes shows as chosen
    });
}

std::string frmSRSeriesChoice::DDO() const {
    if (selectedIndex_ < 1 || static_cast<std::size_t>(selectedIndex_) > reports_.size())
        return {};
    return reports_[static_cast<std::size_t>(selectedIndex_) - 1].folder;
}

void frmSRSeriesChoice::lstSRSeries_ItemClick() {
    selectedIndex_ = static_cast<std::int16_t>(lstSRSeries.SelectedIndex() + 1);
}

void frmSRSeriesChoice::cmdOk_Click() {
    TrapShort(global_.ports.windows, ErrorPrefix, [&] {
        const auto document = std::make_shared<DcmSRDocument>(global_);
        auto& report = StartReport(global_, studyUid_, document);
        const auto folder = DDO();
        document->OpenSeries(folder); // what it lacks is told by whoever shows it
        if (document->NumVersions() == 0)
            throw Error(Fault::Missing, "frmSRSeriesChoice", document->Damage());
        report.filePath = folder + "\\img_001.dcm";
        chosenSeriesUid_ = TextOf(document->Series()->GetElementValue(0, attribute::SeriesInstanceUid));
        global_.ports.windows.Hide(*this);
    });
}

void frmSRSeriesChoice::cmdNew_Click() {
    TrapShort(global_.ports.windows, ErrorPrefix, [&] {
        selectedIndex_ = -1;
        runNew_();
        global_.ports.windows.Hide(*this);
    });
}

void frmSRSeriesChoice::cmdCancel_Click() {
    selectedIndex_ = -1;
    cancelled_ = -1;
    global_.ports.windows.Hide(*this);
}

void frmSRSeriesChoice::FrameClosed() {
    cmdCancel_Click();
    loaded_ = false;
    global_.ports.windows.Unload(*this);
}

} // namespace tavrel
