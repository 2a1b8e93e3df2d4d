// Whose report stands on the screen, and which report the buttons work on.

#include "host/Text.h"
#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// Beside the example study that of another patient, "VERDI^LUIGI", with one report, "1.9.2". The storage service
/// files what is sent in its own series' folder.
class TwoPatients : public ReportingStation {
public:
    TwoPatients() {
        AddPatient("P2", "VERDI^LUIGI");
        AddStudy("1.9", "P2", Path("study"));
        AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
        AddReport({.title = "Rossi's"});
        store.answer = [this](const SentVersion& version) {
            const auto uid = TextOf(version.dataSet->GetValue(attribute::SeriesInstanceUid));
            const auto place = Path(uid == "1.9.2" ? "study\\verdi" : "study\\report1");
            version.dataSet->SaveToFile(place + "\\img_000009.dcm");
            serviceEvents.RaiseStore(uid, place + "\\img_000009.dcm");
        };
    }

    std::shared_ptr<DataSetList> OtherImages() {
        auto images = ImageSeries();
        images->SetElementString(0, attribute::PatientName, "VERDI^LUIGI");
        images->SetElementString(0, attribute::StudyInstanceUid, "1.9");
        images->SetElementString(0, attribute::PatientBirthDate, "");
        return images;
    }
    std::string SeriesSent() const {
        return store.sent.empty() ? "nothing"
                                  : TextOf(store.sent.back().dataSet->GetValue(attribute::SeriesInstanceUid));
    }
    void AddOneImage() {
        automation.RemoveImagesFromSR();
        automation.AddImageToSR("rossi.dcm", SomeView(), "");
    }
};

TEST(AnotherPatient, HasNoAgeOfTheFormerOne) {
    TwoPatients station;
    station.OpenReport({.seriesUid = "1.2.3.2.7", .seriesDir = "report7"});
    ASSERT_EQ(station.editor.txtPtAge.Text(), "66 y");
    std::filesystem::remove_all(station.NativePath("study\\verdi"));
    station.Execute("DELETE FROM Series WHERE SeriesInstanceUID = '1.9.2'");
    station.automation.LoadForImgSeries(station.OtherImages());
    EXPECT_EQ(station.editor.txtPtName.Text(), "VERDI^LUIGI");
    EXPECT_EQ(station.editor.txtPtAge.Text(), "....");
}

TEST(AnotherPatient, HasNoCodeOfTheFormerOne) {
    TwoPatients station;
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.editor.lstFinding.Add({"F1", "99SS", {"Nodule", ""}});
    station.editor.lstDiagnosis.Add({"D1", "99SS", {"Tumour", ""}});
    station.editor.cmbBodyPart.Typed("Chest");
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.editor.lstFinding.Count() + station.editor.lstDiagnosis.Count(), 0);
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "");
}

TEST(AnotherReportOfThePatient, KeepsTheCodesAndTheBodyPart) {
    TwoPatients station;
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.editor.lstFinding.Add({"F1", "99SS", {"Nodule", ""}});
    station.editor.cmbBodyPart.Typed("Chest");
    station.automation.LoadSRSeries("1.2.3.2.2");
    EXPECT_EQ(station.editor.lstFinding.Count(), 1);
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Chest");
}

TEST(AnotherPatient, TakesTheFormerOnesImagesFromTheViewer) {
    TwoPatients station;
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.AddOneImage();
    station.viewers.calls.clear();
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.viewers.calls, Texts{"ClearRefertList"});
    EXPECT_TRUE(station.global.report->pendingImages->empty());
}

TEST(AnotherPatient, GetsNoImageOfTheFormerOneBesideANewReport) {
    TwoPatients station;
    station.Execute("DELETE FROM Series WHERE SeriesInstanceUID = '1.9.2'");
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.AddOneImage();
    station.editor.cmdSave.Press();
    ASSERT_NE(station.ReadFile("study/report1/SR.dat"), "");
    station.viewers.images.clear();
    station.automation.LoadForImgSeries(station.OtherImages());
    EXPECT_EQ(station.viewers.images, Texts{});
    EXPECT_TRUE(station.global.report->pendingImages->empty());
    EXPECT_EQ(station.global.report->filePath, "");
}

TEST(AStoreOfAnotherPatientsReport, LeavesTheImagesWhereTheyBelong) {
    TwoPatients station;
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.AddOneImage();
    station.serviceEvents.RaiseStore("1.9.2", station.Path("study\\verdi\\img_000002.dcm"));
    EXPECT_FALSE(std::filesystem::exists(station.NativePath("study/verdi/SR.dat")));
    EXPECT_EQ(station.global.report->filePath, station.Path("study\\report1\\img_000001.dcm"));
}

