#include "editor/PrintTable.h"
#include "platform/attributes.h"
#include "platform/text.h"
#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

#include <random>

namespace tavrel::test {
namespace {

class WritingHelps : public testing::Test {
protected:
    WritingHelps() { station.OpenReport({.versions = 2}); }

    const std::string& Told() const { return editor.lblUnwritable.Text(); }
    /// What is underlined in a field.
    static Texts Underlined(const TextField& field) {
        Texts marked;
        for (const auto& [offset, length, kind] : field.Marks())
            marked.push_back(field.Text().substr(offset, length));
        return marked;
    }

    ReportingStation station;
    frmReport& editor = station.editor;
};

TEST_F(WritingHelps, SayNothingOfATextThatTheFileCanHold) {
    editor.txtReportAnnotation.Typed("Größe: 5 µm.");
    EXPECT_EQ(Told(), "");
    EXPECT_FALSE(editor.cmdWritePlainly.Visible());
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{});
}

TEST_F(WritingHelps, SayNothingOfAnyLetterInTheInterchangeForm) {
    station.global.reportForm = ReportForm::Interchange;
    editor.cmbReportTitle.Typed("Ακτινογραφία");
    editor.txtReportTitle.Typed("“size” ≥ 5");
    editor.txtReportAnnotation.Typed("胸部 שלום");
    EXPECT_EQ(Told(), "");
    EXPECT_FALSE(editor.cmdWritePlainly.Visible());
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{});
}

TEST_F(WritingHelps, JudgeAnewWhatWasTypedInAnotherForm) {
    editor.txtReportAnnotation.Typed("山\r\n≥");
    station.global.reportForm = ReportForm::Interchange;
    editor.txtReportAnnotation.Typed("山\r\n≥ 5");
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{});
    station.global.reportForm = ReportForm::Classic;
    editor.txtReportAnnotation.Typed("山\r\n≥ 56");
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), (Texts{"山", "≥"}));
}

TEST_F(WritingHelps, UnderlineEveryCharacterInEveryField) {
    editor.cmbReportTitle.Typed("α");
    editor.txtReportTitle.Typed("size ≥ 5");
    editor.txtReportAnnotation.Typed("é\r\n3→4 ≥");
    EXPECT_EQ(Underlined(editor.cmbReportTitle), Texts{"α"});
    EXPECT_EQ(Underlined(editor.txtReportTitle), Texts{"≥"});
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), (Texts{"→", "≥"}));
}

TEST_F(WritingHelps, NameTheCharacterAndItsLine) {
    editor.txtReportAnnotation.Typed("one\r\ntwo\r\nsize ≥ 5");
    EXPECT_EQ(Told(), "The file cannot hold \"≥\" (line 3).");
    EXPECT_EQ(editor.lblUnwritable.Emphasis(), Label::Tone::Attention);
}

TEST_F(WritingHelps, NameEachCharacterOnceAndNoMoreThanFitALine) {
    editor.cmbReportTitle.Typed("α");
    editor.txtReportTitle.Typed("αβ");
    editor.txtReportAnnotation.Typed("αβ≥≤≠");
    EXPECT_EQ(Told(), "The file cannot hold \"α\" (heading), \"β\" (title), \"≥\" (line 1) and 2 more.");
}

TEST_F(WritingHelps, SayWhatHasNoPlainForm) {
    editor.txtReportAnnotation.Typed("≥ 山");
    EXPECT_EQ(Told(), "The file cannot hold \"山\" (line 1, no plain form), \"≥\" (line 1).");
    EXPECT_TRUE(editor.cmdWritePlainly.Visible());
}

TEST_F(WritingHelps, OfferNothingWhereNothingHasAPlainForm) {
    editor.txtReportAnnotation.Typed("山");
    EXPECT_FALSE(editor.cmdWritePlainly.Visible());
}

