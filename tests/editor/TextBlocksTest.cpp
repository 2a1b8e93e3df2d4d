#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class TextBlocksOfTheSite : public testing::Test {
protected:
    TextBlocksOfTheSite() {
        Add("template", "Chest CT", "Lungs: ___\nHeart: ___");
        Add("template", "CT", "Of the CT: ___");
        Add("template", "Plain", "Nothing to add.");
        Add("short", "nad", "No abnormality.");
        Add("short", "é", "état normal");
        Add("short", "/s", "Size ___ mm");
        station.OpenReport({.reading = "", .versions = 2});
    }

    void Add(const std::string& kind, const std::string& name, const std::string& body) {
        station.Insert("TextBlock", {{"Kind", kind}, {"Name", name}, {"Body", body}});
    }
    /// A person types at the end of the reading.
    void Type(const std::string& text) {
        reading.Typed(reading.Text() + text);
        reading.CharacterTyped(reading.Text().size());
    }
    std::string Selected() const {
        return reading.Text().substr(reading.Selection().offset, reading.Selection().length);
    }

    ReportingStation station;
    frmReport& editor = station.editor;
    TextBox& reading = editor.txtReportAnnotation;
};

TEST_F(TextBlocksOfTheSite, FillAnEmptyReadingWhenAHeadingIsChosen) {
    editor.cmbReportTitle.Typed("Chest CT");
    EXPECT_EQ(reading.Text(), "Lungs: ___\r\nHeart: ___");
    EXPECT_EQ(editor.lblState.Text(), "Unsaved changes");
}

TEST_F(TextBlocksOfTheSite, NeverGoOverWhatIsTyped) {
    Type("Mine");
    editor.cmbReportTitle.Typed("Chest CT");
    EXPECT_EQ(reading.Text(), "Mine");
}

TEST_F(TextBlocksOfTheSite, FollowTheHeadingWhileNothingIsTyped) {
    editor.cmbReportTitle.Typed("CT");
    EXPECT_EQ(reading.Text(), "Of the CT: ___");
    editor.cmbReportTitle.Typed("CT of");
    EXPECT_EQ(reading.Text(), "");
    editor.cmbReportTitle.Typed("Chest CT");
    Type("x");
    editor.cmbReportTitle.Typed("CT");
    EXPECT_EQ(reading.Text(), "Lungs: ___\r\nHeart: ___x");
}

TEST_F(TextBlocksOfTheSite, AreAnEditThatCanBeUndone) {
    std::vector<Change> told;
    reading.Watch([&](Change change) { told.push_back(change); });
    editor.cmbReportTitle.Typed("Plain");
    EXPECT_TRUE(std::ranges::count(told, Change::Revision) == 1 && std::ranges::count(told, Change::Text) == 0);
}

TEST_F(TextBlocksOfTheSite, StayOutOfADraftThatIsPutBack) {
    editor.cmbReportTitle.Typed("Plain");
    reading.Typed("");
    station.draftTimer.Fire();
    editor.lstHistory.ListIndex(1);
    ASSERT_TRUE(editor.cmdPutBack.Visible());
    int edits = 0;
    reading.Watch([&](Change change) { edits += change == Change::Revision ? 1 : 0; });
    editor.cmdPutBack.Press();
    EXPECT_EQ(editor.cmbReportTitle.Text(), "Plain");
    EXPECT_EQ(edits, 0);
}

TEST_F(TextBlocksOfTheSite, FillTheReadingAfterADraftThatCouldNotBePutBack) {
    editor.cmbReportTitle.Typed("Plain");
    reading.Typed("");
    station.draftTimer.Fire();
    editor.lstHistory.ListIndex(1);
    editor.cmbReportTitle.Watch([](Change) { throw Error(7, "screen", "No screen"); });
    editor.cmdPutBack.Press();
    editor.cmbReportTitle.Watch({});
    editor.cmbReportTitle.Typed("Chest CT");
    EXPECT_EQ(reading.Text(), "Lungs: ___\r\nHeart: ___");
}

TEST_F(TextBlocksOfTheSite, DoNotFillAVersionThatCannotBeChanged) {
    editor.lstHistory.ListIndex(0);
    editor.cmbReportTitle.Typed("Plain");
    Type("nad ");
    EXPECT_EQ(reading.Text(), "nad ");
}

TEST_F(TextBlocksOfTheSite, OfOneReportAreNotTakenAwayInAnother) {
    editor.cmbReportTitle.Typed("Plain");
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .reading = "Nothing to add."});
    editor.cmbReportTitle.Typed("CT of");
    EXPECT_EQ(reading.Text(), "Nothing to add.");
}

