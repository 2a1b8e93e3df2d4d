#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel::test {
namespace {

/// The station's new report, its birth date this one, shown on a day.
void ShowBirthDate(ReportingStation& station, const Value& birthDate, const DateTime& today) {
    station.clock.now = today;
    const auto images = station.ImageSeries();
    images->SetElementValue(0, attribute::PatientBirthDate, 0, birthDate);
    station.automation.LoadForImgSeries(images);
}

TEST(ReportDisplay, PatientAndStudyReadFourPointsUntilFilled) {
    const ReportingStation station;
    const auto& editor = station.editor;
    for (const Label* label : {&editor.txtPtName, &editor.txtPtPatientID, &editor.txtPtSex, &editor.txtPtBirthDate,
                               &editor.txtPtAge, &editor.txtPhysician, &editor.txtStDescription, &editor.txtStDate})
        EXPECT_EQ(label->Text(), "....") << label->Name();
}

TEST(ReportDisplay, PatientAndStudyComeFromTheDocument) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.txtPtName.Text(), "ROSSI^MARIA");
    EXPECT_EQ(station.editor.txtPtPatientID.Text(), "P1");
    EXPECT_EQ(station.editor.txtPtSex.Text(), "F");
    EXPECT_EQ(station.editor.txtPtBirthDate.Text(), "20/05/1960");
    EXPECT_EQ(station.editor.txtPhysician.Text(), "BIANCHI^ANNA");
    EXPECT_EQ(station.editor.txtStDate.Text(), "14/11/2026");
    EXPECT_EQ(station.editor.txtStDescription.Text(), "Chest");
}

TEST(ReportDisplay, TitleAndReadingComeFromTheDocument) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.cmbReportTitle.Text(), "Heading");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Chest radiograph");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Normal heart and lungs.");
}

TEST(ReportDisplay, ANewReportHasEmptyTitleAndReading) {
    ReportingStation station;
    station.OpenReport();
    station.Execute("DELETE FROM Image");
    station.OpenImages();
    EXPECT_EQ(station.editor.cmbReportTitle.Text(), "");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "");
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "");
}

TEST(ReportDisplay, TheCaptionIsTheOrganization) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.Caption(), "Orbenta General Hospital");
}

TEST(ReportDisplay, TheCaptionStaysWithoutSiteData) {
    ReportingStation station;
    station.OpenReport();
    station.Execute("DELETE FROM SiteData");
    station.editor.Form_Load();
    EXPECT_EQ(station.editor.Caption(), "Orbenta General Hospital");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(ReportDisplay, LoadingAsksTheCatalogueForCaptionHeadingsUserAndOrganization) {
    ReportingStation station;
    station.OpenReport();
    std::vector<RanStatement> ran;
    station.global.catalogue = std::make_unique<RecordingConnection>(std::move(station.global.catalogue), ran);
    station.editor.Form_Load();
    EXPECT_EQ(ran, (std::vector<RanStatement>{{"SELECT * FROM SiteData "},
                                              {"SELECT * FROM StdTitles Order by CodeMeaning "},
                                              {" SELECT * FROM Users WHERE UserName='mrossi'"},
                                              {"SELECT * FROM SiteData"},
                                              {"SELECT * FROM TextBlock"},
                                              {"SELECT * FROM Writing"}}));
}

TEST(ReportDisplay, LoadingClosesEveryQueryThatItOpened) {
    ReportingStation station;
    station.OpenReport();
    Texts open;
    station.global.catalogue = std::make_unique<OpenQueries>(std::move(station.global.catalogue), open);
    station.editor.Form_Load();
    EXPECT_EQ(open, Texts{});
}

TEST(ReportDisplay, TheWindowStandsAboveTheOthersBeforeItHasItsCaption) {
    ReportingStation station;
    bool above = false;
    station.editor.Watch([&] { above = station.windows.IsTopMost(station.editor); });
    station.OpenReport();
    EXPECT_TRUE(above);
}

TEST(ReportDisplay, TheHistoryHoldsOneLineAVersionAndTheLastIsShown) {
    ReportingStation station;
    station.OpenReport({.versions = 3});
    EXPECT_EQ(station.editor.lstHistory.Items(),
              (Texts{"14/11/2026 08:00:00", "14/11/2026 08:01:00", "14/11/2026 08:02:00"}));
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), 2);
    EXPECT_EQ(station.Document().VersionIndex(), 2);
}

