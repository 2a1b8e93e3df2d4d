#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

const ReportSeed FirstReport{.title = "First"};
const ReportSeed SecondReport{.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second"};

/// A station whose study has two reports.
class TwoReports : public ReportingStation {
public:
    TwoReports() {
        AddReport(FirstReport);
        AddReport(SecondReport);
    }
};

std::vector<std::string> RowOf(const frmSRSeriesChoice& chooser, int row) {
    const auto& item = chooser.lstSRSeries.Item(row);
    std::vector<std::string> texts{item.text};
    texts.insert(texts.end(), item.subItems.begin(), item.subItems.end());
    return texts;
}

bool WasShown(const ReportingStation& station) {
    return std::ranges::count(station.windows.calls, "ShowModal frmSRSeriesChoice") > 0;
}

TEST(Chooser, ItsControlsAreKnownByTheirNames) {
    const ReportingStation station;
    Texts names;
    for (const Control* const control : station.chooser.Controls())
        names.push_back(control->Name());
    EXPECT_EQ(names, (Texts{"lstSRSeries", "cmdOk", "cmdNew", "cmdCancel"}));
}

TEST(Chooser, TheCatalogueIsAskedInItsExactWords) {
    ReportingStation station;
    station.AddReport();
    std::vector<RanStatement> statements;
    auto& catalogue = station.global.catalogue;
    catalogue = std::make_unique<RecordingConnection>(std::move(catalogue), statements);
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(statements,
              (std::vector{RanStatement{"SELECT * FROM Study WHERE StudyInstanceUID='1.2.3'"},
                           RanStatement{"SELECT * FROM Series WHERE StudyInstanceUID='1.2.3' AND Modality='SR'"},
                           RanStatement{"SELECT * From Image WHERE SeriesInstanceUID='1.2.3.2.1'"}}));
}

TEST(Chooser, WhileItIsShownNoQueryIsOpen) {
    TwoReports station;
    Texts open;
    station.global.catalogue = std::make_unique<OpenQueries>(std::move(station.global.catalogue), open);
    station.InChooser([&] {
        EXPECT_EQ(open, Texts{});
        station.chooser.cmdCancel.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_TRUE(WasShown(station));
}

TEST(Chooser, ShownAgainItListsEachReportOnce) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.lstSRSeries.Count(), 2);
}

TEST(Chooser, AStudyWithoutReportsAsksForANewOneWithoutShowing) {
    ReportingStation station;
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_FALSE(WasShown(station));
    EXPECT_EQ(station.chooser.DDO(), "");
    EXPECT_EQ(station.chooser.cancelled(), 0);
}

TEST(Chooser, AStudyWithOneReportTakesItWithoutShowing) {
    ReportingStation station;
    const auto folder = station.AddReport();
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_FALSE(WasShown(station));
    EXPECT_EQ(station.chooser.DDO(), folder);
}

TEST(Chooser, TwoReportsAreShownWithTheirTitleStateDateAndObserver) {
    TwoReports station;
    station.InChooser([&] {
        EXPECT_EQ(station.chooser.Caption(), "Report selection");
        EXPECT_EQ(station.chooser.lstSRSeries.Columns(), (Texts{"Description", "State", "Last Updated", "Observer"}));
        ASSERT_EQ(station.chooser.lstSRSeries.Count(), 2);
        EXPECT_EQ(RowOf(station.chooser, 0), (Texts{"First", "", "14/11/2026 08:00:00", "Dr. Mario Rossi"}));
        EXPECT_EQ(RowOf(station.chooser, 1), (Texts{"Second", "", "14/11/2026 08:00:00", "Dr. Mario Rossi"}));
        station.chooser.cmdCancel.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_TRUE(WasShown(station));
}

TEST(Chooser, AnApprovedReportSaysSo) {
    ReportingStation station;
    station.AddReport(FirstReport);
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .approved = true});
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.lstSRSeries.Item(0).subItems[0], "");
    EXPECT_EQ(station.chooser.lstSRSeries.Item(1).subItems[0], "APPROVED");
}

