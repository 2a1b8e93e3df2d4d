// Drafts of a site whose reports hold body part, findings and diagnoses.

#include "tests/editor/InterchangeStation.h"

#include <gmock/gmock.h>

#include <fstream>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class CodedDraftStation : public InterchangeStation {
public:
    Texts DraftFiles() const {
        return std::filesystem::exists(NativePath("state/drafts")) ? files->List(Path("state\\drafts"), ".draft")
                                                                   : Texts();
    }
    std::string DraftText() { return ReadFile("state/drafts/" + DraftFiles().at(0)); }
    /// Works on the report in a process that is killed right after what was typed was kept.
    void Killed(const std::function<void(frmReport&)>& work) {
        AnotherProcess killed(*this);
        killed.automation.LoadSRSeries("1.2.3.2.1");
        work(killed.editor);
        killed.timer.Fire();
    }
    void LeaveCodes() {
        Killed([](frmReport& typed) {
            typed.cmbBodyPart.Typed("Knee");
            typed.lstFinding.Add({"F1", "SRT", {"Nodule", "left\nand right"}});
            typed.lstFinding.Add({"F2", "", {"結節", ""}});
            typed.lstDiagnosis.Add({"D1", "SRT", {"Tumour", ""}});
        });
    }
    bool Offered() const { return editor.cmdPutBack.Visible(); }
};

TEST(ACodeThatIsListed, IsKeptTwoSecondsLater) {
    CodedDraftStation station;
    station.Open();
    station.editor.lstFinding.Add({"F1", "SRT", {"Nodule", ""}});
    EXPECT_EQ(station.draftTimer.delay, std::chrono::seconds(2));
    station.draftTimer.Fire();
    EXPECT_THAT(station.DraftText(), HasSubstr("Finding (2): F1\nScheme (3): SRT\nMeaning (6): Nodule\n"));
}

TEST(CodesOfADraft, AreOfferedAndPutBackAfterAKill) {
    CodedDraftStation station;
    station.LeaveCodes();
    station.Open();
    ASSERT_TRUE(station.Offered());
    ASSERT_EQ(station.editor.lstFinding.Count(), 0);
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_THAT(RowsOf(station.editor.lstFinding), ElementsAre("F1|SRT|Nodule|left\nand right", "F2||結節|"));
    EXPECT_THAT(RowsOf(station.editor.lstDiagnosis), ElementsAre("D1|SRT|Tumour|"));
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
}

TEST(CodesOfADraft, ThatArePutBackAreSaved) {
    CodedDraftStation station;
    station.LeaveCodes();
    station.Open();
    station.editor.cmdPutBack.Press();
    station.editor.lstFinding.Remove(1);
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.DocumentsFindings(), ElementsAre("F1"));
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(CodesOfADraft, AreNotOfferedWhereTheVersionHoldsThem) {
    CodedDraftStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.Killed([](frmReport& typed) {
        typed.lstFinding.Add({"F2", "SRT", {"Nodule", ""}});
        typed.lstFinding.Remove(1);
        typed.lstFinding.Replace(0, {"F1", "SRT", {"Meaning of F1", "note "}});
    });
    ASSERT_THAT(station.DraftFiles(), SizeIs(1));
    station.Open();
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.DraftFiles(), IsEmpty());
}

TEST(CodesOfADraft, AreOfferedWhereTheVersionHoldsOthers) {
    CodedDraftStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.Killed([](frmReport& typed) { typed.lstDiagnosis.Clear(); });
    station.Open();
    ASSERT_TRUE(station.Offered());
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.editor.lstDiagnosis.Count(), 0);
    EXPECT_EQ(station.editor.lstFinding.Count(), 1);
}

TEST(CodesThatAreNotSaved, AreADraftOnceAnotherVersionIsShown) {
    CodedDraftStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.List("F2", "D2");
    station.editor.lstHistory.ListIndex(0);
    EXPECT_THAT(station.DraftText(), HasSubstr("F2"));
    station.editor.cmdLastVersion.Press();
    station.editor.cmdPutBack.Press();
    EXPECT_THAT(Codes(station.editor.lstFinding), ElementsAre("F1", "F2"));
}

TEST(CodesThatAreNotSaved, StayInTheDraftOfASiteThatTurnsToTheClassicForm) {
    CodedDraftStation station;
    station.Open();
    station.List("F1", "D1");
    station.WriteForm("classic");
    station.Open();
    EXPECT_THAT(station.DraftText(), HasSubstr("F1"));
    EXPECT_TRUE(station.Offered());
}

TEST(ADraftOfTheClassicForm, HoldsNoCodes) {
    CodedDraftStation station;
    station.WriteForm("classic");
    station.Killed([](frmReport& typed) {
        typed.lstFinding.Add({"F1", "SRT", {"Nodule", ""}});
        typed.txtReportAnnotation.Typed("Typed");
    });
    EXPECT_THAT(station.DraftText(), Not(HasSubstr("Finding")));
    EXPECT_THAT(station.DraftText(), Not(HasSubstr("Body part")));
}

TEST(ADraftOfTheClassicForm, LeavesTheCodesOfTheVersion) {
    CodedDraftStation station;
    station.Open();
    station.SaveCodes("Knee", "F1", "D1");
    station.WriteForm("classic");
    station.Killed([](frmReport& typed) { typed.txtReportAnnotation.Typed("Typed"); });
    station.WriteForm("interchange");
    station.Open();
    station.editor.cmdPutBack.Press();
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Typed");
    EXPECT_EQ(station.editor.cmbBodyPart.Text(), "Knee");
    EXPECT_EQ(station.editor.lstFinding.Count(), 1);
}

TEST(ADraftWithCodes, ThatIsDamagedIsLeftAlone) {
    CodedDraftStation station;
    station.LeaveCodes();
    auto text = station.DraftText();
    text.replace(text.find("Nodule"), 6, "Module");
    station.WriteFile("state/drafts/" + station.DraftFiles().front(), text);
    station.Open();
    EXPECT_FALSE(station.Offered());
    EXPECT_THAT(station.process.log, ElementsAre(HasSubstr("It is damaged")));
}

} // namespace
} // namespace tavrel::test
