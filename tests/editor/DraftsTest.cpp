// What is typed and not saved outlives the process, and comes back into its own report alone.

#include "host/Text.h"
#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"
#include "tests/editor/WatchedFiles.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// Reports "1.2.3.2.1" and "1.2.3.2.2" of the example study and "1.9.2" of another patient. `Crash` is what is left
/// to do for a process that is killed at once: nothing.
class DraftStation : public ReportingStation {
public:
    DraftStation() {
        AddReport({.title = "Title", .reading = "Reading"});
        AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .title = "Second", .reading = "Second"});
        AddPatient("P2", "VERDI^LUIGI");
        AddStudy("1.9", "P2", Path("study"));
        AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
        StoreInto("report1");
    }

    Texts DraftFiles() const {
        Texts names;
        if (std::filesystem::exists(NativePath("state/drafts")))
            names = files->List(Path("state\\drafts"), ".draft");
        return names;
    }
    /// Types a reading into a report in a process that is killed right after it was kept.
    void LeaveDraft(const std::string& reading, const std::string& seriesUid = "1.2.3.2.1") {
        AnotherProcess killed(*this);
        killed.automation.LoadSRSeries(seriesUid);
        killed.editor.txtReportAnnotation.Typed(reading);
        killed.timer.Fire();
    }
    /// The same for a new report of the study that these images are of.
    void LeaveNewDraft(const std::string& reading, const std::shared_ptr<DataSetList>& images) {
        AnotherProcess killed(*this);
        killed.automation.LoadForImgSeries(images);
        killed.editor.txtReportAnnotation.Typed(reading);
        killed.timer.Fire();
    }
    /// Another account, whose drafts are its own, works on the report.
    void AtAnotherDesk(const std::function<void(frmReport&)>& work) {
        const auto own = std::exchange(process.stateFolder, Path("another"));
        AnotherProcess desk(*this);
        desk.automation.LoadSRSeries("1.2.3.2.1");
        work(desk.editor);
        process.stateFolder = own;
    }
    void Open(const std::string& seriesUid = "1.2.3.2.1") { automation.LoadSRSeries(seriesUid); }
    void Type(const std::string& reading) { editor.txtReportAnnotation.Typed(reading); }
    void Later() { ++clock.now.minute; }

    bool Offered() const { return editor.cmdPutBack.Visible() && editor.cmdDiscard.Visible(); }
    std::string Said() const { return editor.lblDraft.Visible() ? editor.lblDraft.Text() : ""; }
    const std::string& Reading() const { return editor.txtReportAnnotation.Text(); }

    /// A study without a report, of the patient "NERI^LUCA".
    std::shared_ptr<DataSetList> NewStudy(const std::string& patientId = "P3") {
        AddPatient("P3", "NERI^LUCA");
        AddStudy("1.7", "P3", Path("study"));
        AddSeries("1.7.1", "1.7", "CT", "neri");
        return NewStudyImages(patientId);
    }
    std::shared_ptr<DataSetList> NewStudyImages(const std::string& patientId = "P3") {
        auto images = ImageSeries();
        images->SetElementString(0, attribute::PatientName, "NERI^LUCA");
        images->SetElementString(0, attribute::PatientId, patientId);
        images->SetElementString(0, attribute::StudyInstanceUid, "1.7");
        images->SetElementString(0, attribute::SeriesInstanceUid, "1.7.1");
        return images;
    }
    /// The version that the next save stores becomes a report of the new study.
    void StoreNewReport() {
        store.answer = [this](const SentVersion& version) {
            const auto uid = TextOf(version.dataSet->GetValue(attribute::SeriesInstanceUid));
            std::filesystem::create_directories(NativePath("study/new"));
            version.dataSet->SaveToFile(Path("study\\new\\img_000001.dcm"));
            AddSeries(uid, "1.7", "SR", "new", 2);
            AddImage(uid, "img_000001.dcm");
            serviceEvents.RaiseStore(uid, Path("study\\new\\img_000001.dcm"));
        };
    }
};

