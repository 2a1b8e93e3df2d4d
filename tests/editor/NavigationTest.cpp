#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// The first of two reports is open.
class TwoReportsOpen : public ReportingStation {
public:
    TwoReportsOpen() {
        AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second"});
        OpenReport({.title = "First"});
        windows.calls.clear();
    }

    /// The person chooses the report of this title and presses OK.
    void Choose(const std::string& title) {
        InChooser([this, title] {
            for (int row = 0; row < chooser.lstSRSeries.Count(); ++row)
                if (chooser.lstSRSeries.Item(row).text == title)
                    chooser.lstSRSeries.Select(row);
            chooser.cmdOk.Press();
        });
    }
};

TEST(NewReport, WithoutAnImageSeriesSaysSoAndChangesNothing) {
    ReportingStation station;
    station.OpenReport();
    station.editor.cmdNew_Click();
    EXPECT_EQ(station.windows.Texts(), Texts{"No referenced Series"});
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Chest radiograph");
    EXPECT_EQ(station.Document().NumVersions(), 1);
}

TEST(NewReport, IsMadeFromTheImageSeriesAndShown) {
    ReportingStation station;
    station.OpenImages();
    station.OpenReport({.versions = 2});
    station.editor.cmdNew.Press();
    EXPECT_EQ(station.Document().NumVersions(), 1);
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 0);
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "");
    EXPECT_EQ(station.editor.txtPtName.Text(), "ROSSI^MARIA");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(NewReport, IsMadeFromTheFirstImage) {
    ReportingStation station;
    station.OpenReport();
    station.global.report->imageSeries = station.ImageSeries(2);
    station.global.report->imageSeries->SetElementString(1, attribute::StudyDescription, "Of the second image");
    station.editor.cmdNew_Click();
    EXPECT_EQ(station.editor.txtStDescription.Text(), "Chest");
}

TEST(NewReport, LoadsTheFormAgainInFull) {
    ReportingStation station;
    station.OpenImages();
    station.windows.calls.clear();
    station.editor.cmdNew.Press();
    EXPECT_EQ(station.windows.calls, Texts{"MakeTopMost frmReport"});
    EXPECT_EQ(station.serviceEvents.attached, 2);
    EXPECT_EQ(station.serviceEvents.Listeners(), 1U);
}

TEST(NewReport, AfterAnApprovedOneCanBeEdited) {
    ReportingStation station;
    station.OpenImages();
    station.OpenReport({.approved = true});
    station.editor.cmdNew.Press();
    EXPECT_TRUE(station.editor.cmdSave.Enabled());
    EXPECT_FALSE(station.editor.cmdPrint.Enabled());
}

TEST(LastVersion, ShowsTheNewestVersion) {
    ReportingStation station;
    station.OpenReport({.versions = 3});
    station.editor.lstHistory.ListIndex(0);
    station.editor.cmdLastVersion.Press();
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), 2);
    EXPECT_EQ(station.Document().VersionIndex(), 2);
    EXPECT_TRUE(station.editor.cmdSave.Enabled());
}

TEST(LastVersion, WithAnEmptyHistoryDoesNothing) {
    ReportingStation station;
    station.OpenImages();
    station.editor.txtReportAnnotation.Typed("being written");
    station.editor.cmdLastVersion.Press();
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "being written");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(OtherReports, TheChosenOneIsOpenedAndShown) {
    TwoReportsOpen station;
    station.Choose("Second");
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Second");
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.2.2");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(OtherReports, TheFormIsLoadedOnce) {
    TwoReportsOpen station;
    station.Choose("Second");
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.serviceEvents.attached, 2);
    EXPECT_EQ(std::ranges::count(station.windows.calls, "MakeTopMost frmReport"), 1);
}

TEST(OtherReports, AnOpeningAfterwardsLoadsTheFormAgain) {
    TwoReportsOpen station;
    station.Choose("Second");
    station.editor.cmdOthers.Press();
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "First");
}

TEST(OtherReports, CancelChangesNothing) {
    TwoReportsOpen station;
    station.editor.txtReportAnnotation.Typed("being written");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "being written");
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.2.1");
    EXPECT_EQ(station.Document().NumVersions(), 1);
}

TEST(OtherReports, ACancelSticksSoThatALaterChoiceIsNotShown) {
    TwoReportsOpen station;
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.editor.cmdOthers.Press();
    station.Choose("Second");
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "First");
    EXPECT_EQ(station.global.report->seriesUid, "1.2.3.2.1");
}

TEST(OtherReports, AStudyWithOneReportKeepsItAsItIs) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("being written");
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "being written");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(OtherReports, NewInTheChooserMakesANewReport) {
    TwoReportsOpen station;
    station.global.report->imageSeries = station.ImageSeries();
    station.InChooser([&] { station.chooser.cmdNew.Press(); });
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 0);
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "");
}

TEST(OtherReports, AnEditorThatNoAutomationObjectShowedSaysSo) {
    TwoReportsOpen station;
    frmReport unowned(station.global, station.serviceEvents, station.chooser, station.codeTables, station.printer,
                      station.draftTimer, station.reportWatch);
    station.Choose("Second");
    unowned.cmdOthers.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport.cmdOthers_Click:91-The report has no automation object"});
}

TEST(CloseButton, EndsTheProgramWithoutAQuestion) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("not saved");
    station.editor.cmdClose.Press();
    EXPECT_EQ(station.process.ended, 1);
    EXPECT_TRUE(station.windows.messages.empty());
    EXPECT_FALSE(station.automation.Closing());
}

TEST(CodedEntriesOfTheEditor, AreReachedThroughItsButtons) {
    ReportingStation station;
    station.OpenReport();
    Texts captions;
    station.windows.onModal = [&](Form& form) {
        captions.push_back(station.codeTables.Titolo.Text());
        form.FrameClosed();
    };
    for (Button* button :
         {&station.editor.cmdFnAdd, &station.editor.cmdDxAdd, &station.editor.cmdTitle, &station.editor.cmdBaseBody})
        button->Press();
    EXPECT_EQ(captions, (Texts{"Finding code", "Diagnosis code", "Report heading code", "Body part code"}));
}

} // namespace
} // namespace tavrel::test
