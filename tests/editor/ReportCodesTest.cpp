// Body part, findings and diagnoses of a site whose reports hold them.

#include "host/Text.h"
#include "platform/attributes.h"
#include "tests/editor/InterchangeStation.h"

#include <gmock/gmock.h>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(CodesOfAReport, AreOnTheScreenWhereverItIsOpenedAgain) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    AnotherProcess desk(station);
    desk.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(desk.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_THAT(RowsOf(desk.editor.lstFinding), ElementsAre("F1|SRT|Meaning of F1|note"));
    EXPECT_THAT(RowsOf(desk.editor.lstDiagnosis), ElementsAre("D1|SRT|Meaning of D1|note"));
}

TEST(CodesOfAReport, AreThoseOfTheVersionThatWasClicked) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.SaveCodes("Chest", "F2", "D2");
    station.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_THAT(Codes(station.editor.lstDiagnosis), ElementsAre("D1"));
}

TEST(CodesOfAReport, OfAnOlderVersionAreReadOnly) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.editor.lstHistory.ListIndex(0);
    const auto& editor = station.editor;
    for (const Control* control : std::to_array<const Control*>(
             {&editor.frmDataReport, &editor.frmFinding, &editor.frmDiagnosis, &editor.cmdFnAdd, &editor.cmdDxDelete}))
        EXPECT_FALSE(control->Enabled()) << control->Name();
}

TEST(CodesOfAReport, AreGoneWhereAVersionHoldsNone) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.editor.lstHistory.ListIndex(0);
    ASSERT_EQ(station.editor.lblState.Text(), "Older version, read-only");
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "");
    EXPECT_EQ(station.editor.lstFinding.Count() + station.editor.lstDiagnosis.Count(), 0);
    station.editor.cmdLastVersion.Press();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
}

TEST(CodesOfAReport, AreNotShownInAnotherReportOfThePatient) {
    InterchangeStation station;
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.List("F2", "D2"); // not saved
    station.Open("1.2.3.2.2");
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "");
    EXPECT_EQ(station.editor.lstFinding.Count() + station.editor.lstDiagnosis.Count(), 0);
}

TEST(CodesOfAReport, AreNotThoseOfAReportThatIsOpenedWhileTheViewerIsWaitedFor) {
    InterchangeStation station;
    station.AddPatient("P2", "VERDI^LUIGI");
    station.AddStudy("1.9", "P2", station.Path("study"));
    station.AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
    station.Open();
    station.AddOneImage();
    station.SaveCodes("Knee", "F1", "D1");
    station.viewers.onCall = [&](const std::string&) {
        station.viewers.onCall = nullptr;
        station.Open("1.9.2");
    };
    station.editor.cmdLastVersion.Press();
    ASSERT_EQ(station.editor.txtPtName.Text(), "VERDI^LUIGI");
    EXPECT_EQ(station.editor.lstFinding.Count(), 0);
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
}

TEST(CodesOfAReport, AreShownByASiteThatWritesNone) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.WriteForm("classic");
    station.Open();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.lstFinding.Count(), 0);
}

TEST(ASiteThatWritesNoCodes, LeavesTheListsAsTheyAre) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_EQ(station.editor.cmbBodyPart.ListCount(), 0);
}

TEST(ASiteThatWritesNoCodes, DoesNotCountThemAsUnsaved) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.Open();
    station.List("F1", "D1");
    station.editor.cmbBodyPart.Typed("Knee");
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
    EXPECT_FALSE(station.draftTimer.Running());
}

TEST(ASiteThatWritesNoCodes, SaysSoBesideThem) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.Open();
    const auto& editor = station.editor;
    for (const Label* note : {&editor.lblBodyPartNote, &editor.lblFindingNote, &editor.lblDiagnosisNote}) {
        EXPECT_TRUE(note->Visible()) << note->Name();
        EXPECT_EQ(note->Text(), "not stored with the report");
    }
}

TEST(ASiteThatWritesNoCodes, SaysNothingOfAnOlderVersionThatHoldsThem) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.WriteForm("classic");
    station.Open();
    EXPECT_TRUE(station.editor.lblFindingNote.Visible()) << "the next version will hold none";
    station.editor.cmdSave.Press();
    station.editor.lstHistory.ListIndex(1);
    ASSERT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_FALSE(station.editor.lblFindingNote.Visible());
}