TEST(Chooser, AReportThatNobodySavedHasNeitherDateNorObserver) {
    ReportingStation station;
    station.AddReport(FirstReport);
    const auto foreign = station.dicom->NewDataSet();
    foreign->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.11");
    foreign->SetValue(attribute::SopInstanceUid, 0, "1.2.3.4.5");
    std::filesystem::create_directories(station.NativePath("study\\foreign"));
    foreign->SaveToFile(station.Path("study\\foreign\\a.dcm"));
    station.AddSeries("1.2.3.2.2", "1.2.3", "SR", "foreign");
    station.AddImage("1.2.3.2.2", "a.dcm");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(RowOf(station.chooser, 1), (Texts{"", "", "", ""}));
}

TEST(Chooser, TheLastImageRowStandsForTheNewestVersion) {
    ReportingStation station;
    station.AddReport({.versions = 2});
    station.AddReport(SecondReport);
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.lstSRSeries.Item(0).subItems[1], "14/11/2026 08:01:00");
}

TEST(Chooser, ItStaysAboveOtherWindowsAndIsLoadedOnce) {
    TwoReports station;
    station.InChooser([&] {
        EXPECT_TRUE(station.windows.IsTopMost(station.chooser));
        station.chooser.cmdOk.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(std::ranges::count(station.windows.calls, "MakeTopMost frmSRSeriesChoice"), 1);
}

TEST(Chooser, OkWithoutAClickTakesTheFirstRow) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.DDO(), station.Path("study\\report1"));
    EXPECT_EQ(station.chooser.ChosenSeriesUid(), "1.2.3.2.1");
}

TEST(Chooser, TheRowThatOkTakesIsTheSelectedOne) {
    TwoReports station;
    station.InChooser([&] {
        EXPECT_EQ(station.chooser.lstSRSeries.SelectedIndex(), 0);
        station.chooser.cmdOk.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
}

TEST(Chooser, OkOpensTheClickedReport) {
    TwoReports station;
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.cmdOk.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    std::string scheme, code, meaning, title;
    station.Document().GetTitle(scheme, code, meaning, title);
    EXPECT_EQ(title, "Second");
    EXPECT_EQ(station.chooser.DDO(), station.Path("study\\report2"));
    EXPECT_EQ(station.chooser.ChosenSeriesUid(), "1.2.3.2.2");
}

TEST(Chooser, OkNotesTheFirstFileOfTheFolderAsTheCurrentOne) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.global.report->filePath, station.Path("study\\report1") + "\\img_001.dcm");
}

TEST(Chooser, ADoubleClickOpensAsOkDoes) {
    TwoReports station;
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.lstSRSeries.Activate();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.ChosenSeriesUid(), "1.2.3.2.2");
    EXPECT_FALSE(station.windows.IsShown(station.chooser));
}

TEST(Chooser, NewRunsTheEditorsNewAndNamesNoFolder) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdNew.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.windows.Texts(), Texts{"No referenced Series"});
    EXPECT_EQ(station.chooser.DDO(), "");
    EXPECT_EQ(station.chooser.cancelled(), 0);
}

TEST(Chooser, NewRunsWhileTheChooserIsStillShownAndNamesNoFolder) {
    TwoReports station;
    station.windows.onMessage = [&](const MessageBox&) { // the editor's New says that there are no images
        EXPECT_TRUE(station.windows.IsShown(station.chooser));
        EXPECT_EQ(station.chooser.DDO(), "");
    };
    station.InChooser([&] { station.chooser.cmdNew.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.windows.messages.size(), 1U);
    EXPECT_FALSE(station.windows.IsShown(station.chooser));
}

TEST(Chooser, CancelSticksForLaterChoices) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.cancelled(), -1);
    EXPECT_EQ(station.chooser.DDO(), "");
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.cancelled(), -1);
}

TEST(Chooser, ClosingItsFrameCancelsAndUnloads) {
    TwoReports station;
    station.InChooser([&] { station.chooser.FrameClosed(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.cancelled(), -1);
    EXPECT_EQ(station.windows.calls.back(), "Unload frmSRSeriesChoice");
}

TEST(Chooser, AChoiceAfterTheFrameWasClosedStartsAfresh) {
    TwoReports station;
    station.InChooser([&] { station.chooser.FrameClosed(); });
    station.chooser.ShowSRDocuments("1.2.3");
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.cancelled(), 0);
    EXPECT_TRUE(station.windows.IsTopMost(station.chooser));
}

TEST(Chooser, AfterANewOneTheOnlyReportOfAStudyIsTakenAgain) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdNew.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    station.Execute("DELETE FROM Image WHERE SeriesInstanceUID = '1.2.3.2.2'");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.DDO(), station.Path("study\\report1"));
}

