#include "host/Text.h"
#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/RecordingDatabase.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

std::string TitleOf(DcmSRDocument& document) {
    std::string scheme, code, meaning, title;
    document.GetTitle(scheme, code, meaning, title);
    return title;
}

using History = std::vector<std::vector<std::string>>;

/// Two reports in the study, so that the chooser is shown.
void AddTwoReports(ReportingStation& station) {
    station.AddReport({.title = "First"});
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second"});
}

/// A second study, of another patient, with one report "1.9.2".
void AddOtherPatientsReport(ReportingStation& station) {
    station.AddPatient("P2", "VERDI^LUIGI");
    station.AddStudy("1.9", "P2", station.Path("study"));
    station.AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
}

TEST(OpeningImages, AStudyWithoutReportsGetsANewOne) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.Document().NumVersions(), 1);
    EXPECT_EQ(station.Document().PatientName(), "ROSSI^MARIA");
    EXPECT_TRUE(station.windows.IsShown(station.editor));
    EXPECT_TRUE(station.windows.IsTopMost(station.editor));
}

TEST(OpeningImages, TheOnlyReportIsOpened) {
    ReportingStation station;
    station.AddReport({.versions = 2});
    station.OpenImages();
    EXPECT_EQ(station.Document().NumVersions(), 2);
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Chest radiograph");
}

TEST(OpeningImages, TheStudyTheSeriesAndTheImagesBecomeTheCurrentOnes) {
    ReportingStation station;
    const auto images = station.ImageSeries();
    station.automation.LoadForImgSeries(images);
    EXPECT_EQ(station.global.report->studyUid, "1.2.3");
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.1");
    EXPECT_EQ(station.global.report->imageSeries, images);
}

TEST(OpeningImages, TheImageSeriesIsMarkedViewedAlsoWhenAnExistingReportIsOpened) {
    ReportingStation station;
    station.AddReport();
    station.OpenImages();
    EXPECT_EQ(
        station.Rows("History", {"Username", "PatientName", "PatientID", "SeriesUID", "ActionVal", "Description"}),
        (History{{"", "ROSSI^MARIA", "P1", "1.2.3.1", "REFERT", "View Refert"}}));
    EXPECT_EQ(station.Rows("Series", {"SeriesInstanceUID", "SeriesStatus"}),
              (History{{"1.2.3.1", "VIEWED"}, {"1.2.3.2.1", ""}}));
}

TEST(OpeningImages, FilesAreOpenedAsTheSeries) {
    ReportingStation station;
    std::filesystem::create_directories(station.NativePath("study\\images"));
    const std::vector<std::string> files{station.Path("study\\images\\a.dcm")};
    station.ImageSeries()->Item(0)->SaveToFile(files[0]);
    station.automation.LoadForImgSeries(files);
    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.1");
}

TEST(OpeningImages, AStudyWhoseReportsCannotBeListedGetsNoNewOneBesideThem) {
    ReportingStation station;
    AddTwoReports(station);
    station.Execute("ALTER TABLE Image RENAME TO Lost");
    station.OpenImages();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Report Choice: "));
    EXPECT_FALSE(station.windows.IsShown(station.editor));
    EXPECT_EQ(station.HistoryCount(), 0);
}

TEST(OpeningImages, AStudyWhoseReportsCannotBeListedLeavesTheOpenReport) {
    ReportingStation station;
    AddOtherPatientsReport(station);
    station.automation.LoadSRSeries("1.9.2");
    const auto open = station.global.report;
    station.Execute("ALTER TABLE Series RENAME TO Lost");
    station.OpenImages();
    EXPECT_EQ(station.global.report, open);
    EXPECT_EQ(station.editor.txtPtName.Text(), "VERDI^LUIGI");
}