TEST(WhatIsTyped, IsKeptTwoSecondsAfterTheFirstKey) {
    DraftStation station;
    station.Open();
    station.Type("T");
    EXPECT_EQ(station.draftTimer.delay, std::chrono::seconds(2));
    station.Type("Typed");
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(WhatIsTyped, IsKeptAgainWhileTypingGoesOn) {
    DraftStation station;
    station.Open();
    for (const char* reading : {"One", "One two", "One two three"}) {
        station.Type(reading);
        station.draftTimer.Fire();
    }
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
    EXPECT_THAT(station.ReadFile("state/drafts/" + station.DraftFiles().front()), HasSubstr("One two three"));
}

TEST(WhatIsTyped, DoesNotPutTheNextWriteOff) {
    DraftStation station;
    station.Open();
    int starts = 0;
    station.Type("T");
    station.draftTimer.Start(std::chrono::seconds(2), [&] { ++starts; });
    station.Type("Ty");
    station.draftTimer.Fire();
    EXPECT_EQ(starts, 1);
}

TEST(WhatIsTyped, IsReadableByItsOwnerOnly) {
    DraftStation station;
    station.LeaveDraft("Typed");
    const auto folder = station.NativePath("state/drafts");
    const auto file = folder / station.DraftFiles().front();
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(WhatIsTyped, WhileItIsWrittenIsInTheNextDraft) {
    DraftStation station;
    WatchedFiles files;
    AnotherProcess process(station, files);
    process.automation.LoadSRSeries("1.2.3.2.1");
    process.editor.txtReportAnnotation.Typed("Before");
    files.whileWriting = [&] { process.editor.txtReportAnnotation.Typed("Before and meanwhile"); };
    process.timer.Fire();
    process.timer.Fire();
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Before and meanwhile");
}

TEST(WhatIsTyped, WithLettersThatTheReportCannotHoldIsKeptWhole) {
    DraftStation station;
    station.LeaveDraft("α-Fetoprotein 漢字\r\nEnd \xF0\x9F\xAB\x81");
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "α-Fetoprotein 漢字\r\nEnd \xF0\x9F\xAB\x81");
}

TEST(ADraft, IsOfHeadingTitleAndReading) {
    DraftStation station;
    {
        AnotherProcess killed(station);
        killed.automation.LoadSRSeries("1.2.3.2.1");
        killed.editor.cmbReportTitle.Typed("My heading");
        killed.editor.txtReportTitle.Typed("My title");
        killed.editor.txtReportAnnotation.Typed("My reading");
        killed.timer.Fire();
    }
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.editor.cmbReportTitle.Text(), "My heading");
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "My title");
    EXPECT_EQ(station.Reading(), "My reading");
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
}

TEST(AReportWithoutADraft, OffersNothing) {
    DraftStation station;
    station.Open();
    EXPECT_FALSE(station.Offered());
    EXPECT_EQ(station.Said(), "");
}

TEST(AReportThatWasTypedInto, OffersTheDraftWithItsTime) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Open();
    EXPECT_TRUE(station.Offered());
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:05:09, not saved");
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_THAT(station.windows.messages, IsEmpty());
}

TEST(ADraft, IsNotOfferedInAnotherReportOfTheStudy) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Open("1.2.3.2.2");
    EXPECT_FALSE(station.Offered());
}

TEST(ADraft, IsNotOfferedToAnotherPatient) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Open();
    ASSERT_TRUE(station.Offered());
    station.Open("1.9.2");
    EXPECT_FALSE(station.Offered());
    EXPECT_EQ(station.Said(), "");
}

TEST(ADraft, OfAStudyThatTwoPatientsShareIsNotOfferedToTheOther) {
    DraftStation station;
    station.LeaveNewDraft("Typed", station.NewStudy());
    station.automation.LoadForImgSeries(station.NewStudyImages("P4"));
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("of another patient")));
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(AnotherOpening, KeepsWhatIsTyped) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.Open("1.9.2");
    EXPECT_FALSE(station.draftTimer.Running());
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Typed");
}

TEST(AnotherOpening, OfTheSameReportOffersWhatWasTyped) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.Open();
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_TRUE(station.Offered());
}