TEST(Chooser, EveryChoiceForgetsTheSeriesChosenBefore) {
    TwoReports station;
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    station.InChooser([&] {
        EXPECT_EQ(station.chooser.ChosenSeriesUid(), "");
        station.chooser.cmdCancel.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.ChosenSeriesUid(), "");
}

TEST(Chooser, AnUnknownStudyIsToldWithTheStopIcon) {
    ReportingStation station;
    station.chooser.ShowSRDocuments("9.9");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& message = station.windows.messages[0];
    EXPECT_EQ(message.text, "Non existing Study Instance");
    EXPECT_EQ(message.title, "");
    EXPECT_EQ(message.icon, Icon::CriticalStop);
    EXPECT_EQ(message.buttons, Buttons::Ok);
}

TEST(Chooser, AnUnknownStudyAfterAKnownOneNamesNoFolder) {
    ReportingStation station;
    station.AddReport();
    station.chooser.ShowSRDocuments("1.2.3");
    station.chooser.ShowSRDocuments("9.9");
    EXPECT_EQ(station.chooser.DDO(), "");
}

TEST(Chooser, ASeriesWithoutImagesIsLeftOut) {
    TwoReports station;
    station.AddSeries("1.2.3.2.3", "1.2.3", "SR", "empty");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.lstSRSeries.Count(), 2);
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Chooser, AReportThatCannotBeReadIsListedAsDamaged) {
    TwoReports station;
    station.WriteFile("study\\report2\\img_000001.dcm", "not a report");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(RowOf(station.chooser, 1), (Texts{"", "DAMAGED", "", ""}));
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Chooser, ADamagedReportShowsItsNewestReadableVersion) {
    TwoReports station;
    station.AddReport({.seriesUid = "1.2.3.2.3", .seriesDir = "report3", .title = "Third", .versions = 3});
    station.WriteFile("study\\report3\\img_000003.dcm", "not a report");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(RowOf(station.chooser, 2), (Texts{"Third", "DAMAGED", "14/11/2026 08:01:00", "Dr. Mario Rossi"}));
}

TEST(Chooser, TheOnlyReportIsTakenDamagedAsItIs) {
    ReportingStation station;
    const auto folder = station.AddReport();
    station.WriteFile("study\\report1\\img_000001.dcm", "not a report");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.DDO(), folder);
}

TEST(Chooser, OkOnADamagedReportLeavesItToTheEditorToTell) {
    TwoReports station;
    station.AddReport({.seriesUid = "1.2.3.2.3", .seriesDir = "report3", .versions = 2});
    station.WriteFile("study\\report3\\img_000002.dcm", "not a report");
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(2);
        station.chooser.cmdOk.Press();
    });
    station.OpenImages();
    ASSERT_EQ(station.windows.Texts().size(), 1U);
    EXPECT_TRUE(station.windows.Texts()[0].starts_with("SRDocument.LoadSeries("));
}

TEST(Chooser, AVersionThatWasFiledAfterItsSuccessorIsNotTheNewest) {
    TwoReports station;
    station.AddReport({.seriesUid = "1.2.3.2.3", .seriesDir = "report3", .versions = 3, .approved = true});
    std::filesystem::rename(station.NativePath("study\\report3\\img_000002.dcm"),
                            station.NativePath("study\\report3\\img_000004.dcm"));
    station.Execute("UPDATE Image SET ImageFile = 'img_000004.dcm' WHERE SeriesInstanceUID = '1.2.3.2.3' AND "
                    "ImageFile = 'img_000003.dcm'"); // the last row, as the service writes it
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.lstSRSeries.Item(2).subItems[0], "APPROVED");
}

TEST(Chooser, ImageSeriesAreNoReports) {
    ReportingStation station;
    station.AddImage("1.2.3.1", "a.dcm");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.chooser.DDO(), "");
}