TEST_F(TextBlocksOfTheSite, AreWrittenOutAfterABlankAndPunctuation) {
    for (const auto& [typed, written] :
         std::vector<std::pair<std::string, std::string>>{{"nad ", "No abnormality. "},
                                                          {"nad.", "No abnormality."},
                                                          {"nad,", "No abnormality.,"},
                                                          {"nad\r\n", "No abnormality.\r\n"},
                                                          {"Heart:\r\nnad ", "Heart:\r\nNo abnormality. "},
                                                          {"(é)", "(état normal)"},
                                                          {"a /s ", "a Size ___ mm "}}) {
        reading.Typed("");
        Type(typed);
        EXPECT_EQ(reading.Text(), written);
    }
}

TEST_F(TextBlocksOfTheSite, AreNotWrittenOutWithinWordsOrWithoutAnEnd) {
    for (const std::string typed : {"nad", "nada ", "granad ", "né ", "nad  ", "nad-", " ", ""}) {
        reading.Typed("");
        Type(typed);
        EXPECT_EQ(reading.Text(), typed);
    }
}

TEST_F(TextBlocksOfTheSite, AreWrittenOutAmidTheText) {
    reading.Typed("Lungs nad and heart.");
    reading.CharacterTyped(10);
    EXPECT_EQ(reading.Text(), "Lungs No abnormality. and heart.");
}

TEST_F(TextBlocksOfTheSite, AreSteppedThroughInBothDirections) {
    editor.cmbReportTitle.Typed("Chest CT");
    reading.Step(false);
    EXPECT_EQ(reading.Selection(), (TextMark{7, 3}));
    reading.Step(false);
    EXPECT_EQ(reading.Selection(), (TextMark{19, 3}));
    reading.Step(false);
    EXPECT_EQ(reading.Selection(), (TextMark{7, 3}));
    reading.Step(true);
    EXPECT_EQ(reading.Selection(), (TextMark{19, 3}));
}

TEST_F(TextBlocksOfTheSite, AreSteppedIntoWhereTheyWereWrittenOut) {
    reading.Typed("___ first /s ");
    reading.CharacterTyped(13);
    reading.Select({reading.Text().size(), 0});
    reading.Step(false);
    EXPECT_EQ(reading.Selection(), (TextMark{15, 3}));
}

TEST_F(TextBlocksOfTheSite, AreCountedUntilTheyAreFilledIn) {
    editor.cmbReportTitle.Typed("Chest CT");
    EXPECT_EQ(editor.lblAdvice.Text(), "2 blanks to fill in: F3 goes to the next");
    reading.Typed("Lungs: ___\r\nHeart: normal");
    EXPECT_EQ(editor.lblAdvice.Text(), "1 blank to fill in: F3 goes there");
    reading.Typed("Lungs: __\r\nHeart: normal");
    EXPECT_EQ(editor.lblAdvice.Text(), "");
}

TEST_F(TextBlocksOfTheSite, AreAskedAboutBeforeAnApproval) {
    editor.cmbReportTitle.Typed("Chest CT");
    station.windows.answers = {Answer::No};
    editor.cmdApprove.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"2 blanks of the reading are not filled in (\"___\")."});
    EXPECT_EQ(Selected(), "___");
    EXPECT_EQ(station.store.sent.size(), 0U);
}

TEST_F(TextBlocksOfTheSite, MayBeApprovedAsTheyAre) {
    editor.cmbReportTitle.Typed("CT");
    station.windows.answers = {Answer::Yes, Answer::Yes};
    editor.cmdApprove.Press();
    EXPECT_EQ(station.store.sent.size(), 1U);
    EXPECT_EQ(editor.lblAdvice.Text(), "");
}

TEST_F(TextBlocksOfTheSite, WithLettersThatTheFileLacksAreUnderlined) {
    Add("short", "ge", "≥");
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .reading = ""});
    Type("ge ");
    EXPECT_EQ(reading.Text(), "≥ ");
    EXPECT_EQ(reading.Marks().size(), 1U);
}

TEST_F(TextBlocksOfTheSite, AreReadWithTheNextReportWhereTheyCouldNotBe) {
    station.Execute("ALTER TABLE TextBlock RENAME TO Elsewhere");
    AnotherProcess another(station);
    another.automation.LoadSRSeries("1.2.3.2.1");
    station.Execute("ALTER TABLE Elsewhere RENAME TO TextBlock");
    another.automation.LoadSRSeries("1.2.3.2.1");
    another.editor.cmbReportTitle.Typed("Plain");
    EXPECT_EQ(another.editor.txtReportAnnotation.Text(), "Nothing to add.");
}

TEST(TextBlocks, ThatNoCatalogueHoldsAreNoFault) {
    ReportingStation station;
    station.Execute("DROP TABLE TextBlock");
    station.OpenReport({.reading = "___"});
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_EQ(station.editor.lblAdvice.Text(), "");
    station.windows.answers = {Answer::No};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.windows.messages.front().title, "Approving document ... ");
}

} // namespace
} // namespace tavrel::test