TEST(ASiteThatWritesCodes, DoesNotSayThatTheyAreNotStored) {
    InterchangeStation station;
    station.Open();
    const auto& editor = station.editor;
    for (const Label* note : {&editor.lblBodyPartNote, &editor.lblFindingNote, &editor.lblDiagnosisNote})
        EXPECT_FALSE(note->Visible()) << note->Name();
}

TEST(ASiteThatTurnsToCodes, PutsNoneOfAnotherReportIntoThisOne) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.Open();
    station.List("F1", "D1");
    station.editor.cmbBodyPart.Typed("Knee");
    station.WriteForm("interchange");
    station.Open("1.2.3.2.2");
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "");
    EXPECT_EQ(station.editor.lstFinding.Count(), 0);
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
}

TEST(ASiteThatTurnsToCodes, HasItsNextNewReportWhollyInItsForm) {
    ReportingStation station;
    station.Execute("UPDATE SiteData SET ReportForm='interchange'");
    station.OpenImages();
    const auto series = station.Document().SeriesUid();
    EXPECT_GT(series.size(), 40U) << series; // a random number
}

TEST(ASiteThatTurnsFromCodes, HasItsNextNewReportWhollyInItsForm) {
    InterchangeStation station;
    station.Open();
    station.global.report->imageSeries = station.ImageSeries();
    station.editor.cmdLastVersion.Press();
    station.WriteForm("classic");
    station.editor.cmdNew_Click();
    EXPECT_EQ(station.Document().SeriesUid(), "1.2.999.2." + TimeStamp(station.clock));
}

TEST(ASiteThatTurnsFromCodes, StoresThoseOfWhichTheScreenSaysSo) {
    InterchangeStation station;
    station.Open();
    station.WriteForm("classic");
    const CTavrel anotherViewers(station.global, station.viewers, station.chooser, station.editor);
    station.SaveCodes("Knee", "F1", "D1");
    EXPECT_THAT(station.DocumentsFindings(), ElementsAre("F1"));
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
}

TEST(ASiteThatTurnsToCodes, LeavesTypographyAsItIsTyped) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.Open();
    EXPECT_EQ(station.editor.txtReportAnnotation.Filter("“α”…"), "\"α\"...");
    station.WriteForm("interchange");
    station.Open();
    EXPECT_EQ(station.editor.txtReportAnnotation.Filter("“α”…"), "“α”…");
    EXPECT_EQ(station.editor.txtReportTitle.Filter("“α”…"), "“α”…");
}

TEST(TheBodyParts, AreListedByTheirMeaningOnceHoweverOftenTheScreenIsFilled) {
    InterchangeStation station;
    station.Open();
    station.editor.cmdLastVersion.Press();
    station.Open();
    EXPECT_THAT(Listed(station.editor.cmbBodyPart), ElementsAre("Chest", "Knee"));
}

TEST(TheBodyParts, AreNotListedWhereASiteTurnsToTheClassicForm) {
    InterchangeStation station;
    station.Open();
    ASSERT_EQ(station.editor.cmbBodyPart.ListCount(), 2);
    station.WriteForm("classic");
    station.Open();
    EXPECT_EQ(station.editor.cmbBodyPart.ListCount(), 0);
}

TEST(TheBodyPart, GetsTheCodeOfItsTable) {
    InterchangeStation station;
    station.Open();
    station.editor.cmbBodyPart.Typed("Knee");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.Document().BodyPartNode(), (ContentNode{"SRT", "T-D9200", "Knee", ""}));
}

TEST(TheBodyPart, IsFreeTextWhereNoTableHasIt) {
    InterchangeStation station;
    station.Open();
    station.editor.cmbBodyPart.Typed("Left knee");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.Document().BodyPartNode(), (ContentNode{"", "", "Left knee", ""}));
}

TEST(TheBodyPart, KeepsTheCodeThatAnotherSiteGaveIt) {
    InterchangeStation station;
    station.Open();
    station.editor.cmbBodyPart.Typed("Knee");
    station.editor.cmdSave.Press();
    station.Execute("DELETE FROM StdBodyPart");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.Document().BodyPartNode().Code, "T-D9200");
}

TEST(TheBodyPart, WithAnApostropheIsRefusedInWords) {
    InterchangeStation station;
    station.Open();
    station.editor.cmbBodyPart.Typed("Testa dell'omero");
    station.editor.txtReportTitle.Typed("Another title");
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.windows.Texts(),
                ElementsAre("Save report - 13-The catalogue cannot be asked with a text that holds an apostrophe: "
                            "Testa dell'omero"));
    EXPECT_THAT(station.store.sent, IsEmpty());
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Testa dell'omero");
}