TEST_F(WritingHelps, NameAControlCharacterThatCannotBeSeen) {
    editor.txtReportAnnotation.Typed("a\ab");
    EXPECT_EQ(Told(), "The file cannot hold a control character (line 1).");
}

TEST_F(WritingHelps, WriteEveryFieldPlainly) {
    editor.cmbReportTitle.Typed("α");
    editor.txtReportTitle.Typed("size ≥ 5");
    editor.txtReportAnnotation.Typed("Łódź: 3→4 山");
    editor.cmdWritePlainly.Press();
    EXPECT_EQ(editor.cmbReportTitle.Text(), "alpha");
    EXPECT_EQ(editor.txtReportTitle.Text(), "size >= 5");
    EXPECT_EQ(editor.txtReportAnnotation.Text(), "Lódz: 3->4 山");
}

TEST_F(WritingHelps, LeaveAReportUnsavedThatWasWrittenPlainly) {
    station.Document().Reading("≥");
    editor.txtReportAnnotation.Text("≥");
    editor.cmdWritePlainly.Press();
    EXPECT_EQ(editor.lblState.Text(), "Unsaved changes");
}

TEST_F(WritingHelps, StillUnderlineWhatHasNoPlainForm) {
    editor.txtReportAnnotation.Typed("≥ 山");
    editor.cmdWritePlainly.Press();
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{"山"});
    EXPECT_EQ(Told(), "The file cannot hold \"山\" (line 1, no plain form).");
    EXPECT_FALSE(editor.cmdWritePlainly.Visible());
}

TEST_F(WritingHelps, AreSilentWhenTheLastSuchCharacterIsGone) {
    editor.txtReportAnnotation.Typed("≥");
    editor.txtReportAnnotation.Typed("");
    EXPECT_EQ(Told(), "");
    EXPECT_EQ(editor.lblUnwritable.Emphasis(), Label::Tone::Neutral);
    EXPECT_FALSE(editor.cmdWritePlainly.Visible());
}

TEST_F(WritingHelps, JudgeATextThatTheFormFillsIn) {
    editor.txtReportAnnotation.Text("≥");
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{"≥"});
}

TEST_F(WritingHelps, JudgeAVersionThatCanBeChangedAgain) {
    editor.lstHistory.ListIndex(0);
    editor.cmdLastVersion.Press();
    editor.txtReportAnnotation.Typed("→");
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{"→"});
}

TEST_F(WritingHelps, JudgeAnEditedTextLikeOneThatIsNew) {
    const std::vector<std::string> pieces{"α", "\n", "a", "e\u0301", "≥ 3 cm", "\u0301", "\n\n", "\x01"};
    std::minstd_rand random;
    const auto upTo = [&](std::size_t most) { return static_cast<std::size_t>(random()) % (most + 1); };
    for (int edit = 0; edit < 2000; ++edit) {
        std::string text = editor.txtReportAnnotation.Text();
        auto at = upTo(text.size()), end = std::min(text.size(), at + upTo(text.size() > 60 ? 20 : 4));
        for (auto* edge : {&at, &end})
            while (*edge < text.size() && IsContinuation(text[*edge]))
                ++*edge;
        text.replace(at, end - at, pieces[upTo(pieces.size() - 1)]);
        editor.txtReportAnnotation.Typed(text);
        std::vector<TextMark> marks;
        for (const auto& [lost, offset] : station.global.ports.dicom.FindUnwritable(text, "ISO_IR 100"))
            marks.push_back({offset, lost.size()});
        ASSERT_EQ(editor.txtReportAnnotation.Marks(), marks) << "edit " << edit << ": " << text;
    }
}

TEST_F(WritingHelps, SayNothingOfAVersionThatCannotBeChanged) {
    editor.txtReportAnnotation.Typed("≥");
    editor.lstHistory.ListIndex(0);
    editor.txtReportAnnotation.Text("≥");
    EXPECT_EQ(Told(), "");
    EXPECT_EQ(Underlined(editor.txtReportAnnotation), Texts{});
}