TEST(AClickInTheVersionList, KeepsWhatIsTyped) {
    DraftStation station;
    station.AddReport({.seriesUid = "1.2.3.2.3", .seriesDir = "report3", .versions = 2});
    station.Open("1.2.3.2.3");
    station.Type("Typed");
    station.editor.lstHistory.ListIndex(0);
    EXPECT_THAT(station.Said(), HasSubstr("\"Last Version\" shows where"));
    EXPECT_FALSE(station.editor.cmdPutBack.Enabled());
    station.editor.cmdLastVersion.Press();
    EXPECT_TRUE(station.editor.cmdPutBack.Enabled());
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Typed");
}

TEST(New, KeepsWhatIsTypedInTheReportThatItLeaves) {
    DraftStation station;
    station.InChooser([&] { station.chooser.cmdOk.Press(); });
    station.OpenImages();
    station.Type("Typed");
    station.editor.cmdNew.Press();
    EXPECT_FALSE(station.Offered());
    station.Open();
    EXPECT_TRUE(station.Offered());
}

TEST(OtherReports, KeepsWhatIsTyped) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.cmdOk.Press();
    });
    station.editor.cmdOthers.Press();
    ASSERT_EQ(station.Reading(), "Second");
    EXPECT_THAT(station.DraftFiles(), ElementsAre(StartsWith("report-1.2.3.2.1-")));
}

TEST(Close, KeepsWhatIsTypedAndAsksNothing) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.editor.cmdClose.Press();
    EXPECT_EQ(station.process.ended, 1);
    EXPECT_THAT(station.windows.messages, IsEmpty());
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(Close, EndsTheProgramWhereNothingCanBeKept) {
    DraftStation station;
    WatchedFiles files;
    AnotherProcess process(station, files);
    process.automation.LoadSRSeries("1.2.3.2.1");
    process.editor.txtReportAnnotation.Typed("Typed");
    files.writable = false;
    process.editor.cmdClose.Press();
    EXPECT_EQ(station.process.ended, 1);
    EXPECT_THAT(station.windows.messages, IsEmpty());
}

TEST(CloseReport, KeepsWhatIsTyped) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.automation.CloseReport();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(TheWindowsFrame, KeepsWhatIsTyped) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.editor.FrameClosed();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(AReportThatWasOnlyRead, LeavesNoDraft) {
    DraftStation station;
    station.Open();
    station.Open("1.9.2");
    station.editor.cmdClose.Press();
    EXPECT_FALSE(std::filesystem::exists(station.NativePath("state")));
}

TEST(TypingBackToTheSavedText, RemovesTheDraft) {
    DraftStation station;
    station.Open();
    station.Type("Readings");
    station.draftTimer.Fire();
    station.Type("Reading");
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
    EXPECT_FALSE(station.draftTimer.Running());
}

TEST(ASave, RemovesTheDraft) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.draftTimer.Fire();
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
    EXPECT_FALSE(station.Offered());
}

TEST(ASave, OfAVersionThatIsKeptAsAFileRemovesTheDraft) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.draftTimer.Fire();
    station.store.answer = [](const SentVersion&) { throw Error(1, "DICOM", "The storage service is down"); };
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(ASave, ThatStoresNothingLeavesTheDraft) {
    DraftStation station;
    station.Open();
    station.Type("α");
    station.draftTimer.Fire();
    station.store.answer = [](const SentVersion&) {
        throw Error(static_cast<int>(DicomFault::NotSendable), "DICOM", "The character \"α\"");
    };
    station.editor.cmdSave.Press();
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(ASave, ThatTakesLongIsKeptMeanwhile) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.store.answer = [&](const SentVersion&) {
        station.draftTimer.Fire();
        EXPECT_THAT(station.DraftFiles(), SizeIs(1));
    };
    station.editor.cmdSave.Press();
}

TEST(ASave, LeavesTheDraftThatIsOffered) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.Later();
    station.Type("Something else");
    station.editor.cmdSave.Press();
    EXPECT_TRUE(station.Offered());
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:05:09, not saved; a newer version was saved meanwhile");
}

