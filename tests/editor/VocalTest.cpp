#include "tests/editor/ReportingStation.h"
#include "tests/support/FakeDictation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class Vocals : public testing::Test {
protected:
    Vocals() {
        station.global.ports.dictation = &dictation;
        station.Insert("Writing", {{"UserName", ""}, {"Dictation", "dictate --stdout"}});
        station.OpenReport({.reading = "Heart normal.", .versions = 2});
        reading.Select({13, 0});
    }

    const std::string& Said() const { return editor.lblAdvice.Text(); }

    FakeDictation dictation;
    ReportingStation station;
    frmReport& editor = station.editor;
    TextBox& reading = editor.txtReportAnnotation;
};

TEST_F(Vocals, SayThatNoCommandIsSet) {
    ReportingStation bare;
    bare.global.ports.dictation = &dictation;
    bare.OpenReport({});
    bare.editor.cmdVocal.Press();
    EXPECT_EQ(bare.windows.Texts(), Texts{"No dictation command is set. \"orbenta-catalogue writing --dictation "
                                          "COMMAND\" sets the site's or a physician's."});
}

TEST_F(Vocals, PutTheTextAtTheCursor) {
    editor.cmdVocal.Press();
    EXPECT_EQ(dictation.command, "dictate --stdout");
    EXPECT_EQ(Said(), "Dictating: \"Vocal\" ends it");
    dictation.Write({"Lungs clear."});
    EXPECT_EQ(reading.Text(), "Heart normal. Lungs clear.");
    EXPECT_EQ(Said(), "");
    EXPECT_EQ(editor.lblState.Text(), "Unsaved changes");
}

TEST_F(Vocals, SayMoreThanTheLengthDoes) {
    reading.Typed(std::string(1100, 'x'));
    EXPECT_NE(editor.lblPrintedLength.Text(), "");
    editor.cmdVocal.Press();
    EXPECT_FALSE(editor.lblPrintedLength.Visible());
    EXPECT_EQ(Said(), "Dictating: \"Vocal\" ends it");
    dictation.Write({"y"});
    EXPECT_TRUE(editor.lblPrintedLength.Visible());
    EXPECT_EQ(Said(), "");
}

TEST_F(Vocals, PutTheTextInPlaceOfWhatIsSelected) {
    reading.Select({6, 6});
    editor.cmdVocal.Press();
    dictation.Write({"enlarged"});
    EXPECT_EQ(reading.Text(), "Heart enlarged.");
}

TEST_F(Vocals, TellTheCommandThatAllIsSaidAndDropWhatItThenWrites) {
    editor.cmdVocal.Press();
    editor.cmdVocal.Press();
    EXPECT_EQ(dictation.finished, 1);
    EXPECT_EQ(Said(), "The dictation is being written: \"Vocal\" drops it");
    editor.cmdVocal.Press();
    EXPECT_FALSE(dictation.Running());
    EXPECT_EQ(Said(), "Dictation dropped");
    EXPECT_EQ(reading.Text(), "Heart normal.");
}

TEST_F(Vocals, NeverWriteIntoAnotherPatientsReport) {
    editor.cmdVocal.Press();
    station.OpenReport(
        {.seriesUid = "1.2.3.2.2", .seriesDir = "report2", .patientName = "BIANCHI^ANNA", .reading = "B"});
    EXPECT_FALSE(dictation.Running());
    dictation.Write({"Of Maria Rossi."});
    EXPECT_EQ(reading.Text(), "B");
    EXPECT_EQ(Said(), "Dictation ended: another report was opened");
}

TEST_F(Vocals, EndWhenAVersionIsShownThatCannotBeChanged) {
    editor.cmdVocal.Press();
    editor.lstHistory.ListIndex(0);
    EXPECT_FALSE(dictation.Running());
    EXPECT_EQ(Said(), "Dictation ended: a version was shown that cannot be changed");
}

TEST_F(Vocals, EndWhenTheEditorIsClosed) {
    editor.cmdVocal.Press();
    editor.Leave();
    EXPECT_FALSE(dictation.Running());
}

TEST_F(Vocals, GoOnWhileTheReportIsSaved) {
    editor.cmdVocal.Press();
    station.store.answer = [&](const SentVersion&) { dictation.Write({"Lungs clear."}); };
    editor.cmdSave.Press();
    EXPECT_EQ(reading.Text(), "Heart normal. Lungs clear.");
    EXPECT_EQ(editor.lblState.Text(), "Unsaved changes");
}

TEST_F(Vocals, HoldUpAnApproval) {
    editor.cmdVocal.Press();
    editor.cmdApprove.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"A dictation is under way. \"Vocal\" ends it; then approve."});
    EXPECT_TRUE(dictation.Running());
    EXPECT_EQ(station.store.sent.size(), 0U);
}

TEST_F(Vocals, TellAFailureInWords) {
    editor.cmdVocal.Press();
    dictation.Write({.failure = "it ended with the status 3: no microphone"});
    EXPECT_EQ(station.windows.Texts(),
              Texts{"The dictation command gave no text: it ended with the status 3: no microphone"});
    EXPECT_EQ(Said(), "");
    editor.cmdVocal.Press();
    EXPECT_EQ(dictation.started, 2);
}

TEST_F(Vocals, SayThatNothingWasWritten) {
    editor.cmdVocal.Press();
    dictation.Write({});
    EXPECT_EQ(Said(), "The dictation command wrote nothing");
}

TEST_F(Vocals, ThatAreOverHideNothingFromWhoWritesOn) {
    editor.cmdVocal.Press();
    dictation.Write({});
    reading.Typed(std::string(1100, 'x'));
    EXPECT_EQ(Said(), "");
    EXPECT_TRUE(editor.lblPrintedLength.Visible());
}

TEST_F(Vocals, UnderlineWhatTheFileCannotHold) {
    editor.cmdVocal.Press();
    dictation.Write({"Size \xE2\x89\xA5 5"});
    EXPECT_EQ(reading.Marks().size(), 1U);
}

TEST_F(Vocals, StayWithTheirOwnOfTwentyPatients) {
    for (int patient = 0; patient < 20; ++patient) {
        const auto number = std::to_string(patient);
        station.OpenReport({.seriesUid = "1.2.3.9." + number,
                            .seriesDir = "patient" + number,
                            .patientName = "P" + number,
                            .reading = "Of " + number + "."});
        EXPECT_EQ(reading.Text(), "Of " + number + ".");
        reading.Select({reading.Text().size(), 0});
        editor.cmdVocal.Press();
        if (patient % 2 == 0)
            dictation.Write({"Spoken " + number + "."});
        EXPECT_EQ(reading.Text(), "Of " + number + "." + (patient % 2 == 0 ? " Spoken " + number + "." : ""));
    }
    EXPECT_EQ(dictation.started, 20);
}

} // namespace
} // namespace tavrel::test