TEST_F(WritingHelps, NameNothingThatASaveWouldTake) {
    editor.cmbReportTitle.Typed("α");
    editor.txtReportTitle.Typed("β");
    editor.txtReportAnnotation.Typed("5 ≥ 4");
    editor.cmdWritePlainly.Press();
    editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_EQ(station.store.sent.size(), 1U);
}

class PrintedLengths : public WritingHelps {
protected:
    std::string CountOf(std::size_t length) {
        std::string text;
        while (length-- > 0)
            text += "è";
        editor.txtReportAnnotation.Typed(text);
        return editor.lblPrintedLength.Text();
    }
};

TEST_F(PrintedLengths, AreNotCountedWhileTheyAreFarFromTheEnd) {
    EXPECT_EQ(CountOf(LongestPrintedReading * 4 / 5 - 1), "");
}

TEST_F(PrintedLengths, AreCountedInTensOfCharacters) {
    EXPECT_EQ(CountOf(1012), "About 1,010 of the 1,024 characters that can be printed");
    EXPECT_EQ(editor.lblPrintedLength.Emphasis(), Label::Tone::Neutral);
}

TEST_F(PrintedLengths, CallForAttentionWhenTheyAreTooLong) {
    CountOf(LongestPrintedReading);
    EXPECT_EQ(editor.lblPrintedLength.Emphasis(), Label::Tone::Neutral);
    EXPECT_EQ(CountOf(LongestPrintedReading + 1), "About 1,030 characters, of which 1,024 can be printed");
    EXPECT_EQ(editor.lblPrintedLength.Emphasis(), Label::Tone::Attention);
}

TEST_F(PrintedLengths, AreCountedNoFurtherThanAnyoneWouldShorten) {
    EXPECT_EQ(CountOf(2000), "About 2,000 characters, of which 1,024 can be printed");
    EXPECT_EQ(CountOf(2001), "More than 2,000 characters, of which 1,024 can be printed");
}

TEST_F(PrintedLengths, AreToldOfAVersionThatCannotBeChangedToo) {
    editor.lstHistory.ListIndex(0);
    editor.txtReportAnnotation.Text(std::string(1100, 'x'));
    EXPECT_EQ(editor.lblPrintedLength.Emphasis(), Label::Tone::Attention);
}

/// What the widget of a text field is told.
class FillsOfTheReading : public WritingHelps {
protected:
    FillsOfTheReading() {
        editor.txtReportAnnotation.Watch([this](Change change) {
            if (change == Change::Text || change == Change::Revision)
                told.push_back(change);
        });
    }

    std::vector<Change> told;
};

TEST_F(FillsOfTheReading, CanBeUndoneWithinOneReport) {
    editor.txtReportAnnotation.Typed("typed");
    editor.lstHistory.ListIndex(1);
    EXPECT_EQ(told, std::vector{Change::Revision});
}

TEST_F(FillsOfTheReading, ForgetWhatWasTypedForAnotherReportOfThePatient) {
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    EXPECT_EQ(told, std::vector{Change::Text});
}

TEST_F(FillsOfTheReading, ForgetWhatWasTypedForTheReportBeforeANewOne) {
    station.OpenImages();
    editor.cmdNew.Press();
    EXPECT_EQ(told.back(), Change::Text);
    told.clear();
    station.clock.now.second += 1;
    editor.cmdNew.Press();
    EXPECT_EQ(told, std::vector{Change::Text});
}

TEST_F(FillsOfTheReading, ForgetWhatWasTypedForAnotherReportAfterAFillThatFailed) {
    station.Execute("ALTER TABLE StdTitles RENAME TO Away");
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.Execute("ALTER TABLE Away RENAME TO StdTitles");
    told.clear();
    editor.lstHistory.ListIndex(0);
    EXPECT_EQ(told, std::vector{Change::Text});
}

} // namespace
} // namespace tavrel::test