TEST(AStoreOfAnUnknownSeries, IsTheShownReports) {
    TwoPatients station;
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.AddOneImage();
    station.serviceEvents.RaiseStore("1.77", station.Path("F1.dcm"));
    EXPECT_NE(station.ReadFile("SR.dat"), "");
}

TEST(AfterACancelledOpening, TheShownReportIsSavedAsItsOwn) {
    TwoPatients station;
    station.AddReport({.seriesUid = "1.9.3", .studyUid = "1.9", .seriesDir = "verdi2", .patientName = "VERDI^LUIGI"});
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.editor.txtReportAnnotation.Typed("Rossi's reading.");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.automation.LoadForImgSeries(station.OtherImages());
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_EQ(station.SeriesSent(), "1.2.3.2.1");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Rossi's reading.");
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 2);
}

TEST(AfterACancelledOpening, TheImagesAddedAreTheShownReports) {
    TwoPatients station;
    station.AddReport({.seriesUid = "1.9.3", .studyUid = "1.9", .seriesDir = "verdi2", .patientName = "VERDI^LUIGI"});
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.InChooser([&] { station.chooser.cmdCancel.Press(); });
    station.automation.LoadForImgSeries(station.OtherImages());
    station.AddOneImage();
    station.editor.cmdSave.Press();
    EXPECT_NE(station.ReadFile("study/report1/SR.dat"), "");
    EXPECT_FALSE(std::filesystem::exists(station.NativePath("study/verdi2/SR.dat")));
}

/// The sticky cancel: the second visit of the chooser ends with OK, and the screen stays as it was.
class AfterAStickyCancel : public testing::Test {
protected:
    AfterAStickyCancel() {
        station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second"});
        station.automation.LoadSRSeries("1.2.3.2.1");
        station.editor.txtReportAnnotation.Typed("Typed.");
        station.InChooser([&] { station.chooser.cmdCancel.Press(); });
        station.editor.cmdOthers.Press();
        ChooseTheOther();
        EXPECT_EQ(station.editor.txtReportTitle.Text(), "Rossi's");
    }
    void ChooseTheOther() {
        station.InChooser([&] {
            station.chooser.lstSRSeries.Select(1);
            station.chooser.cmdOk.Press();
        });
        station.editor.cmdOthers.Press();
    }
    TwoPatients station;
};

TEST_F(AfterAStickyCancel, SaveWorksOnTheShownReport) {
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.SeriesSent(), "1.2.3.2.1");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Rossi's");
}

TEST_F(AfterAStickyCancel, ApproveWorksOnTheShownReport) {
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.SeriesSent(), "1.2.3.2.1");
    EXPECT_EQ(station.Rows("History", {"SeriesUID", "Description"}).back(), (Texts{"1.2.3.2.1", "Validate Refert"}));
}

TEST_F(AfterAStickyCancel, TheVersionsAreTheShownReports) {
    station.editor.cmdSave.Press();
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Rossi's");
}

TEST_F(AfterAStickyCancel, TheImagesRemovedAreTheShownReports) {
    station.AddOneImage();
    const auto shown = station.global.report;
    ChooseTheOther();
    station.automation.RemoveImagesFromSR();
    EXPECT_EQ(shown->pendingImages->size(), 0U);
}

TEST_F(AfterAStickyCancel, ADeletedCodeIsTheShownReports) {
    const auto shown = station.global.report;
    station.editor.lstFinding.Add({"F1", "99SS", {"Nodule", ""}});
    station.editor.lstFinding.Select(0);
    station.windows.answers = {Answer::Ok};
    station.editor.cmdFnDelete.Press();
    EXPECT_EQ(station.editor.lstFinding.Count(), 0);
    EXPECT_NE(station.global.report, shown); // that of the chooser's OK, until a button acts
}

TEST(ANewReportThatCannotBeMade, LeavesTheShownOneWhole) {
    TwoPatients station;
    station.OpenImages();
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.editor.txtReportAnnotation.Typed("Typed.");
    station.Execute("UPDATE Series SET SeriesNumber = 'many'");
    station.editor.cmdNew.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.SeriesSent(), "1.2.3.2.1");
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 2);
}

TEST(AnOtherReportThatCannotBeOpened, LeavesTheShownOneAsItWas) {
    TwoPatients station;
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second"});
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.editor.txtReportAnnotation.Typed("Typed.");
    station.Execute("DELETE FROM DicomServer");
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.cmdOk.Press();
    });
    station.editor.cmdOthers.Press();
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Rossi's");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Typed.");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.SeriesSent(), "1.2.3.2.1");
}

TEST(AFillThatFails, ShowsNothingOfTheFormerPatient) {
    TwoPatients station;
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.Execute("DROP TABLE StdTitles");
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "");
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
}

} // namespace
} // namespace tavrel::test
