#include "platform/error.h"
#include "tests/codes/CodesTest.h"
#include "tests/support/OpenQueries.h"

#include <algorithm>
#include <array>

namespace tavrel::test {
namespace {

enum Action { Add, Modify, Delete };

void PrintTo(Action action, std::ostream* out) {
    constexpr std::array names{"Add", "Modify", "Delete"};
    *out << names.at(static_cast<std::size_t>(action));
}

class CodeMaintenanceTest : public CodesTest {
protected:
    CodeMaintenanceTest() { workstation.AddCode("StdFinding", "SRT", "C1", "Cyst"); }

    /// Arms an action on what is then typed into the boxes, and carries it out.
    void Do(Action action, std::string_view code, std::string_view scheme, std::string_view meaning) {
        manager.optManageCodes(action).Press();
        FillNewCode(code, scheme, meaning);
        manager.cmdDone.Press();
    }
    std::string NewCodeBoxes() const {
        return manager.txtNewCode.Text() + "|" + manager.txtNewCodeScheme.Text() + "|" + manager.txtNewMeaning.Text();
    }
    bool AnyActionSet() const {
        return manager.optManageCodes(0).Value() || manager.optManageCodes(1).Value() ||
               manager.optManageCodes(2).Value();
    }
    const RanStatement wholeTable{"SELECT CodeScheme, CodeValue, CodeMeaning  FROM StdFinding ORDER BY CodeMeaning ",
                                  Cursor::ForwardOnly};
    bool Ran(std::string_view text, Cursor cursor) const {
        return std::find(statements.begin(), statements.end(), RanStatement{std::string(text), cursor}) !=
               statements.end();
    }
};

TEST_F(CodeMaintenanceTest, AddEmptiesTheBoxesAndArms) {
    Open(StandardCodes);
    FillNewCode("X", "Y", "Z");

    manager.optManageCodes(Add).Press();

    EXPECT_EQ(NewCodeBoxes(), "||");
    EXPECT_EQ(manager.PendingAction, "Add");
    EXPECT_TRUE(manager.optManageCodes(Add).Value());
}

TEST_F(CodeMaintenanceTest, AddEmptiesTheBoxesOfASelectedRowToo) {
    Open(StandardCodes);
    ListWholeTable();
    manager.lstTable.Select(0);

    manager.optManageCodes(Add).Press();

    EXPECT_EQ(NewCodeBoxes(), "||");
}

TEST_F(CodeMaintenanceTest, ModifyTakesTheSelectedRowAndArms) {
    Open(StandardCodes);
    ListWholeTable();
    manager.lstTable.Select(0);
    FillNewCode("X", "Y", "Z");

    manager.optManageCodes(Modify).Press();

    EXPECT_EQ(NewCodeBoxes(), "C1|SRT|CYST");
    EXPECT_EQ(manager.PendingAction, "Update");
    EXPECT_TRUE(manager.optManageCodes(Modify).Value());
}

TEST_F(CodeMaintenanceTest, DeleteTakesTheSelectedRowAndArms) {
    Open(StandardCodes);
    ListWholeTable();
    manager.lstTable.Select(0);
    FillNewCode("X", "Y", "Z");

    manager.optManageCodes(Delete).Press();

    EXPECT_EQ(NewCodeBoxes(), "C1|SRT|CYST");
    EXPECT_EQ(manager.PendingAction, "Delete");
    EXPECT_TRUE(manager.optManageCodes(Delete).Value());
}

TEST_F(CodeMaintenanceTest, ModifyAndDeleteWithoutASelectedRowLeaveEmptyBoxes) {
    Open(StandardCodes);
    ListWholeTable();
    for (const Action action : {Modify, Delete}) {
        FillNewCode("X", "Y", "Z");

        manager.optManageCodes(action).Press();

        EXPECT_EQ(NewCodeBoxes(), "||");
        EXPECT_TRUE(windows.messages.empty());
    }
    EXPECT_EQ(manager.PendingAction, "Delete");
}

TEST_F(CodeMaintenanceTest, UndoDropsTheAction) {
    Open(StandardCodes);
    manager.optManageCodes(Delete).Press();
    FillNewCode("C1", "SRT", "CYST");

    manager.cmdUndo.Press();
    manager.cmdDone.Press();

    EXPECT_EQ(NewCodeBoxes(), "||");
    EXPECT_EQ(manager.PendingAction, "");
    EXPECT_FALSE(AnyActionSet());
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_F(CodeMaintenanceTest, DoneWithNothingArmedOnlyEmptiesTheBoxes) {
    Open(StandardCodes);
    FillNewCode("C1", "SRT", "CYST");

    manager.cmdDone.Press();

    EXPECT_EQ(NewCodeBoxes(), "||");
    EXPECT_TRUE(statements.empty());
}

TEST_F(CodeMaintenanceTest, DoneEmptiesTheBoxesAndDisarms) {
    Open(StandardCodes);

    Do(Add, "N1", "", "Nodule");

    EXPECT_EQ(NewCodeBoxes(), "||");
    EXPECT_EQ(manager.PendingAction, "");
    EXPECT_FALSE(AnyActionSet());
}

TEST_F(CodeMaintenanceTest, AddStoresACodeOfTheLocalScheme) {
    Open(StandardCodes);

    Do(Add, "N1", "SRT", "Nodule");

    EXPECT_EQ(Stored(), (Texts{"C1|SRT|Cyst", "N1|99SS|Nodule"}));
}

TEST_F(CodeMaintenanceTest, AddLooksTheCodeUpAndThenListsTheTable) {
    Open(StandardCodes);

    Do(Add, "n1", "", "Nodule");

    EXPECT_EQ(statements, (std::vector<RanStatement>{
                              {" SELECT * from StdFinding WHERE CodeValue = 'N1 ' ", Cursor::Dynamic}, wholeTable}));
}

TEST_F(CodeMaintenanceTest, ACodeTypedInSmallLettersIsStoredSoAndListedInCapitals) {
    Open(StandardCodes);

    Do(Add, "n1", "", "Nodule");

    EXPECT_EQ(Stored(), (Texts{"C1|SRT|Cyst", "n1|99SS|Nodule"}));
    EXPECT_EQ(Listed(), (Texts{"C1|SRT|CYST|", "N1|99SS|NODULE|"}));
}

TEST_F(CodeMaintenanceTest, ACodeStoredInSmallLettersIsNotFoundAgain) {
    Open(StandardCodes);
    Do(Add, "n1", "", "Nodule");

    Do(Add, "n1", "", "Another nodule");

    EXPECT_EQ(Stored(), (Texts{"C1|SRT|Cyst", "n1|99SS|Nodule", "n1|99SS|Another nodule"}));
}

TEST_F(CodeMaintenanceTest, AnAddedMeaningKeepsItsLetters) {
    Open(StandardCodes);

    Do(Add, "N1", "", "Fracture of the fémur");

    EXPECT_EQ(Stored().back(), "N1|99SS|Fracture of the fémur");
}

TEST_F(CodeMaintenanceTest, AddingAKnownCodeWritesNothingAndSaysNothing) {
    Open(StandardCodes);

    Do(Add, "c1", "", "Another cyst");

    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
    EXPECT_TRUE(windows.messages.empty());
    EXPECT_EQ(NewCodeBoxes(), "||");
    EXPECT_EQ(Listed(), Texts{"C1|SRT|CYST|"});
}

TEST_F(CodeMaintenanceTest, AddNeedsACodeAndAMeaning) {
    Open(StandardCodes);

    Do(Add, "", "", "Nodule");
    Do(Add, "N1", "", "");

    EXPECT_TRUE(statements.empty());
    EXPECT_TRUE(windows.messages.empty());
    EXPECT_EQ(NewCodeBoxes(), "||");
}

TEST_F(CodeMaintenanceTest, AfterAnActionTheSearchFilterIsDropped) {
    workstation.AddCode("StdFinding", "SRT", "C2", "Nodule");
    Open(StandardCodes);
    Search("cyst");

    Do(Add, "N1", "", "Opacity");

    EXPECT_EQ(Listed(), (Texts{"C1|SRT|CYST|", "C2|SRT|NODULE|", "N1|99SS|OPACITY|"}));
    EXPECT_EQ(manager.txtFind.Text(), "CYST");
}

TEST_F(CodeMaintenanceTest, ModifyWritesTheBoxes) {
    Open(StandardCodes);

    Do(Modify, "c1", "99XX", "Simple cyst");

    EXPECT_EQ(Stored(), Texts{"c1|99XX|Simple cyst"});
    EXPECT_EQ(statements, (std::vector<RanStatement>{
                              {" SELECT * from StdFinding WHERE CodeValue = 'C1 ' ", Cursor::Dynamic}, wholeTable}));
}

TEST_F(CodeMaintenanceTest, ARowModifiedFromTheListIsStoredInCapitals) {
    Open(StandardCodes);
    ListWholeTable();
    manager.lstTable.Select(0);
    manager.optManageCodes(Modify).Press();

    manager.cmdDone.Press();

    EXPECT_EQ(Stored(), Texts{"C1|SRT|CYST"});
}

TEST_F(CodeMaintenanceTest, ModifyChangesOneRowOnly) {
    workstation.AddCode("StdFinding", "SRT", "C2", "Nodule");
    Open(StandardCodes);

    Do(Modify, "C2", "SRT", "Round nodule");

    EXPECT_EQ(Stored(), (Texts{"C1|SRT|Cyst", "C2|SRT|Round nodule"}));
    EXPECT_EQ(Listed(), (Texts{"C1|SRT|CYST|", "C2|SRT|ROUND NODULE|"}));
}

TEST_F(CodeMaintenanceTest, ModifyingAnUnknownCodeLeavesTheListAsItWas) {
    workstation.AddCode("StdFinding", "SRT", "C2", "Nodule");
    Open(StandardCodes);
    Search("cyst");

    Do(Modify, "UNKNOWN", "SRT", "Opacity");

    EXPECT_EQ(Listed(), Texts{"C1|SRT|CYST|"});
    EXPECT_EQ(Stored(), (Texts{"C1|SRT|Cyst", "C2|SRT|Nodule"}));
    EXPECT_TRUE(windows.messages.empty());
    EXPECT_EQ(NewCodeBoxes(), "||");
}

TEST_F(CodeMaintenanceTest, ModifyNeedsACodeAndAMeaning) {
    Open(StandardCodes);

    Do(Modify, "", "SRT", "Cyst");
    Do(Modify, "C1", "SRT", "");

    EXPECT_TRUE(statements.empty());
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_F(CodeMaintenanceTest, ModifyMayEmptyTheScheme) {
    Open(StandardCodes);

    Do(Modify, "C1", "", "Cyst");

    EXPECT_EQ(Stored(), Texts{"C1||Cyst"});
}

TEST_F(CodeMaintenanceTest, AddAndModifyCloseTheirQueryBeforeTheyListTheTable) {
    Texts open;
    Open(StandardCodes);
    global.catalogue = std::make_unique<OpenQueries>(std::move(global.catalogue), open);
    for (const Action action : {Add, Modify}) {
        Texts openWhenListed{"not listed"};
        manager.lstTable.Watch([&](Change) { openWhenListed = open; });

        Do(action, "C1", "SRT", "Cyst");

        EXPECT_EQ(openWhenListed, Texts{});
    }
}

TEST_F(CodeMaintenanceTest, DeleteRemovesEveryRowOfTheCodeWithoutAsking) {
    workstation.AddCode("StdFinding", "99SS", "C1", "Second cyst");
    workstation.AddCode("StdFinding", "SRT", "C2", "Nodule");
    Open(StandardCodes);

    Do(Delete, "c1", "", "");

    EXPECT_EQ(Stored(), Texts{"C2|SRT|Nodule"});
    EXPECT_EQ(Listed(), Texts{"C2|SRT|NODULE|"});
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodeMaintenanceTest, DeleteRunsItsStatementOnADynamicCursorAndThenListsTheTable) {
    Open(StandardCodes);

    Do(Delete, "c1", "", "");

    EXPECT_EQ(statements, (std::vector<RanStatement>{
                              {" DELETE from StdFinding WHERE CodeValue = 'C1 ' ", Cursor::Dynamic}, wholeTable}));
}

TEST_F(CodeMaintenanceTest, DeleteOfASelectedRowTakesItsCode) {
    workstation.AddCode("StdFinding", "SRT", "C2", "Nodule");
    Open(StandardCodes);
    ListWholeTable();
    manager.lstTable.Select(1);
    manager.optManageCodes(Delete).Press();

    manager.cmdDone.Press();

    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_F(CodeMaintenanceTest, DeletingAnUnknownCodeListsTheTable) {
    Open(StandardCodes);

    Do(Delete, "UNKNOWN", "", "");

    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
    EXPECT_EQ(Listed(), Texts{"C1|SRT|CYST|"});
}

TEST_F(CodeMaintenanceTest, DeletingWithAnEmptyCodeStillRunsTheStatement) {
    Open(StandardCodes);

    Do(Delete, "", "", "");

    EXPECT_TRUE(Ran(" DELETE from StdFinding WHERE CodeValue = ' ' ", Cursor::Dynamic));
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_F(CodeMaintenanceTest, WorksOnTheTableOfTheKey) {
    Open(StandardCodes, "Ti");

    Do(Add, "T1", "", "Chest radiograph");

    EXPECT_EQ(Stored("StdTitles"), Texts{"T1|99SS|Chest radiograph"});
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_F(CodeMaintenanceTest, AnUnknownKeyFailsAndSaysSo) {
    Open(StandardCodes, "Xx");

    Do(Add, "N1", "", "Nodule");

    EXPECT_TRUE(Ran(" SELECT * from  WHERE CodeValue = 'N1 ' ", Cursor::Dynamic));
    EXPECT_EQ(windows.messages.size(), 1U);
}

/// What a report's file cannot hold: code, scheme, meaning, and what is said of it.
struct UnwritableCode {
    std::string_view name;
    std::string code, scheme, meaning, words;
    friend void PrintTo(const UnwritableCode& unwritable, std::ostream* out) { *out << unwritable.name; }
};

class UnwritableCodes : public CodeMaintenanceTest, public testing::WithParamInterface<UnwritableCode> {};

TEST_P(UnwritableCodes, AreRefusedInWordsAndCanBePutRight) {
    const auto& [name, code, scheme, meaning, words] = GetParam();
    Open(StandardCodes);

    Do(Modify, code, scheme, meaning);

    EXPECT_EQ(windows.Texts(), Texts{words});
    EXPECT_EQ(NewCodeBoxes(), code + "|" + scheme + "|" + meaning);
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

INSTANTIATE_TEST_SUITE_P(
    , UnwritableCodes,
    testing::Values(UnwritableCode{"LongCode", std::string(17, 'C'), "", "Cyst",
                                   "The code is longer than 16 characters: " + std::string(17, 'C')},
                    UnwritableCode{"LongScheme", "C1", std::string(17, 'S'), "Cyst",
                                   "The coding scheme is longer than 16 characters: " + std::string(17, 'S')},
                    UnwritableCode{"LongMeaning", "C1", "SRT", std::string(65, 'M'),
                                   "The description is longer than 64 characters: " + std::string(65, 'M')},
                    UnwritableCode{"Backslash", "C1", "SRT", "CT\\MR",
                                   "The description holds a control character or a backslash: CT\\MR"}),
    testing::PrintToStringParamName());

TEST_F(CodeMaintenanceTest, AddTakesCodesOfTheFullLengthCountedInCharacters) {
    Open(StandardCodes);
    std::string meaning;
    for (int letter = 0; letter < 64; ++letter)
        meaning += "é";

    Do(Add, std::string(16, 'C'), "", meaning);

    EXPECT_EQ(windows.Texts(), Texts{});
    EXPECT_EQ(Stored().size(), 2U);
}

TEST_F(CodeMaintenanceTest, AHeadingWithAnApostropheIsStoredAndSaidToFitNoReport) {
    Open(StandardCodes, "Ti");

    Do(Add, "H1", "", "Child's chest");
    Do(Modify, "H1", "99SS", "Children's chest");

    EXPECT_EQ(windows.Texts(), (Texts{"The heading is stored as it was typed. No report can be saved with it, as it "
                                      "holds an apostrophe: Child's chest",
                                      "The heading is stored as it was typed. No report can be saved with it, as it "
                                      "holds an apostrophe: Children's chest"}));
    EXPECT_EQ(Stored("StdTitles"), Texts{"H1|99SS|Children's chest"});
}

TEST_F(CodeMaintenanceTest, AnApostropheInAnyOtherCodesMeaningIsNothingToSay) {
    Open(StandardCodes);

    Do(Add, "F2", "", "Hodgkin's disease");

    EXPECT_EQ(windows.Texts(), Texts{});
}

class FailingActionTest : public CodeMaintenanceTest, public testing::WithParamInterface<Action> {};

TEST_P(FailingActionTest, IsShownAndKeepsBoxesAndAction) {
    Open(StandardCodes);
    workstation.Execute("DROP TABLE StdFinding");

    Do(GetParam(), "C1", "SRT", "Cyst");

    ASSERT_EQ(windows.messages.size(), 1U);
    EXPECT_NE(windows.messages[0].text.find("StdFinding"), std::string::npos);
    EXPECT_EQ(NewCodeBoxes(), "C1|SRT|Cyst");
    EXPECT_NE(manager.PendingAction, "");
    EXPECT_TRUE(manager.optManageCodes(GetParam()).Value());
}

TEST_P(FailingActionTest, IsShownPlainly) {
    class Locked : public ForwardingConnection {
    public:
        using ForwardingConnection::ForwardingConnection;
        std::unique_ptr<ResultSet> OpenResultSet(std::string_view, Cursor) override {
            throw Error(13, "driver", "The table is locked");
        }
    };
    Open(StandardCodes);
    global.catalogue = std::make_unique<Locked>(std::move(global.catalogue));

    Do(GetParam(), "C1", "SRT", "Cyst");

    EXPECT_EQ(windows.Texts(), Texts{"The table is locked"});
}

TEST_P(FailingActionTest, AnApostropheInTheCodeLosesNothing) {
    Open(StandardCodes);

    Do(GetParam(), "O'BRIEN", "SRT", "Cyst");

    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(NewCodeBoxes(), "O'BRIEN|SRT|Cyst");
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_P(FailingActionTest, ACodeThatWouldTurnTheStatementIsRefused) {
    Open(StandardCodes);

    Do(GetParam(), "X' OR 1=1 OR 'A'='B", "SRT", "Cyst");

    ASSERT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(Stored(), Texts{"C1|SRT|Cyst"});
}

TEST_P(FailingActionTest, CanBeDoneAgainOnceTheCauseIsGone) {
    Open(StandardCodes);
    workstation.Execute("ALTER TABLE StdFinding RENAME TO Away");
    Do(GetParam(), "C1", "SRT", "Cyst");
    workstation.Execute("ALTER TABLE Away RENAME TO StdFinding");

    manager.cmdDone.Press();

    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(manager.PendingAction, "");
    EXPECT_EQ(NewCodeBoxes(), "||");
}

INSTANTIATE_TEST_SUITE_P(Actions, FailingActionTest, testing::Values(Add, Modify, Delete),
                         testing::PrintToStringParamName());

} // namespace
} // namespace tavrel::test