TEST(ASave, AfterPutBackRemovesTheDraft) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.editor.cmdPutBack.Press();
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(AnApproval, RemovesTheDraft) {
    DraftStation station;
    station.Open();
    station.Type("Typed");
    station.draftTimer.Fire();
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(ANewReport, FindsItsDraftByTheStudy) {
    DraftStation station;
    station.LeaveNewDraft("Typed", station.NewStudy());
    station.Later();
    station.automation.LoadForImgSeries(station.NewStudyImages());
    EXPECT_TRUE(station.Offered());
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Typed");
}

TEST(ANewReport, TakesItsUndecidedDraftAlongWithTheFirstSave) {
    DraftStation station;
    station.LeaveNewDraft("Earlier", station.NewStudy());
    station.automation.LoadForImgSeries(station.NewStudyImages());
    station.Type("Something else");
    station.StoreNewReport();
    station.editor.cmdSave.Press();
    EXPECT_TRUE(station.Offered());
    const auto uid = station.Document().SeriesUid();
    EXPECT_THAT(station.DraftFiles(), ElementsAre(StartsWith("report-" + uid + "-")));
}

TEST(ANewReport, IsKeptUnderItsOwnKeyAfterTheFirstSave) {
    DraftStation station;
    station.automation.LoadForImgSeries(station.NewStudy());
    station.Type("First");
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftFiles(), ElementsAre(StartsWith("new-1.7-")));
    station.StoreNewReport();
    station.editor.cmdSave.Press();
    station.Type("Second");
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftFiles(), ElementsAre(StartsWith("report-" + station.Document().SeriesUid() + "-")));
}

TEST(ADraftOnOffer, IsNotOverwrittenByOtherTyping) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.Later();
    station.Type("Something else");
    station.draftTimer.Fire();
    EXPECT_TRUE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), SizeIs(2));
}

TEST(TwoDrafts, AreOfferedTheNewerFirst) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Later();
    station.LeaveDraft("Later");
    station.Open();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:06:09, not saved (the newest of 2)");
    station.editor.cmdDiscard.Press();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:05:09, not saved");
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Earlier");
    EXPECT_FALSE(station.Offered());
}

TEST(TwoDrafts, OfOneSecondAreOfferedTheNewerFirst) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.LeaveDraft("Later");
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Later");
}

TEST(TwoDrafts, OfTheSameWordsAreOne) {
    DraftStation station;
    station.LeaveDraft("Same");
    station.Later();
    station.LeaveDraft("Same");
    station.Open();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:06:09, not saved");
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(PutBack, KeepsWhatWasTypedInsteadAsADraft) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.Later();
    station.Type("Instead");
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Earlier");
    EXPECT_TRUE(station.Offered());
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Instead");
}

TEST(PutBack, LeavesTheDraftUntilTheTextsAreKeptAnew) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
    station.editor.cmdClose.Press();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(PutBack, ThatIsTakenBackIsOfferedAgain) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.editor.cmdPutBack.Press();
    station.draftTimer.Fire();
    station.Type("Reading");
    station.draftTimer.Fire();
    EXPECT_TRUE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST(PutBack, TwiceInARowPutsNothingElseBack) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.editor.cmdPutBack_Click();
    station.editor.cmdPutBack_Click();
    EXPECT_EQ(station.Reading(), "Earlier");
}

TEST(Discard, RemovesTheDraftForGood) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.editor.cmdDiscard.Press();
    station.editor.cmdDiscard_Click();
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
    EXPECT_EQ(station.Reading(), "Reading");
}

TEST(Discard, LeavesWhatIsTyped) {
    DraftStation station;
    station.LeaveDraft("Earlier");
    station.Open();
    station.Later();
    station.Type("Typed");
    station.editor.cmdDiscard.Press();
    station.editor.cmdClose.Press();
    EXPECT_THAT(station.DraftFiles(), ElementsAre(HasSubstr("08.06.09")));
}

