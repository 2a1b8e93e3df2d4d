#include "platform/error.h"
#include "tests/codes/CodesTest.h"

namespace tavrel::test {
namespace {

class CodeManagerTest : public CodesTest {
protected:
    /// The manager in a mode with two rows listed.
    void OpenWithRows(Mode mode, std::string_view tableKey = "Fn") {
        Open(mode, tableKey);
        manager.lstTable.Add({"c1", "srt", {"cyst"}});
        manager.lstTable.Add({"c2", "srt", {"nodule"}});
    }
    void FillReportCode(std::string_view code, std::string_view scheme, std::string_view meaning,
                        std::string_view annotation) {
        manager.txtCode.Typed(code);
        manager.txtCodeScheme.Typed(scheme);
        manager.txtMeaning.Typed(meaning);
        manager.txtAnnotation.Typed(annotation);
    }
};

TEST_F(CodeManagerTest, IsCalledStandardCodes) {
    EXPECT_EQ(manager.Name(), "frmBase");
    EXPECT_EQ(manager.Caption(), "Standard codes");
}

TEST_F(CodeManagerTest, LabelsReadAsTheFormShowsThem) {
    EXPECT_EQ(manager.lblFind.Text(), "Search code meaning");
    EXPECT_EQ(manager.lblList.Text(), "List codes");
    EXPECT_EQ(manager.lblNewCode.Text(), "Standard codes");
    EXPECT_EQ(manager.lblInsert.Text(), "Report codes");
    EXPECT_EQ(manager.lblAnnotation.Text(), "Annotation");
    EXPECT_EQ(manager.lstTable.Columns(), (Texts{"Code", "Description"}));
}

TEST_F(CodeManagerTest, LoadingMakesItTopMost) {
    manager.Load();

    EXPECT_TRUE(windows.IsTopMost(manager));
}

TEST_F(CodeManagerTest, LoadsOnce) {
    manager.Load();
    manager.txtFind.Typed("KEPT");

    manager.Load();

    EXPECT_EQ(windows.calls, Texts{"MakeTopMost frmBase"});
    EXPECT_EQ(manager.txtFind.Text(), "KEPT");
}

TEST_F(CodeManagerTest, CloseUnloads) {
    manager.Load();

    manager.cmdClose.Press();

    EXPECT_EQ(windows.calls.back(), "Unload frmBase");
}

TEST_F(CodeManagerTest, TheFramesClosingIsClose) {
    manager.Load();

    manager.FrameClosed();
    manager.Load();

    EXPECT_EQ(windows.calls, (Texts{"MakeTopMost frmBase", "Unload frmBase", "MakeTopMost frmBase"}));
}

TEST_F(CodeManagerTest, EveryOpeningEnablesAndShowsTheControls) {
    manager.Load();
    for (Control* control : manager.Controls()) {
        control->Enabled(false);
        control->Visible(false);
    }
    manager.cmdClose_Click();

    manager.Load();

    for (const Control* control : manager.Controls()) {
        EXPECT_TRUE(control->Enabled()) << control->Name();
        EXPECT_EQ(control->Visible(), control != &manager.frmCode) << control->Name();
    }
}

TEST_F(CodeManagerTest, EveryOpeningStartsWithEmptyUnlockedBoxes) {
    const std::vector<TextBox*> boxes{&manager.txtFind,       &manager.txtNewCodeScheme, &manager.txtNewCode,
                                      &manager.txtNewMeaning, &manager.txtCode,          &manager.txtCodeScheme,
                                      &manager.txtMeaning,    &manager.txtAnnotation};
    manager.Load();
    for (TextBox* box : boxes) {
        box->Text("left over");
        box->Locked(true);
        box->ButtonFace(true);
    }
    manager.cmdClose_Click();

    manager.Load();

    for (const TextBox* box : boxes) {
        EXPECT_EQ(box->Text(), "") << box->Name();
        EXPECT_FALSE(box->Locked()) << box->Name();
        EXPECT_FALSE(box->ButtonFace()) << box->Name();
    }
}

TEST_F(CodeManagerTest, EveryOpeningStartsWithoutRowsTableActionAndHeading) {
    OpenWithRows(StandardCodes);
    manager.Titolo.Text("Finding code");
    manager.optManageCodes(2).Press();
    manager.cmdClose_Click();

    manager.Load();

    EXPECT_EQ(manager.Titolo.Text(), "................");
    EXPECT_EQ(manager.TableKey, "");
    EXPECT_EQ(manager.lstTable.Count(), 0);
    EXPECT_EQ(manager.PendingAction, "");
    EXPECT_FALSE(manager.optManageCodes(2).Value());
}

TEST_F(CodeManagerTest, ReportCodesShowTheirFrame) {
    Open(StandardCodes);

    manager.optManage(0).Press();

    EXPECT_TRUE(manager.frmCodeReport.Visible());
    EXPECT_FALSE(manager.frmCode.Visible());
}

TEST_F(CodeManagerTest, StandardCodesShowTheirFrame) {
    Open(ReportCodes);

    manager.optManage(1).Press();

    EXPECT_FALSE(manager.frmCodeReport.Visible());
    EXPECT_TRUE(manager.frmCode.Visible());
}

TEST_F(CodeManagerTest, AnOptionThatWasSetAlreadyShowsItsFrameToo) {
    Open(StandardCodes);
    manager.frmCode.Visible(false);
    manager.frmCodeReport.Visible(true);

    manager.optManage(1).Value(true);

    EXPECT_TRUE(manager.frmCode.Visible());
    EXPECT_FALSE(manager.frmCodeReport.Visible());
}

TEST_F(CodeManagerTest, ARowClickCopiesTheRowInCapitals) {
    OpenWithRows(ReportCodes);

    manager.lstTable.Select(1);

    EXPECT_EQ(manager.txtCode.Text(), "C2");
    EXPECT_EQ(manager.txtCodeScheme.Text(), "SRT");
    EXPECT_EQ(manager.txtMeaning.Text(), "NODULE");
    EXPECT_EQ(manager.txtNewCode.Text(), "");
}

TEST_F(CodeManagerTest, ARowClickEmptiesTheAnnotation) {
    OpenWithRows(ReportCodes);
    manager.txtAnnotation.Typed("typed before");

    manager.lstTable.Select(0);

    EXPECT_EQ(manager.txtAnnotation.Text(), "");
}

TEST_F(CodeManagerTest, ARowClickInMaintenanceFillsTheMaintenanceBoxes) {
    OpenWithRows(StandardCodes);
    FillReportCode("X", "Y", "Z", "A");

    manager.lstTable.Select(0);

    EXPECT_EQ(manager.txtNewCode.Text(), "C1");
    EXPECT_EQ(manager.txtNewCodeScheme.Text(), "SRT");
    EXPECT_EQ(manager.txtNewMeaning.Text(), "CYST");
    EXPECT_EQ(manager.txtCode.Text() + manager.txtMeaning.Text() + manager.txtAnnotation.Text(), "");
    EXPECT_EQ(manager.txtCodeScheme.Text(), "Y");
}

TEST_F(CodeManagerTest, ARowClickInMaintenanceDisarmsTheAction) {
    OpenWithRows(StandardCodes);
    manager.optManageCodes(1).Press();

    manager.lstTable.Select(0);

    EXPECT_EQ(manager.PendingAction, "");
    for (int index = 0; index < 3; ++index)
        EXPECT_FALSE(manager.optManageCodes(index).Value());
}

TEST_F(CodeManagerTest, ARowClickWithReportCodesLeavesMaintenanceAlone) {
    OpenWithRows(ReportCodes);
    manager.PendingAction = "Add";
    manager.txtNewCode.Text("N1");

    manager.lstTable.Select(0);

    EXPECT_EQ(manager.PendingAction, "Add");
    EXPECT_EQ(manager.txtNewCode.Text(), "N1");
}

TEST_F(CodeManagerTest, AClickOnAnEmptyListOnlyClears) {
    Open(ReportCodes);
    FillReportCode("X", "Y", "Z", "A");

    manager.lstTable_ItemClick();

    EXPECT_EQ(manager.txtCode.Text() + manager.txtMeaning.Text() + manager.txtAnnotation.Text(), "");
    EXPECT_EQ(manager.txtCodeScheme.Text(), "Y");
}

TEST_F(CodeManagerTest, AddAppendsTheBoxesToTheFindings) {
    Open(ReportCodes, "Fn");
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.cmdAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"C1|SRT|CYST|3 mm"});
    EXPECT_EQ(editor.lstDiagnosis.Count(), 0);
}