TEST(ReportDisplay, TheOnlyVersionIsSelectedToo) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), 0);
}

TEST(ReportDisplay, ADocumentWithoutVersionsFillsTheScreenDirectly) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 0);
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), -1);
    EXPECT_EQ(station.editor.txtPtName.Text(), "ROSSI^MARIA");
}

TEST(ReportDisplay, AClickedHistoryLineShowsItsVersion) {
    ReportingStation station;
    station.OpenReport({.versions = 3});
    station.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(station.Document().VersionIndex(), 1);
    EXPECT_EQ(station.editor.txtUpdateDate.Text(), "14/11/2026 08:01:00");
}

TEST(ReportDisplay, ClickingTheSelectedHistoryLineShowsItAgain) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("typed and given up");
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Normal heart and lungs.");
}

TEST(ReportDisplay, NewIsOfferedOnlyWithAnImageSeries) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_FALSE(station.editor.cmdNew.Enabled());
    station.OpenImages();
    EXPECT_TRUE(station.editor.cmdNew.Enabled());
}

TEST(ReportDisplay, AgesAreCountedInYearsWhenTheYearsDiffer) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{1960, 5, 20}, {2024, 3, 1});
    EXPECT_EQ(station.editor.txtPtAge.Text(), "64 y");
}

TEST(ReportDisplay, AgesWithinAYearAreCountedInMonths) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{2024, 1, 15}, {2024, 3, 1});
    EXPECT_EQ(station.editor.txtPtAge.Text(), "2 m");
}

TEST(ReportDisplay, AgesWithinAMonthSubtractTheBirthMonthFromTheDay) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{2024, 3, 1}, {2024, 3, 25});
    EXPECT_EQ(station.editor.txtPtAge.Text(), "22 d");
}

TEST(ReportDisplay, AgesMayComeOutNegative) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{2024, 12, 1}, {2024, 12, 5});
    EXPECT_EQ(station.editor.txtPtAge.Text(), "-7 d");
}

TEST(ReportDisplay, ABirthDateInTheFutureCountsNegativeYears) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{2026, 1, 1}, {2024, 12, 31});
    EXPECT_EQ(station.editor.txtPtAge.Text(), "-2 y");
}

TEST(ReportDisplay, WithoutABirthDateTheAgeStaysAsItWas) {
    ReportingStation station;
    ShowBirthDate(station, DateTime{1960, 5, 20}, {2024, 3, 1});
    ShowBirthDate(station, std::monostate{}, {2024, 3, 1});
    EXPECT_EQ(station.editor.txtPtBirthDate.Text(), "");
    EXPECT_EQ(station.editor.txtPtAge.Text(), "64 y");
}

Texts Headings(ReportingStation& station) {
    const auto& box = station.editor.cmbReportTitle;
    Texts headings(static_cast<std::size_t>(box.ListCount()));
    std::ranges::generate(headings, [&box, i = 0]() mutable { return box.Item(i++); });
    return headings;
}

TEST(ReportDisplay, HeadingsAreListedInTheOrderOfTheirMeaning) {
    ReportingStation station;
    station.AddCode("StdTitles", "99SS", "T2", "THORAX");
    station.AddCode("StdTitles", "99SS", "T1", "ABDOMEN");
    station.OpenReport();
    EXPECT_EQ(Headings(station), (Texts{"ABDOMEN", "THORAX"}));
}

TEST(ReportDisplay, AHeadingWithoutAMeaningIsAnEmptyLine) {
    ReportingStation station;
    station.Execute("INSERT INTO StdTitles (CodeValue) VALUES ('T1')");
    station.OpenReport();
    EXPECT_EQ(Headings(station), Texts{""});
}

TEST(ReportDisplay, EveryFillAppendsTheHeadingsAgain) {
    ReportingStation station;
    station.AddCode("StdTitles", "99SS", "T1", "ABDOMEN");
    station.OpenReport({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    station.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(Headings(station), (Texts{"ABDOMEN", "ABDOMEN", "ABDOMEN"}));
}

TEST(ReportDisplay, TheReadingPhysicianIsTheLastWhoSaved) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.txtReferringPhysician.Text(), "Dr. Mario Rossi");
    EXPECT_EQ(station.editor.txtUpdateDate.Text(), "14/11/2026 08:00:00");
}