TEST(ADraft, ThatEqualsTheVersionGoesAway) {
    DraftStation station;
    station.LeaveDraft("Reading, revised");
    station.AtAnotherDesk([](frmReport& editor) {
        editor.txtReportAnnotation.Typed("Reading, revised");
        editor.cmdSave.Press();
    });
    station.Open();
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(ADraft, ThatEqualsAnOlderVersionStays) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Open();
    station.Type("Typed");
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
    station.LeaveDraft("Reading");
    station.Open();
    station.editor.lstHistory.ListIndex(0);
    EXPECT_FALSE(station.Offered());
    station.editor.cmdLastVersion.Press();
    EXPECT_TRUE(station.Offered());
}

TEST(ADraft, OfAReportThatGotANewerVersionSaysSo) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Later();
    station.AtAnotherDesk([](frmReport& editor) {
        editor.txtReportAnnotation.Typed("Revised");
        editor.cmdSave.Press();
    });
    station.Open();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:05:09, not saved; a newer version was saved meanwhile");
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "Typed");
}

TEST(ADraft, OfAReportThatWasApprovedMeanwhileIsKept) {
    DraftStation station;
    station.LeaveDraft("Typed");
    station.Later();
    station.windows.answers = {Answer::Yes};
    station.AtAnotherDesk([](frmReport& editor) { editor.cmdApprove.Press(); });
    station.Open();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:05:09, not saved; the report is approved meanwhile");
    station.editor.cmdPutBack.Press();
    station.editor.cmdPutBack_Click();
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

class AFileThatIsNoDraft : public testing::TestWithParam<const char*> {};

TEST_P(AFileThatIsNoDraft, IsLeftAloneAndNamedInTheDesktopsLog) {
    DraftStation station;
    station.WriteFile("state/drafts/report-1.2.3.2.1-2026.draft", GetParam());
    station.Open();
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_FALSE(station.Offered());
    EXPECT_EQ(station.ReadFile("state/drafts/report-1.2.3.2.1-2026.draft"), GetParam());
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("drafts/report-1.2.3.2.1-2026.draft\" is left alone: It ")));
    EXPECT_THAT(station.windows.messages, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Drafts, AFileThatIsNoDraft,
                         testing::Values("", "x", "Tavrel draft 1\n", "Tavrel draft 1\nKind (99999999999999999999): ",
                                         "Tavrel draft 1\nKind (-1): x\n", "\xFF\xFE"));

TEST(ADraftFile, OfAnotherProgramIsSaidToBeNone) {
    DraftStation station;
    station.WriteFile("state/drafts/report-1.2.3.2.1-2026.draft", "A letter");
    station.Open();
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("It is no draft of this program")));
}

TEST(ADraftFile, OfWhichAWordHasChangedIsLeftAlone) {
    DraftStation station;
    station.LeaveDraft("No fracture.");
    const auto file = "state/drafts/" + station.DraftFiles().front();
    auto contents = station.ReadFile(file);
    contents.replace(contents.find("No fracture"), 2, "A ");
    station.WriteFile(file, contents);
    station.Open();
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("It is damaged")));
}

TEST(ADraftFile, OfAnyShortenedLengthIsLeftAlone) {
    DraftStation station;
    station.LeaveDraft("Typed");
    const auto file = "state/drafts/" + station.DraftFiles().front();
    const auto whole = station.ReadFile(file);
    for (std::size_t length = 0; length < whole.size(); length += 3) {
        station.WriteFile(file, whole.substr(0, length));
        station.Open();
        EXPECT_FALSE(station.Offered()) << length;
    }
}

TEST(AFolder, InADraftsPlaceStopsNoOpening) {
    DraftStation station;
    station.WriteFile("state/drafts", "no folder");
    station.Open();
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("state/drafts\" is left alone: Cannot read the folder")));
}

TEST(ADraftFile, OfAnUnreadableKindIsLeftAlone) {
    DraftStation station;
    std::filesystem::create_directories(station.NativePath("state/drafts"));
    std::filesystem::create_symlink("nowhere", station.NativePath("state/drafts/report-1.2.3.2.1-1.draft"));
    station.Open();
    EXPECT_EQ(station.Reading(), "Reading");
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("Cannot read the file")));
}