TEST(TheBodyPart, ThatIsCleanedAwayIsNoneInTheNextVersion) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.editor.cmbBodyPart.Typed(" ");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.Document().BodyPartNode(), ContentNode());
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "");
}

TEST(ACodedEntry, WithoutASchemeIsTheSitesOwn) {
    InterchangeStation station;
    station.Open();
    station.editor.lstFinding.Add({"F1", "", {"Nodule", ""}});
    station.editor.cmdSave.Press();
    EXPECT_THAT(RowsOf(station.editor.lstFinding), ElementsAre("F1|99SS|Nodule|"));
}

struct Refused {
    std::string name;
    ListItem row;
    std::string words;
};

class AnEntryThatNoFileHolds : public testing::TestWithParam<Refused> {};

TEST_P(AnEntryThatNoFileHolds, IsRefusedInWordsBeforeAnythingChanges) {
    InterchangeStation station;
    station.Open();
    station.editor.lstFinding.Add({"F1", "SRT", {"Nodule", ""}});
    station.editor.lstFinding.Add(GetParam().row);
    station.editor.txtReportTitle.Typed("Another title");
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.windows.Texts(), ElementsAre("Save report - 13-" + GetParam().words));
    EXPECT_THAT(station.store.sent, IsEmpty());
    EXPECT_FALSE(station.Document().Updated());
    EXPECT_EQ(station.editor.lstFinding.Count(), 2);
}

INSTANTIATE_TEST_SUITE_P(
    Refused, AnEntryThatNoFileHolds,
    testing::Values(
        Refused{"ALongCode",
                {"12345678901234567", "SRT", {"Nodule", ""}},
                "The report cannot be stored. Finding 2: The code is longer than 16 characters: 12345678901234567"},
        Refused{"ALongScheme",
                {"F2", "12345678901234567", {"Nodule", ""}},
                "The report cannot be stored. Finding 2: The coding scheme is longer than 16 characters: "
                "12345678901234567"},
        Refused{"ALongMeaning",
                {"F2", "SRT", {std::string(65, 'M'), ""}},
                "The report cannot be stored. Finding 2: The description is longer than 64 characters: " +
                    std::string(65, 'M')},
        Refused{"ABackslash",
                {"F\\2", "SRT", {"Nodule", ""}},
                "The report cannot be stored. Finding 2: The code holds a control character or a backslash: F\\2"},
        Refused{
            "NoMeaning", {"F2", "SRT", {"", ""}}, "The report cannot be stored. Finding 2: It has no description: F2"},
        Refused{"NoCode", {" ", "SRT", {"Nodule", ""}}, "The report cannot be stored. Finding 2: It has no code"}),
    [](const auto& test) { return test.param.name; });

TEST(ADiagnosisThatNoFileHolds, IsNamedByItsRow) {
    InterchangeStation station;
    station.Open();
    station.editor.lstDiagnosis.Add({"D\n1", "SRT", {"Tumour", ""}});
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.windows.Texts(),
                ElementsAre("Save report - 13-The report cannot be stored. Diagnosis 1: The code holds a control "
                            "character or a backslash: D\n1"));
}

TEST(ALongMeaning, IsCountedInCharacters) {
    InterchangeStation station;
    std::string meaning;
    for (int i = 0; i < 64; ++i)
        meaning += "漢";
    station.Open();
    station.editor.lstFinding.Add({"F1", "SRT", {meaning, ""}});
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.windows.messages, IsEmpty());
    EXPECT_THAT(station.store.sent, SizeIs(1));
}

TEST(ASaveThatFails, LeavesTheCodesOnTheScreenUnsaved) {
    InterchangeStation station;
    station.Open();
    station.store.answer = [](const SentVersion&) {
        throw Error(static_cast<int>(DicomFault::NotSendable), "DICOM", "refused");
    };
    station.SaveCodes("Knee", "F1", "D1");
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_THAT(Codes(station.editor.lstDiagnosis), ElementsAre("D1"));
    EXPECT_EQ(station.editor.lblState.Text(), "NOT STORED: refused");
}

TEST(AnApproval, CarriesTheCodesOfTheScreen) {
    InterchangeStation station;
    station.Open();
    station.List("F1", "D1");
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    station.Open();
    EXPECT_TRUE(station.Document().ReadOnly());
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_THAT(Codes(station.editor.lstDiagnosis), ElementsAre("D1"));
}

