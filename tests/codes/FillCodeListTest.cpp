#include "codes/FillCodeList.h"

#include "tests/codes/CodesTest.h"

namespace tavrel::test {
namespace {

class FillCodeListTest : public CodesTest {
protected:
    void Fill(std::string_view filter = "", std::string_view table = "StdFinding") {
        FillCodeList(global, manager.lstTable, table, filter);
    }
};

TEST_F(FillCodeListTest, AsksForTheWholeTableByMeaning) {
    Fill();

    EXPECT_EQ(statements, (std::vector<RanStatement>{
                              {"SELECT CodeScheme, CodeValue, CodeMeaning  FROM StdFinding ORDER BY CodeMeaning ",
                               Cursor::ForwardOnly}}));
}

TEST_F(FillCodeListTest, AsksForTheMeaningsThatContainTheFilter) {
    Fill("CYST", "StdDiagnosis");

    EXPECT_EQ(statements,
              (std::vector<RanStatement>{{" SELECT CodeScheme, CodeValue, CodeMeaning  FROM StdDiagnosis WHERE "
                                          "Upper(StdDiagnosis.CodeMeaning) Like '%CYST%' ORDER BY CodeMeaning",
                                          Cursor::ForwardOnly}}));
}

TEST_F(FillCodeListTest, ShowsCodeSchemeAndMeaningInCapitals) {
    workstation.AddCode("StdFinding", "Srt", "d-1a", "Cyst of the fémur");

    Fill();

    EXPECT_EQ(Listed(), Texts{"D-1A|SRT|CYST OF THE FÉMUR|"});
}

TEST_F(FillCodeListTest, OrdersByMeaning) {
    workstation.AddCode("StdFinding", "S", "1", "Nodule");
    workstation.AddCode("StdFinding", "S", "2", "Cyst");

    Fill();

    EXPECT_EQ(Listed(), (Texts{"2|S|CYST|", "1|S|NODULE|"}));
}

TEST_F(FillCodeListTest, RowsOfAnEarlierFillAreGone) {
    workstation.AddCode("StdFinding", "S", "1", "Nodule");
    workstation.AddCode("StdFinding", "S", "2", "Cyst");
    Fill();

    Fill("CYST");

    EXPECT_EQ(Listed(), Texts{"2|S|CYST|"});
}

TEST_F(FillCodeListTest, TheFilterMatchesInsideTheMeaningInAnyCase) {
    workstation.AddCode("StdFinding", "S", "1", "Healed fracture");
    workstation.AddCode("StdFinding", "S", "2", "Nodule");

    Fill("D FRAC");

    EXPECT_EQ(Listed(), Texts{"1|S|HEALED FRACTURE|"});
}

TEST_F(FillCodeListTest, PercentAndUnderscoreInTheFilterAreWildcards) {
    workstation.AddCode("StdFinding", "S", "1", "Left lung");
    workstation.AddCode("StdFinding", "S", "2", "Left long bone");
    workstation.AddCode("StdFinding", "S", "3", "Lung");

    Fill("L_FT%L_NG");

    EXPECT_EQ(Listed(), (Texts{"2|S|LEFT LONG BONE|", "1|S|LEFT LUNG|"}));
}

TEST_F(FillCodeListTest, TellsTheWidgetOnce) {
    for (const char* code : {"1", "2", "3"})
        workstation.AddCode("StdFinding", "S", code, "Nodule");
    std::vector<Change> told;
    manager.lstTable.Watch([&](Change change) { told.push_back(change); });

    Fill();

    EXPECT_EQ(told, std::vector{Change::Items});
}

TEST_F(FillCodeListTest, NoRowIsSelectedAfterwards) {
    workstation.AddCode("StdFinding", "S", "1", "Nodule");
    Fill();
    manager.lstTable.Select(0);

    Fill();

    EXPECT_EQ(manager.lstTable.SelectedIndex(), -1);
}

TEST_F(FillCodeListTest, AFailingStatementIsShownPlainly) {
    Fill("", "StdNothing");

    ASSERT_EQ(windows.messages.size(), 1U);
    EXPECT_NE(windows.messages[0].text.find("StdNothing"), std::string::npos);
    EXPECT_EQ(windows.messages[0].title, "");
    EXPECT_EQ(windows.messages[0].buttons, Buttons::Ok);
    EXPECT_EQ(windows.messages[0].icon, Icon::None);
}

TEST_F(FillCodeListTest, AFailingStatementLeavesTheListEmpty) {
    manager.lstTable.Add({"OLD"});

    Fill("", "StdNothing");

    EXPECT_EQ(Listed(), Texts{});
}

TEST_F(FillCodeListTest, AnErrorHalfWayKeepsTheRowsBeforeIt) {
    workstation.AddCode("StdFinding", "S", "1", "A first meaning");
    workstation.Execute("INSERT INTO StdFinding (CodeScheme, CodeMeaning) VALUES ('S', 'B has no code')");
    workstation.AddCode("StdFinding", "S", "3", "C is not reached");

    Fill();

    EXPECT_EQ(Listed(), Texts{"1|S|A FIRST MEANING|"});
    ASSERT_EQ(windows.messages.size(), 1U);
    EXPECT_NE(windows.messages[0].text.find("CodeValue"), std::string::npos);
}

TEST_F(FillCodeListTest, TheListIsCompleteWhenTheMessageAppears) {
    workstation.AddCode("StdFinding", "S", "1", "A first meaning");
    workstation.Execute("INSERT INTO StdFinding (CodeScheme, CodeMeaning) VALUES ('S', 'B has no code')");
    std::vector<std::string> events;
    manager.lstTable.Watch([&](Change) { events.emplace_back("widget told"); });
    windows.onMessage = [&](const MessageBox&) { events.emplace_back("message"); };

    Fill();

    EXPECT_EQ(events, (std::vector<std::string>{"widget told", "message"}));
}

TEST_F(FillCodeListTest, AnApostropheInTheFilterFailsAndIsShown) {
    workstation.AddCode("StdFinding", "S", "1", "Hodgkin's disease");

    Fill("HODGKIN'S");

    EXPECT_EQ(windows.messages.size(), 1U);
    EXPECT_EQ(Listed(), Texts{});
}

TEST_F(FillCodeListTest, AClosedCatalogueIsOpenedAgain) {
    global.catalogue->Close();

    Fill();

    EXPECT_EQ(windows.Texts(), Texts{});
}

TEST_F(FillCodeListTest, ACatalogueThatWasNeverOpenedIsShown) {
    global.catalogue.reset();

    Fill();

    EXPECT_EQ(windows.Texts(), Texts{"The catalogue has not been opened"});
}

} // namespace
} // namespace tavrel::test