class AStateFolderThatCannotBeWritten : public testing::Test {
protected:
    AStateFolderThatCannotBeWritten() {
        process.automation.LoadSRSeries("1.2.3.2.1");
        files.writable = false;
        process.editor.txtReportAnnotation.Typed("Typed");
        process.timer.Fire();
    }
    DraftStation station;
    WatchedFiles files;
    AnotherProcess process{station, files};
};

TEST_F(AStateFolderThatCannotBeWritten, IsSaidOnceWithoutABox) {
    process.editor.txtReportAnnotation.Typed("Typed on");
    process.timer.Fire();
    EXPECT_THAT(process.editor.lblDraft.Text(),
                testing::AllOf(StartsWith("What is typed now is safe only once it is saved: "), HasSubstr("denied")));
    EXPECT_TRUE(process.editor.lblDraft.Visible());
    EXPECT_FALSE(process.editor.cmdPutBack.Visible());
    EXPECT_THAT(station.process.log, SizeIs(1));
    EXPECT_THAT(station.windows.messages, IsEmpty());
    EXPECT_EQ(process.editor.txtReportAnnotation.Text(), "Typed on");
}

TEST_F(AStateFolderThatCannotBeWritten, IsForgottenWhenItCanBe) {
    files.writable = true;
    process.timer.Fire();
    EXPECT_FALSE(process.editor.lblDraft.Visible());
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST_F(AStateFolderThatCannotBeWritten, LosesNothingWhileTheProgramRuns) {
    process.automation.LoadSRSeries("1.9.2");
    EXPECT_FALSE(process.editor.cmdPutBack.Visible());
    process.automation.LoadSRSeries("1.2.3.2.1");
    process.editor.cmdPutBack.Press();
    EXPECT_EQ(process.editor.txtReportAnnotation.Text(), "Typed");
}

TEST_F(AStateFolderThatCannotBeWritten, GetsTheDraftsOnceItCanBe) {
    process.automation.LoadSRSeries("1.9.2");
    files.writable = true;
    process.automation.LoadSRSeries("1.9.2");
    station.Open();
    EXPECT_TRUE(station.Offered());
}

TEST_F(AStateFolderThatCannotBeWritten, DoesNotOfferWhatIsDiscarded) {
    process.automation.LoadSRSeries("1.2.3.2.1");
    process.editor.cmdDiscard.Press();
    files.writable = true;
    process.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_FALSE(process.editor.cmdPutBack.Visible());
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

/// Two processes of one account show the same report.
class TwoProcesses : public testing::Test {
protected:
    TwoProcesses() {
        process.automation.LoadSRSeries("1.2.3.2.1");
        process.editor.txtReportAnnotation.Typed("One desk");
        process.timer.Fire();
        station.Open();
    }
    DraftStation station;
    AnotherProcess process{station};
};

TEST_F(TwoProcesses, KeepADraftEach) {
    station.Type("The other desk");
    station.draftTimer.Fire();
    process.editor.txtReportAnnotation.Typed("One desk, more");
    process.timer.Fire();
    EXPECT_THAT(station.DraftFiles(), SizeIs(2));
}

TEST_F(TwoProcesses, CannotTakeEachOthersDraftAway) {
    station.editor.cmdDiscard.Press();
    ASSERT_THAT(station.DraftFiles(), IsEmpty());
    process.timer.Fire();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
}

TEST_F(TwoProcesses, OfferAnewWhatHasChangedBeforeItIsDiscarded) {
    station.Later();
    process.editor.txtReportAnnotation.Typed("One desk, more");
    process.timer.Fire();
    station.editor.cmdDiscard.Press();
    EXPECT_EQ(station.Said(), "Draft of 15/11/2026 08:06:09, not saved");
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.Reading(), "One desk, more");
}

TEST_F(TwoProcesses, SaveTheirOwnAndLeaveTheOthers) {
    station.Type("The other desk");
    station.draftTimer.Fire();
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DraftFiles(), SizeIs(1));
    EXPECT_TRUE(station.Offered());
}

} // namespace
} // namespace tavrel::test
