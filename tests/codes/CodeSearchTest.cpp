#include "platform/error.h"
#include "tests/codes/CodesTest.h"

namespace tavrel::test {
namespace {

class CodeSearchTest : public CodesTest {
protected:
    CodeSearchTest() {
        workstation.AddCode("StdFinding", "S", "1", "Cyst");
        workstation.AddCode("StdFinding", "S", "2", "Nodule");
    }

    std::string LastStatement() const { return statements.empty() ? "none" : statements.back().text; }
};

TEST_F(CodeSearchTest, TheListIsEmptyOnOpening) {
    Open(ReportCodes);

    EXPECT_EQ(Listed(), Texts{});
    EXPECT_TRUE(statements.empty());
}

TEST_F(CodeSearchTest, SmallLettersAreTypedAsCapitalsAndAnApostropheAsABackQuote) {
    workstation.AddCode("StdFinding", "S", "3", "Hodgkin`s disease");
    Open(ReportCodes);

    Search("hodgkin's");

    EXPECT_EQ(manager.txtFind.Text(), "HODGKIN`S");
    EXPECT_EQ(Listed(), Texts{"3|S|HODGKIN`S DISEASE|"});
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeSearchTest, EveryKeyReleaseSearchesAgain) {
    Open(ReportCodes);

    Search("nod");

    EXPECT_EQ(statements.size(), 3U);
    EXPECT_EQ(Listed(), Texts{"2|S|NODULE|"});
}

TEST_F(CodeSearchTest, PastedTextIsUpperCasedForTheSearchOnly) {
    Open(ReportCodes);
    manager.txtFind.Typed("nodul");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"2|S|NODULE|"});
    EXPECT_NE(LastStatement().find("Like '%NODUL%'"), std::string::npos);
    EXPECT_EQ(manager.txtFind.Text(), "nodul");
}

TEST_F(CodeSearchTest, PastedApostrophesAreNotFilteredAndFail) {
    Open(ReportCodes);
    manager.txtFind.Typed("Hodgkin's");

    manager.txtFind.KeyUp();

    EXPECT_EQ(windows.messages.size(), 1U);
}

TEST_F(CodeSearchTest, BlanksAroundTheTextDoNotCount) {
    Open(ReportCodes);
    manager.txtFind.Typed("  cyst ");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"1|S|CYST|"});
}

TEST_F(CodeSearchTest, BlanksInsideTheTextStay) {
    workstation.AddCode("StdFinding", "S", "3", "Simple cyst");
    Open(ReportCodes);
    manager.txtFind.Typed("e c");

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed(), Texts{"3|S|SIMPLE CYST|"});
}

TEST_F(CodeSearchTest, ABoxOfBlanksListsTheWholeTable) {
    Open(ReportCodes);

    Search("   ");

    EXPECT_EQ(Listed().size(), 2U);
    EXPECT_EQ(LastStatement(), "SELECT CodeScheme, CodeValue, CodeMeaning  FROM StdFinding ORDER BY CodeMeaning ");
}

TEST_F(CodeSearchTest, AnEmptyBoxListsTheWholeTable) {
    Open(ReportCodes);

    manager.txtFind.KeyUp();

    EXPECT_EQ(Listed().size(), 2U);
}

TEST_F(CodeSearchTest, ASearchLeavesNoRowSelected) {
    Open(ReportCodes);
    ListWholeTable();
    manager.lstTable.Select(1);

    manager.txtFind.KeyUp();

    EXPECT_EQ(statements.size(), 2U);
    EXPECT_EQ(manager.lstTable.SelectedIndex(), -1);
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeSearchTest, TheKeyReleaseIgnoresWhatFails) {
    Open(ReportCodes, "no such key");
    windows.onMessage = [](const MessageBox&) { throw Error(1, "windows", "no screen"); };

    EXPECT_NO_THROW(manager.txtFind.KeyUp());
}

struct KeyAndTable {
    const char* key;
    const char* table;

    friend void PrintTo(const KeyAndTable& keyAndTable, std::ostream* out) { *out << keyAndTable.table; }
};

class TableKeyTest : public CodesTest, public testing::WithParamInterface<KeyAndTable> {};

TEST_P(TableKeyTest, NamesTheTableThatIsSearched) {
    workstation.AddCode(GetParam().table, "S", "1", "Of this table");
    Open(ReportCodes, GetParam().key);

    ListWholeTable();

    EXPECT_EQ(Listed(), Texts{"1|S|OF THIS TABLE|"});
}

INSTANTIATE_TEST_SUITE_P(Keys, TableKeyTest,
                         testing::Values(KeyAndTable{"Dx", "StdDiagnosis"}, KeyAndTable{"Fn", "StdFinding"},
                                         KeyAndTable{"Bo", "StdBodyPart"}, KeyAndTable{"Ti", "StdTitles"}),
                         testing::PrintToStringParamName());

TEST_F(CodeSearchTest, AKeyInOtherLettersNamesNoTable) {
    Open(ReportCodes, "FN");

    ListWholeTable();

    EXPECT_EQ(LastStatement(), "SELECT CodeScheme, CodeValue, CodeMeaning  FROM  ORDER BY CodeMeaning ");
    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(Listed(), Texts{});
}

TEST_F(CodeSearchTest, EnterPicksTheOneCodeThatIsFoundThoughTheLastKeyIsNotUpYet) {
    Open(ReportCodes);
    manager.txtFind.Typed("NODU");

    manager.txtFind.Enter();

    EXPECT_EQ(manager.txtCode.Text(), "2");
    EXPECT_EQ(manager.txtMeaning.Text(), "NODULE");
}

TEST_F(CodeSearchTest, EnterPicksNoneOfTwoCodesAndNoneOfNone) {
    Open(ReportCodes);
    manager.txtFind.Enter();
    EXPECT_EQ(manager.lstTable.Count(), 2);
    manager.txtFind.Typed("MASS");
    manager.txtFind.Enter();

    EXPECT_EQ(manager.txtCode.Text(), "");
    EXPECT_EQ(manager.lstTable.SelectedIndex(), -1);
}

TEST_F(CodeSearchTest, ACodeThatEnterPicksAmongTheStandardCodesIsTheOneToChange) {
    Open(StandardCodes);
    manager.txtFind.Typed("NODULE");

    manager.txtFind.Enter();
    manager.optManageCodes(1).Press();

    EXPECT_EQ(manager.txtNewCode.Text(), "2");
}

} // namespace
} // namespace tavrel::test
