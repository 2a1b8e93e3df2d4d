#include "sr/DcmSRDocument.h"
#include "tests/codes/CodesTest.h"

namespace tavrel::test {
namespace {

class EntryDeletionTest : public CodesTest {
protected:
    EntryDeletionTest() { global.report->document = std::make_shared<DcmSRDocument>(global); }

    DcmSRDocument& Document() { return *global.report->document; }

    /// Three rows in each list, and the same entries in the report.
    void GiveThreeEntries() {
        ListThreeEntries();
        for (const char* code : {"A", "B", "C"}) {
            Document().SetFinding(-1, "SRT", code, "Meaning", "note");
            Document().SetDiagnosis(-1, "SRT", code, "Meaning", "note");
        }
    }

    std::vector<std::string> ReportedFindings() {
        std::vector<std::string> codes;
        std::string scheme, code, meaning, annotation;
        for (std::int16_t index = 1; index <= Document().GetFindingCount(); ++index) {
            Document().GetFinding(index, scheme, code, meaning, annotation);
            codes.push_back(code);
        }
        return codes;
    }
};

TEST_F(EntryDeletionTest, DeletingAsksWithTheCode) {
    GiveThreeEntries();
    editor.lstFinding.Select(1);
    windows.answers = {Answer::Cancel};

    editor.cmdFnDelete.Press();

    ASSERT_EQ(windows.Texts(), Texts{"Are you sure you want to delete B?"});
    EXPECT_EQ(windows.messages[0].buttons, Buttons::OkCancel);
    EXPECT_EQ(windows.messages[0].icon, Icon::None);
    EXPECT_EQ(windows.messages[0].title, "");
}

TEST_F(EntryDeletionTest, DeletingTheSecondOfThreeFindingsLeavesTheThirdAsTheSecond) {
    GiveThreeEntries();
    editor.lstFinding.Select(1);
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), (Texts{"A|SRT|Meaning|note", "C|SRT|Meaning|note"}));
    EXPECT_EQ(ReportedFindings(), (Texts{"A", "C"}));
    EXPECT_EQ(Document().GetDiagnosisCount(), 3);
}

TEST_F(EntryDeletionTest, DeletingADiagnosisReachesTheReportsDiagnoses) {
    GiveThreeEntries();
    editor.lstDiagnosis.Select(2);
    windows.answers = {Answer::Ok};

    editor.cmdDxDelete.Press();

    EXPECT_EQ(RowsOf(editor.lstDiagnosis), (Texts{"A|SRT|Meaning|note", "B|SRT|Meaning|note"}));
    EXPECT_EQ(Document().GetDiagnosisCount(), 2);
    EXPECT_EQ(Document().GetFindingCount(), 3);
}

TEST_F(EntryDeletionTest, DeletingMarksTheReportChanged) {
    GiveThreeEntries();
    Document().Updated(false);
    editor.lstFinding.Select(0);
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    EXPECT_TRUE(Document().Updated());
}

TEST_F(EntryDeletionTest, ARowThatTheReportDoesNotKnowIsDeletedAllTheSame) {
    editor.lstFinding.Add({"A", "SRT", {"Meaning", "note"}});
    editor.lstFinding.Select(0);
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    EXPECT_EQ(editor.lstFinding.Count(), 0);
    EXPECT_EQ(windows.messages.size(), 1U);
}

TEST_F(EntryDeletionTest, TheListIsRedrawnAfterADeletion) {
    GiveThreeEntries();
    editor.lstFinding.Select(0);
    windows.answers = {Answer::Ok};
    std::vector<Change> told;
    editor.lstFinding.Watch([&](Change change) { told.push_back(change); });

    editor.cmdFnDelete.Press();

    EXPECT_EQ(told, (std::vector{Change::Items, Change::Redraw}));
}

TEST_F(EntryDeletionTest, AfterADeletionModifyAndDeleteAreDisabled) {
    GiveThreeEntries();
    editor.lstFinding.Select(0);
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    EXPECT_FALSE(editor.cmdFnModify.Enabled() || editor.cmdFnDelete.Enabled());
    EXPECT_TRUE(editor.cmdFnAdd.Enabled() && editor.cmdDxModify.Enabled() && editor.cmdDxDelete.Enabled());
}

TEST_F(EntryDeletionTest, ACancelledDeletionKeepsTheRowAndDisablesTheButtons) {
    GiveThreeEntries();
    editor.lstDiagnosis.Select(0);
    windows.answers = {Answer::Cancel};

    editor.cmdDxDelete.Press();

    EXPECT_EQ(editor.lstDiagnosis.Count(), 3);
    EXPECT_EQ(Document().GetDiagnosisCount(), 3);
    EXPECT_FALSE(editor.cmdDxModify.Enabled() || editor.cmdDxDelete.Enabled());
    EXPECT_TRUE(editor.cmdDxAdd.Enabled() && editor.cmdFnModify.Enabled() && editor.cmdFnDelete.Enabled());
}

TEST_F(EntryDeletionTest, DeletingWithNothingSelectedDoesNothing) {
    GiveThreeEntries();

    editor.cmdFnDelete.Press();
    editor.cmdDxDelete.Press();

    EXPECT_TRUE(windows.messages.empty());
    EXPECT_TRUE(editor.cmdFnModify.Enabled() && editor.cmdFnDelete.Enabled());
    EXPECT_TRUE(editor.cmdDxModify.Enabled() && editor.cmdDxDelete.Enabled());
}

TEST_F(EntryDeletionTest, AFailingDeletionIsShownWithTheCriticalIcon) {
    GiveThreeEntries();
    editor.lstFinding.Select(0);
    global.report->document.reset();
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    ASSERT_EQ(windows.messages.size(), 2U);
    EXPECT_EQ(windows.messages[1].text, "No report is open");
    EXPECT_EQ(windows.messages[1].icon, Icon::CriticalStop);
    EXPECT_EQ(windows.messages[1].buttons, Buttons::Ok);
    EXPECT_EQ(windows.messages[1].title, "");
}

TEST_F(EntryDeletionTest, AFailingDeletionKeepsTheRow) {
    GiveThreeEntries();
    editor.lstFinding.Select(0);
    global.report->document.reset();
    windows.answers = {Answer::Ok};

    editor.cmdFnDelete.Press();

    EXPECT_EQ(editor.lstFinding.Count(), 3);
    EXPECT_TRUE(editor.cmdFnModify.Enabled() && editor.cmdFnDelete.Enabled());
}

} // namespace
} // namespace tavrel::test