TEST(OpeningImages, CancelOpensNothingButReplacesTheDocument) {
    ReportingStation station;
    AddTwoReports(station);
    station.automation.LoadSRSeries("1.2.3.2.1");
    const auto before = station.HistoryCount();
    station.windows.calls.clear();
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.OpenImages();
    EXPECT_EQ(std::ranges::count(station.windows.calls, "Show frmReport"), 0);
    EXPECT_EQ(station.HistoryCount(), before);
    EXPECT_EQ(station.Document().NumVersions(), 0);
    EXPECT_EQ(station.global.report->imageSeries, nullptr);
}

TEST(OpeningImages, CancelLeavesTheStudyCurrentButNotTheSeries) {
    ReportingStation station;
    AddTwoReports(station);
    AddOtherPatientsReport(station);
    station.automation.LoadSRSeries("1.9.2");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.OpenImages();
    EXPECT_EQ(station.global.report->studyUid, "1.2.3");
    EXPECT_EQ(station.global.report->seriesUid, "1.9.2");
}

TEST(OpeningImages, CancelLeavesTheSeriesStatusAlone) {
    ReportingStation station;
    AddTwoReports(station);
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.OpenImages();
    EXPECT_EQ(station.Rows("Series", {"SeriesStatus"}), (History{{""}, {""}, {""}}));
}

TEST(OpeningImages, CancelSticksSoThatALaterOpeningOpensNothing) {
    ReportingStation station;
    AddTwoReports(station);
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.OpenImages();
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.OpenImages();
    EXPECT_FALSE(station.windows.IsShown(station.editor));
}

TEST(OpeningImages, TheChosenReportIsOpened) {
    ReportingStation station;
    AddTwoReports(station);
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.cmdOk.Press();
    });
    station.OpenImages();
    EXPECT_EQ(TitleOf(station.Document()), "Second");
}