TEST_F(CodeManagerTest, AddAppendsTheBoxesToTheDiagnoses) {
    Open(ReportCodes, "Dx");
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.cmdAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstDiagnosis), Texts{"C1|SRT|CYST|3 mm"});
    EXPECT_EQ(editor.lstFinding.Count(), 0);
}

TEST_F(CodeManagerTest, AddClearsTheBoxesButTheScheme) {
    Open(ReportCodes);
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.cmdAdd.Press();

    EXPECT_EQ(manager.txtCode.Text() + manager.txtMeaning.Text() + manager.txtAnnotation.Text(), "");
    EXPECT_EQ(manager.txtCodeScheme.Text(), "SRT");
}

TEST_F(CodeManagerTest, AddLeavesTheManagerOpenForTheNextCode) {
    Open(ReportCodes);
    FillReportCode("C1", "SRT", "CYST", "");
    manager.cmdAdd.Press();
    FillReportCode("C2", "SRT", "NODULE", "");

    manager.cmdAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), (Texts{"C1|SRT|CYST|", "C2|SRT|NODULE|"}));
    EXPECT_EQ(windows.calls, Texts{"MakeTopMost frmBase"});
}

TEST_F(CodeManagerTest, EnterInTheAnnotationAddsOnceHoweverOftenItIsPressed) {
    Open(ReportCodes);
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.txtAnnotation.Enter();
    manager.txtAnnotation.Enter();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"C1|SRT|CYST|3 mm"});
}