TEST(Chooser, AnotherFailureIsToldAsItsOwn) {
    ReportingStation station;
    station.chooser.ShowSRDocuments("it's");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Report Choice: ")) << station.windows.messages[0].text;
    EXPECT_GT(station.windows.messages[0].text.size(), 15U);
}

TEST(Chooser, AFailingListIsToldAndStillShown) {
    TwoReports station;
    station.chooser.lstSRSeries.Watch([](Change change) {
        if (change == Change::Selection)
            throw Error(7, "screen", "the list is gone");
    });
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.windows.Texts(), Texts{"ListInit the list is gone"});
    EXPECT_TRUE(WasShown(station));
}

TEST(Chooser, AFailingOkIsToldAndStaysOpen) {
    TwoReports station;
    station.InChooser([&] {
        std::filesystem::remove_all(station.NativePath("study\\report1"));
        station.chooser.cmdOk.Press();
        EXPECT_TRUE(station.windows.IsShown(station.chooser));
        station.chooser.cmdCancel.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Report Choice: "));
}

TEST(Chooser, EachReportIsReadOnce) {
    class CountingLibrary : public ForwardingLibrary {
    public:
        using ForwardingLibrary::ForwardingLibrary;
        int filesRead = 0;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            class CountingList : public ForwardingDataSetList {
            public:
                CountingList(int& count, std::shared_ptr<DataSetList> target)
                    : ForwardingDataSetList(std::move(target)), count_(count) {}
                void LoadFile(std::string_view path, int flag, int reserved) override {
                    ++count_;
                    ForwardingDataSetList::LoadFile(path, flag, reserved);
                }

            private:
                int& count_;
            };
            return std::make_shared<CountingList>(filesRead, ForwardingLibrary::NewDataSetList());
        }
    };
    TwoReports station;
    CountingLibrary library(*station.dicom);
    Global global(station.PortsWith(library));
    global.catalogue = station.database->NewConnection();
    global.catalogue->Open("DSN=DicomFDB");
    frmSRSeriesChoice chooser(global, [] {});
    station.InChooser([&] { chooser.cmdCancel.Press(); });
    chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(library.filesRead, 2);
}

TEST(IncompleteRows, AReportWhoseFolderIsUnknownIsLeftOutAloneAndLogged) {
    TwoReports station;
    station.AddReport({.seriesUid = "1.2.3.2.3", .seriesDir = "report3", .title = "Third"});
    station.Execute("UPDATE Series SET SeriesDir = NULL WHERE SeriesInstanceUID = '1.2.3.2.1'");
    station.InChooser([&] {
        EXPECT_EQ(station.chooser.lstSRSeries.Count(), 2);
        station.chooser.cmdCancel.Press();
    });
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.windows.Texts(), Texts{});
    ASSERT_EQ(station.process.log.size(), 1U);
    EXPECT_TRUE(station.process.log[0].starts_with(
        "The report series \"1.2.3.2.1\" of the study \"1.2.3\" is left out of the choice: "))
        << station.process.log[0];
}

TEST(IncompleteRows, ASeriesWithoutAFileIsLeftOutAloneAndLogged) {
    TwoReports station;
    station.Execute("UPDATE Image SET ImageFile = NULL WHERE SeriesInstanceUID = '1.2.3.2.1'");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_FALSE(WasShown(station));
    EXPECT_EQ(station.chooser.DDO(), station.Path("study\\report2"));
    EXPECT_EQ(station.process.log.size(), 1U);
}

TEST(IncompleteRows, AStudyWithoutAPathHasNoUsableReportAndNoMessage) {
    TwoReports station;
    station.Execute("UPDATE Study SET StudyPath = NULL");
    station.chooser.ShowSRDocuments("1.2.3");
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_EQ(station.chooser.DDO(), "");
    EXPECT_EQ(station.process.log.size(), 2U);
}

TEST(IncompleteRows, ACatalogueThatFailsIsNoReasonToLeaveAReportOut) {
    TwoReports station;
    station.Execute("DROP TABLE Image");
    EXPECT_FALSE(station.chooser.ShowSRDocuments("1.2.3"));
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Report Choice: "));
}

} // namespace
} // namespace tavrel::test