TEST(ReportDisplay, AReportThatNobodySavedIsNotYetReferred) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.editor.txtReferringPhysician.Text(), "Not yet referred");
    EXPECT_EQ(station.editor.txtUpdateDate.Text(), "");
}

TEST(ReportDisplay, AnObserverWithoutANameIsNotYetReferredButHasADate) {
    ReportingStation station;
    station.OpenReport({.observer = ""});
    EXPECT_EQ(station.editor.txtReferringPhysician.Text(), "Not yet referred");
    EXPECT_EQ(station.editor.txtUpdateDate.Text(), "14/11/2026 08:00:00");
}

TEST(ReportDisplay, APendingReportIsNotYetApprovedAndCannotBePrinted) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.txtApprovingPhysician.Text(), "Not yet approved");
    EXPECT_EQ(station.editor.txtApprovalDate.Text(), "");
    EXPECT_FALSE(station.editor.cmdPrint.Enabled());
}

TEST(ReportDisplay, AnApprovedReportNamesItsApproverAndCanBePrinted) {
    ReportingStation station;
    station.OpenReport({.versions = 2, .approved = true});
    EXPECT_EQ(station.editor.txtApprovingPhysician.Text(), "Dr. Mario Rossi");
    EXPECT_EQ(station.editor.txtApprovalDate.Text(), "14/11/2026 08:01:00");
    EXPECT_TRUE(station.editor.cmdPrint.Enabled());
}

TEST(ReportDisplay, AnOlderVersionOfAnApprovedReportCannotBePrinted) {
    ReportingStation station;
    station.OpenReport({.versions = 2, .approved = true});
    station.editor.lstHistory.ListIndex(0);
    EXPECT_FALSE(station.editor.cmdPrint.Enabled());
}

TEST(ReportDisplay, FindingsDiagnosesAndBodyPartAreLeftAsTheyAre) {
    ReportingStation station;
    station.OpenReport();
    station.editor.lstFinding.Add({.text = "F1", .tag = "99SS", .subItems = {"NODULE", ""}});
    station.editor.lstDiagnosis.Add({.text = "D1", .tag = "99SS", .subItems = {"PNEUMONIA", ""}});
    station.editor.cmbBodyPart.Typed("CHEST");
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.lstFinding.Count(), 1);
    EXPECT_EQ(station.editor.lstDiagnosis.Count(), 1);
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "CHEST");
}

TEST(ReportDisplay, TheReportFrameIsRedrawnAfterEachFill) {
    ReportingStation station;
    station.OpenReport();
    int redrawn = 0;
    station.editor.frmDataReport.Watch([&](Change change) { redrawn += change == Change::Redraw; });
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(redrawn, 1);
}

TEST(ReportDisplay, AFillLocksThenRedrawsThenLoadsTheImages) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.WriteFile("study\\report1\\SR.dat", "?");
    Texts events;
    station.editor.frmDataReport.Watch(
        [&](Change change) { events.emplace_back(change == Change::Redraw ? "redrawn" : "locked"); });
    station.windows.onMessage = [&](const MessageBox& message) { events.push_back(message.text.substr(0, 9)); };
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(events, (Texts{"locked", "redrawn", "LoadSRDat"}));
}

TEST(ReportDisplay, LoadingIsLoggedTwice) {
    ReportingStation station;
    station.OpenReport();
    const auto log = station.ReadFile("Tavrel.log");
    const auto history = log.find(" - History initialized\r\n");
    const auto loaded = log.find(" - LoadDocs: Document loaded\r\n");
    ASSERT_NE(history, std::string::npos) << log;
    ASSERT_NE(loaded, std::string::npos) << log;
    EXPECT_LT(history, loaded);
}

TEST(ReportDisplay, TheUserAndTheSignatureAreLookedUp) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.global.currentUserName, "mrossi");
    EXPECT_EQ(station.global.userSignature, "Dr. Mario Rossi");
}