TEST_F(CodeManagerTest, EnterInTheAnnotationModifiesWhereNothingCanBeAdded) {
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    editor.lstFinding.Select(0);
    editor.cmdFnModify.Press();
    manager.txtAnnotation.Typed("new");

    manager.txtAnnotation.Enter();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"A|SRT|M|new"});
}

TEST_F(CodeManagerTest, AddWithoutACodeDoesNothing) {
    Open(ReportCodes);
    FillReportCode("", "SRT", "CYST", "3 mm");

    manager.cmdAdd.Press();

    EXPECT_EQ(editor.lstFinding.Count(), 0);
    EXPECT_EQ(manager.txtMeaning.Text(), "CYST");
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeManagerTest, ACodeIsNeverListedTwice) {
    Open(ReportCodes);
    editor.lstFinding.Add({"C1", "SRT", {"CYST", "first"}});
    FillReportCode("C1", "99SS", "OTHER", "second");

    manager.cmdAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"C1|SRT|CYST|first"});
    EXPECT_EQ(manager.txtCode.Text(), "C1");
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeManagerTest, ACodeInOtherLettersIsAnotherCode) {
    Open(ReportCodes);
    editor.lstFinding.Add({"c1", "SRT", {"CYST", ""}});
    FillReportCode("C1", "SRT", "CYST", "");

    manager.cmdAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), (Texts{"c1|SRT|CYST|", "C1|SRT|CYST|"}));
}