TEST(ARowThatIsDeleted, IsNeitherOnTheScreenNorInTheNextVersion) {
    InterchangeStation station;
    station.Open();
    station.List("F1", "D1");
    station.List("F2", "D2");
    station.editor.cmdSave.Press();
    station.Delete(station.editor.lstFinding, 0);
    EXPECT_THAT(station.DocumentsFindings(), ElementsAre("F2"));
    station.editor.cmdSave.Press();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F2"));
    EXPECT_THAT(Codes(station.editor.lstDiagnosis), ElementsAre("D1", "D2"));
}

TEST(ARowThatIsDeleted, AfterAnotherOneAndAnAdditionIsTheSameInTheDocument) {
    InterchangeStation station;
    station.Open();
    station.List("F1", "D1");
    station.List("F2", "D2");
    station.List("F3", "D3");
    station.editor.cmdSave.Press();
    station.List("F4", "D4"); // no version holds it
    station.Delete(station.editor.lstFinding, 1);
    station.Delete(station.editor.lstFinding, 2);
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1", "F3"));
    EXPECT_THAT(station.DocumentsFindings(), ElementsAre("F1", "F3"));
}

TEST(ARowThatIsNotDeleted, StaysInBoth) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.editor.lstFinding.Select(0);
    station.windows.answers = {Answer::Cancel};
    station.editor.cmdFnDelete.Press();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_THAT(station.DocumentsFindings(), ElementsAre("F1"));
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
}

TEST(ARowThatIsDeleted, ComesBackWithTheVersionThatHoldsIt) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.Delete(station.editor.lstFinding, 0);
    station.editor.cmdLastVersion.Press();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1"));
    EXPECT_TRUE(station.editor.cmdFnDelete.Enabled());
}

/// The text of a control of the page that was printed last; empty when there is none of that name.
std::string Printed(const InterchangeStation& station, const std::string& control) {
    for (const auto& section : station.printer.shown.back().layout.sections)
        for (const auto& each : section.controls)
            if (each.name == control)
                return each.text;
    return {};
}

TEST(ThePrintedPage, HoldsTheCodesOfTheVersionShown) {
    InterchangeStation station;
    station.Open();
    station.SaveCodes("Chest", "F0", "D0");
    station.ApproveCodes("Knee", "F1", "D1");
    station.editor.cmdPrint.Press();
    EXPECT_EQ(Printed(station, "txtBodyPart"), "Knee");
    EXPECT_EQ(Printed(station, "txtFindings"), "Meaning of F1: note");
    EXPECT_EQ(Printed(station, "txtDiagnoses"), "Meaning of D1: note");
}

TEST(ThePrintedPage, HoldsNoCodesOfAnotherReport) {
    InterchangeStation station;
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .approved = true});
    station.Open();
    station.ApproveCodes("Knee", "F1", "D1");
    station.Open("1.2.3.2.2");
    station.editor.cmdPrint.Press();
    EXPECT_EQ(Printed(station, "txtFindings"), "");
    EXPECT_EQ(Printed(station, "txtBodyPart"), "");
}

TEST(ThePrintedPage, HoldsNoCodesThatTheVersionDoesNotHold) {
    InterchangeStation station;
    station.WriteForm("classic");
    station.Open();
    station.ApproveCodes("Knee", "F1", "D1");
    ASSERT_EQ(station.editor.lstFinding.Count(), 1);
    station.editor.cmdPrint.Press();
    EXPECT_EQ(Printed(station, "txtFindings"), "");
    EXPECT_EQ(Printed(station, "txtBodyPart"), "");
}

TEST(TheStateLine, TellsOfCodesThatNoVersionHolds) {
    InterchangeStation station;
    station.Open();
    station.editor.lstFinding.Add({"F1", "SRT", {"Nodule", ""}});
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
    station.editor.lstFinding.Replace(0, {"F1", "SRT", {"Nodule", "small"}});
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
}

TEST(TheStateLine, TellsOfABodyPartAndADeletionThatNoVersionHolds) {
    InterchangeStation station;
    station.Open();
    station.editor.cmbBodyPart.Typed("Knee");
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
    station.SaveCodes("Knee", "F1", "D1");
    station.Delete(station.editor.lstDiagnosis, 0);
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
}

TEST(TheStateLine, IsCalmAgainOnceTheEntryIsTakenBack) {
    InterchangeStation station;
    station.Open();
    station.editor.lstFinding.Add({"F1", "SRT", {"Nodule", ""}});
    station.Delete(station.editor.lstFinding, 0);
    EXPECT_EQ(station.editor.lblState.Text().substr(0, 8), "Saved at");
}

} // namespace
} // namespace tavrel::test