TEST(ReportDisplay, AnUnknownUserKeepsSignatureAndOrganization) {
    ReportingStation station;
    station.users.userName = "nobody";
    station.global.organization = "As started";
    station.OpenReport();
    EXPECT_EQ(station.global.currentUserName, "nobody");
    EXPECT_EQ(station.global.userSignature, "");
    EXPECT_EQ(station.global.organization, "As started");
}

TEST(ReportDisplay, AKnownUserWithoutSiteDataWorksForAnUnknownOrganization) {
    ReportingStation station;
    station.Execute("DELETE FROM SiteData");
    station.OpenReport();
    EXPECT_EQ(station.global.organization, "Unknown organization");
}

TEST(ReportDisplay, AUserNameWithAnApostropheIsToldAndTheRestGoesOn) {
    ReportingStation station;
    station.users.userName = "d'angelo";
    station.OpenReport();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("frmReport."));
    EXPECT_EQ(station.global.userSignature, "");
    EXPECT_EQ(station.serviceEvents.Listeners(), 1U);
}

TEST(ReportDisplay, AFailureWhileFillingLeavesTheScreenAsFarAsItGot) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.Execute("DROP TABLE StdTitles");
    station.editor.txtReportTitle.Text("kept");
    station.editor.lstHistory.ListIndex(0);
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("frmReport."));
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "kept");
}

TEST(ReportDisplay, TheWindowIsKeptAboveTheOthers) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_TRUE(station.windows.IsTopMost(station.editor));
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(ReportDisplay, TheStorageServiceIsHeardOnceTheReportIsLoaded) {
    class LateEvents : public FakeServiceEvents {
    public:
        const Global* global = nullptr;
        std::string signature;
        std::unique_ptr<ServiceObject> Attach(ServiceEventHandler& handler) override {
            signature = global->userSignature;
            return FakeServiceEvents::Attach(handler);
        }
    } events;
    ReportingStation station;
    station.OpenReport();
    events.global = &station.global;
    station.global.userSignature.clear();
    frmReport editor(station.global, events, station.chooser, station.codeTables, station.printer, station.draftTimer,
                     station.reportWatch);
    editor.Form_Load();
    EXPECT_EQ(events.signature, "Dr. Mario Rossi"); // the last thing that loading looks up
}

TEST(ReportDisplay, ReloadingReleasesTheStorageServiceBeforeItListensAgain) {
    class StrictEvents : public FakeServiceEvents {
    public:
        std::unique_ptr<ServiceObject> Attach(ServiceEventHandler& handler) override {
            EXPECT_EQ(Listeners(), 0U);
            return FakeServiceEvents::Attach(handler);
        }
    } events;
    ReportingStation station;
    station.OpenReport();
    frmReport editor(station.global, events, station.chooser, station.codeTables, station.printer, station.draftTimer,
                     station.reportWatch);
    editor.Form_Load();
    editor.Form_Load();
    EXPECT_EQ(events.attached, 2);
    EXPECT_EQ(events.Listeners(), 1U);
}

TEST(ReportDisplay, TypographicCharactersBecomePlainInTitleAndReadingOnly) {
    const ReportingStation station;
    EXPECT_EQ(station.editor.txtReportTitle.Filter("“a” – b…"), "\"a\" - b...");
    EXPECT_EQ(station.editor.txtReportAnnotation.Filter("d’Angelo"), "d'Angelo");
}

TEST(ReportDisplay, TypographicCharactersStayInTheInterchangeForm) {
    ReportingStation station;
    station.global.reportForm = ReportForm::Interchange;
    EXPECT_EQ(station.editor.txtReportTitle.Filter("“a” – b…"), "“a” – b…");
    EXPECT_EQ(station.editor.txtReportAnnotation.Filter("d’Angelo"), "d’Angelo");
}

TEST(ReportDisplay, ClosingTheFrameClosesTheReportAndUnloads) {
    ReportingStation station;
    station.OpenReport();
    station.editor.FrameClosed();
    EXPECT_EQ(station.process.ended, 1);
    EXPECT_TRUE(station.automation.Closing());
    EXPECT_EQ(station.windows.calls.back(), "Unload frmReport");
}

} // namespace
} // namespace tavrel::test