TEST_F(CodeManagerTest, TheOtherListsCodesDoNotCount) {
    Open(ReportCodes, "Fn");
    editor.lstDiagnosis.Add({"C1", "SRT", {"CYST", ""}});
    FillReportCode("C1", "SRT", "CYST", "");

    manager.cmdAdd.Press();

    EXPECT_EQ(editor.lstFinding.Count(), 1);
}

TEST_F(CodeManagerTest, AddForAnotherTableAddsNothingAndClears) {
    Open(ReportCodes, "Bo");
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.cmdAdd.Press();

    EXPECT_EQ(editor.lstFinding.Count() + editor.lstDiagnosis.Count(), 0);
    EXPECT_EQ(manager.txtCode.Text(), "");
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeManagerTest, AFailingAddIsShownPlainly) {
    Open(ReportCodes);
    FillReportCode("C1", "SRT", "CYST", "3 mm");
    editor.lstFinding.Watch([](Change) { throw Error(7, "screen", "no screen"); });

    manager.cmdAdd.Press();

    EXPECT_EQ(windows.Texts(), Texts{"no screen"});
}

TEST_F(CodeManagerTest, ModifyOverwritesTheFirstRowToo) {
    Open(ReportCodes);
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    editor.lstFinding.Select(0);
    FillReportCode("A", "SRT", "M", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"A|SRT|M|new"});
}

TEST_F(CodeManagerTest, ModifyOverwritesTheSelectedRowInItsPlace) {
    Open(ReportCodes, "Dx");
    for (const char* code : {"A", "B", "C"})
        editor.lstDiagnosis.Add({code, "SRT", {"M", "old"}});
    editor.lstDiagnosis.Select(1);
    FillReportCode("B2", "99SS", "N", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(RowsOf(editor.lstDiagnosis), (Texts{"A|SRT|M|old", "B2|99SS|N|new", "C|SRT|M|old"}));
    EXPECT_EQ(editor.lstDiagnosis.SelectedIndex(), 1);
}

TEST_F(CodeManagerTest, ModifyKeepsTheBoxes) {
    Open(ReportCodes);
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    editor.lstFinding.Select(0);
    FillReportCode("A", "SRT", "M", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(manager.txtAnnotation.Text(), "new");
}

TEST_F(CodeManagerTest, ModifyWithoutACodeDoesNothing) {
    Open(ReportCodes);
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    editor.lstFinding.Select(0);
    FillReportCode("", "SRT", "M", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"A|SRT|M|old"});
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeManagerTest, ModifyWithoutASelectedRowSaysSo) {
    Open(ReportCodes);
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    FillReportCode("B", "SRT", "M", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"A|SRT|M|old"});
    ASSERT_EQ(windows.Texts(), Texts{"No row of the report's list is selected"});
    EXPECT_EQ(windows.messages[0].buttons, Buttons::Ok);
    EXPECT_EQ(windows.messages[0].icon, Icon::None);
    EXPECT_EQ(windows.messages[0].title, "");
}

TEST_F(CodeManagerTest, ModifyForAnotherTableSaysSo) {
    Open(ReportCodes, "Ti");
    editor.lstFinding.Add({"A", "SRT", {"M", "old"}});
    editor.lstFinding.Select(0);
    FillReportCode("B", "SRT", "M", "new");

    manager.cmdModify.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), Texts{"A|SRT|M|old"});
    EXPECT_EQ(windows.Texts(), Texts{"The report keeps no list of codes for the table key \"Ti\""});
}

TEST_F(CodeManagerTest, ClearLeavesTheSchemeAsItWas) {
    Open(ReportCodes);
    FillReportCode("C1", "SRT", "CYST", "3 mm");

    manager.cmdClear.Press();

    EXPECT_EQ(manager.txtCode.Text() + manager.txtMeaning.Text() + manager.txtAnnotation.Text(), "");
    EXPECT_EQ(manager.txtCodeScheme.Text(), "SRT");
}

} // namespace
} // namespace tavrel::test