TEST(OpeningImages, NewOnAFirstUseSaysThereIsNoSeriesAndThenMakesTheReport) {
    ReportingStation station;
    AddTwoReports(station);
    station.InChooser([&] { station.chooser.cmdNew.Press(); });
    station.OpenImages();
    EXPECT_EQ(station.windows.Texts(), Texts{"No referenced Series"});
    EXPECT_EQ(TitleOf(station.Document()), "");
    EXPECT_EQ(station.Document().NumVersions(), 1);
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(OpeningImages, AnUnknownStudyIsToldAndGetsANewReport) {
    ReportingStation station;
    station.Execute("DELETE FROM Study");
    station.OpenImages();
    EXPECT_EQ(station.windows.Texts(), Texts{"Non existing Study Instance"});
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(OpeningImages, EveryOpeningShowsTheNewDocument) {
    ReportingStation station;
    AddOtherPatientsReport(station);
    station.OpenImages();
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.editor.txtPtName.Text(), "VERDI^LUIGI");
}

TEST(OpeningImages, AFailureGivesTheLongReport) {
    ReportingStation station;
    station.automation.LoadForImgSeries(std::span<const std::string>{});
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& message = station.windows.messages[0];
    EXPECT_EQ(message.title, "APPLICATION ERROR");
    EXPECT_TRUE(message.text.starts_with("APPLICATION: Quendor --- Function: Esegui --- Error: ( ")) << message.text;
    EXPECT_TRUE(message.text.ends_with("--No data set at index 0)")) << message.text;
}

TEST(OpeningImages, AFailureOnAListOfImagesGivesTheLongReportToo) {
    ReportingStation station;
    station.automation.LoadForImgSeries(station.ImageSeries(0));
    EXPECT_EQ(station.windows.Texts(),
              Texts{"APPLICATION: Quendor --- Function: Esegui --- Error: ( 104--No data set at index 0)"});
}

TEST(OpeningImages, ASeriesThatTheCatalogueDoesNotKnowIsNotedByItsUidAlone) {
    ReportingStation station;
    station.Execute("DELETE FROM Series");
    station.OpenImages();
    EXPECT_EQ(station.Rows("History", {"PatientName", "PatientID", "StudyUID", "SeriesUID"}),
              (History{{"", "1.2.3.1", "1.2.3.1", "1.2.3.1"}}));
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(OpeningImages, AnAuditThatFailsMarksNothingViewedAndShowsNoEditor) {
    ReportingStation station;
    station.Execute("UPDATE Patient SET PatientName = 'D''ANGELO^PIA'");
    station.OpenImages();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_EQ(station.windows.messages[0].title, "APPLICATION ERROR");
    EXPECT_EQ(station.Rows("Series", {"SeriesStatus"}), (History{{""}}));
    EXPECT_FALSE(station.windows.IsShown(station.editor));
}

TEST(OpeningImages, AFailureDropsTheDocumentAndClosesTheCatalogue) {
    ReportingStation station;
    station.OpenReport();
    station.automation.LoadForImgSeries(std::span<const std::string>{});
    EXPECT_EQ(station.global.report->document, nullptr);
    EXPECT_FALSE(station.global.catalogue->IsOpen());
}

TEST(OpeningImages, AfterAFailureTheEditorWorksOnItsOwnReportAsBefore) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("Typed before.");
    station.automation.LoadForImgSeries(std::span<const std::string>{});
    station.windows.messages.clear();
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
    ASSERT_EQ(station.store.sent.size(), 1U);
    EXPECT_EQ(TextOf(station.store.sent[0].dataSet->GetValue(attribute::SeriesInstanceUid)), "1.2.3.2.1");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Typed before.");
}

TEST(OpeningImages, BeforeAnyReportEveryHandlerAnswersWithAMessage) {
    ReportingStation station;
    auto& editor = station.editor;
    using Handler = void (frmReport::*)();
    for (const Handler handler :
         {&frmReport::lstHistory_Click, &frmReport::cmdSave_Click, &frmReport::cmdApprove_Click,
          &frmReport::cmdNew_Click, &frmReport::cmdOthers_Click, &frmReport::LoadDocs, &frmReport::Form_Load}) {
        station.windows.messages.clear();
        station.windows.answers = {Answer::Yes};
        (editor.*handler)();
        ASSERT_FALSE(station.windows.messages.empty());
        EXPECT_FALSE(station.windows.messages.back().text.empty());
    }
}

TEST(OpeningImages, AfterAFailureANewAutomationObjectOpensTheCatalogueAgain) {
    ReportingStation station;
    station.automation.LoadForImgSeries(std::span<const std::string>{});
    station.windows.messages.clear();
    CTavrel second(station.global, station.viewers, station.chooser, station.editor);
    second.LoadForImgSeries(station.ImageSeries());
    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(OpeningAReport, ItIsLoadedFromItsFolderAndShown) {
    ReportingStation station;
    station.OpenReport({.versions = 3});
    EXPECT_EQ(station.Document().NumVersions(), 3);
    EXPECT_EQ(station.global.report->studyUid, "1.2.3");
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.2.1");
    EXPECT_TRUE(station.windows.IsShown(station.editor));
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(OpeningAReport, TheReportSeriesIsMarkedViewed) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.Rows("History", {"SeriesUID", "ActionVal", "Description"}),
              (History{{"1.2.3.2.1", "REFERT", "View Refert"}}));
    EXPECT_EQ(station.Rows("Series", {"SeriesInstanceUID", "SeriesStatus"}),
              (History{{"1.2.3.1", ""}, {"1.2.3.2.1", "VIEWED"}}));
}

TEST(OpeningAReport, ItIsFoundOnAConnectionOfItsOwn) {
    ReportingStation station;
    station.AddReport();
    const auto before = station.connectionTexts.size();
    station.automation.LoadSRSeries("1.2.3.2.1");
    ASSERT_EQ(station.connectionTexts.size(), before + 1);
    EXPECT_EQ(station.connectionTexts.back(), "DSN=DicomFDB");
}

TEST(OpeningAReport, AnUnknownSeriesIsToldAndOpensNothing) {
    ReportingStation station;
    station.automation.LoadSRSeries("9.9");
    EXPECT_EQ(station.windows.Texts(), Texts{"Cannot find SRSeries UID='9.9'"});
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_EQ(station.global.report->document, nullptr);
    EXPECT_FALSE(station.windows.IsShown(station.editor));
}

TEST(OpeningAReport, AFailureIsToldWithTheOperationsName) {
    ReportingStation station;
    station.automation.LoadSRSeries("it's");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Quendor.LoadSRSeries: "));
    EXPECT_FALSE(station.windows.IsShown(station.editor));
}

TEST(OpeningAReport, AFailureOfTheCatalogueIsToldInItsWords) {
    ReportingStation station;
    station.AddReport();
    struct Locked : ForwardingConnection {
        using ForwardingConnection::ForwardingConnection;
        std::unique_ptr<ResultSet> OpenResultSet(std::string_view, Cursor) override {
            throw Error(13, "driver", "The table is locked");
        }
    };
    station.global.catalogue = std::make_unique<Locked>(std::move(station.global.catalogue));
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(station.windows.Texts(), Texts{"Quendor.LoadSRSeries: The table is locked"});
}

TEST(OpeningAReport, AnAuditThatFailsMarksNothingViewedAndShowsNoEditor) {
    ReportingStation station;
    station.AddReport();
    station.Execute("UPDATE Patient SET PatientName = 'D''ANGELO^PIA'");
    station.automation.LoadSRSeries("1.2.3.2.1");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Quendor.LoadSRSeries: "));
    EXPECT_EQ(station.Rows("Series", {"SeriesStatus"}), (History{{""}, {""}}));
    EXPECT_FALSE(station.windows.IsShown(station.editor));
}

TEST(OpeningAReport, TheCatalogueIsAskedInItsExactWords) {
    ReportingStation station;
    RecordingDatabase catalogue(*station.database);
    Global global(station.PortsWith(catalogue));
    CTavrel automation(global, station.viewers, station.chooser, station.editor);
    catalogue.statements.clear();
    automation.LoadSRSeries("9.9");
    EXPECT_EQ(catalogue.statements,
              (std::vector{RanStatement{"SELECT Series.*,Study.StudyPath FROM Series,Study "
                                        "WHERE Series.SeriesInstanceUID='9.9'"
                                        "  AND Study.StudyInstanceUID =Series.StudyInstanceUID"}}));
}

TEST(OpeningAReport, OfTheSameStudyKeepsTheImagesForANewOne) {
    ReportingStation station;
    station.OpenImages();
    station.OpenReport();
    EXPECT_NE(station.global.report->imageSeries, nullptr);
    EXPECT_TRUE(station.editor.cmdNew.Enabled());
}

TEST(OpeningAReport, OfAnotherStudyForgetsTheImagesOfTheFirst) {
    ReportingStation station;
    AddOtherPatientsReport(station);
    station.OpenImages();
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.global.report->imageSeries, nullptr);
    EXPECT_FALSE(station.editor.cmdNew.Enabled());
}

TEST(OpeningAReport, OfAStudyWhoseImagesWereCancelledForgetsTheImagesOfTheFirst) {
    ReportingStation station;
    AddOtherPatientsReport(station);
    station.AddReport({.seriesUid = "1.9.3", .studyUid = "1.9", .seriesDir = "verdi2"});
    station.OpenImages();
    const auto otherImages = station.ImageSeries();
    otherImages->SetElementString(0, attribute::StudyInstanceUid, "1.9");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.automation.LoadForImgSeries(otherImages);
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.global.report->imageSeries, nullptr);
}

TEST(AnOpeningByASeriesUidThatWouldTurnTheStatement, IsRefusedAndMarksNothing) {
    ReportingStation station;
    station.AddReport();
    station.automation.LoadSRSeries("x' OR '1'='1");
    EXPECT_EQ(station.windows.Texts(), Texts{"Quendor.LoadSRSeries: The catalogue cannot be asked with a text that "
                                             "holds an apostrophe: x' OR '1'='1"});
    for (const auto& row : station.Rows("Series", {"SeriesStatus"}))
        EXPECT_EQ(row[0], "");
}

} // namespace
} // namespace tavrel::test
