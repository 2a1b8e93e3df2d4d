#include "platform/attributes.h"
#include "tests/editor/ReportingStation.h"
#include "tests/support/OpenQueries.h"

#include <gmock/gmock.h>

#include <utility>

namespace tavrel::test {
namespace {

struct Title {
    std::string scheme, code, meaning, annotation;
    bool operator==(const Title&) const = default;
};

Title TitleOf(const DcmSRDocument& document) {
    Title title;
    document.GetTitle(title.scheme, title.code, title.meaning, title.annotation);
    return title;
}

std::string ReadingSent(const SentVersion& version) {
    const auto item = version.dataSet->GetSequenceItem(attribute::ContentSequence, 1);
    return std::get<std::string>(item->GetValue(attribute::TextValue));
}

/// A station with one report of one version open, its storage service at work.
class OpenReportStation : public ReportingStation {
public:
    explicit OpenReportStation(const ReportSeed& seed = {}) {
        OpenReport(seed);
        StoreInto("report1");
    }
};

TEST(Save, SendsTitleAndReadingAsANewVersion) {
    OpenReportStation station;
    station.editor.txtReportTitle.Typed("Chest, second look");
    station.editor.txtReportAnnotation.Typed("A nodule.");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.store.sent.size(), 1U);
    EXPECT_EQ(ReadingSent(station.store.sent[0]), "A nodule.");
    EXPECT_EQ(TitleOf(station.Document()).annotation, "Chest, second look");
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Save, TheHistoryGrowsByALineAndTheNewestVersionIsShown) {
    OpenReportStation station({.versions = 2});
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lstHistory.Items(),
              (Texts{"14/11/2026 08:00:00", "14/11/2026 08:01:00", "15/11/2026 08:05:09"}));
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), 2);
    EXPECT_EQ(station.Document().VersionIndex(), 2);
}

TEST(Save, TheFirstSaveOfANewReportMakesItsFirstLine) {
    ReportingStation station;
    station.OpenImages();
    station.StoreInto("report1");
    station.editor.txtReportAnnotation.Typed("Normal.");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lstHistory.Items(), Texts{"15/11/2026 08:05:09"});
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Normal.");
    EXPECT_EQ(station.editor.txtReferringPhysician.Text(), "Dr. Mario Rossi");
}

TEST(Save, AHeadingOfTheTableTakesItsCode) {
    OpenReportStation station;
    station.AddCode("StdTitles", "99SS", "T7", "THORAX");
    station.editor.cmbReportTitle.Typed("THORAX");
    station.editor.cmdSave.Press();
    EXPECT_EQ(TitleOf(station.Document()), (Title{"99SS", "T7", "THORAX", "Chest radiograph"}));
}

TEST(Save, AHeadingTypedFreelyHasNoCode) {
    OpenReportStation station;
    station.editor.cmbReportTitle.Typed("My own heading");
    station.editor.cmdSave.Press();
    EXPECT_EQ(TitleOf(station.Document()), (Title{"", "", "My own heading", "Chest radiograph"}));
}

TEST(Save, TheHeadingsQueryIsClosedBeforeTheVersionIsSent) {
    OpenReportStation station;
    Texts open, openWhenSent{"not sent"};
    station.global.catalogue = std::make_unique<OpenQueries>(std::move(station.global.catalogue), open);
    station.store.answer = [&](const SentVersion&) { openWhenSent = open; };
    station.editor.cmdSave.Press();
    EXPECT_EQ(openWhenSent, Texts{});
}

TEST(Save, AnotherFreeHeadingAloneIsKept) {
    OpenReportStation station;
    station.editor.cmbReportTitle.Typed("My own heading");
    station.editor.cmdSave.Press();
    station.editor.cmbReportTitle.Typed("Another heading");
    station.editor.cmdSave.Press();
    EXPECT_EQ(TitleOf(station.Document()), (Title{"", "", "Another heading", "Chest radiograph"}));
    EXPECT_EQ(station.editor.cmbReportTitle.Text(), "Another heading");
}

TEST(Save, AHeadingIsTakenAsTheTableHasIt) {
    OpenReportStation station;
    station.Execute("DROP TABLE StdTitles");
    station.Execute("CREATE TABLE StdTitles (CodeScheme TEXT, CodeValue TEXT, CodeMeaning TEXT COLLATE NOCASE)");
    station.AddCode("StdTitles", "99SS", "T7", "THORAX");
    station.editor.cmbReportTitle.Typed("thorax");
    station.editor.cmdSave.Press();
    EXPECT_EQ(TitleOf(station.Document()).meaning, "THORAX");
}

TEST(Save, AnApostropheInTheHeadingIsToldAndNothingIsSent) {
    OpenReportStation station;
    station.editor.cmbReportTitle.Typed("Child's chest");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Save report - ")) << station.windows.messages[0].text;
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_TRUE(station.store.sent.empty());
}

TEST(Save, AHeadingThatWouldTurnTheStatementTakesNoCode) {
    OpenReportStation station;
    station.AddCode("StdTitles", "99SS", "T9", "Another");
    station.editor.cmbReportTitle.Typed("x' OR 'a'='a");
    station.editor.cmdSave.Press();
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST(Save, IsPreparedWhenSomethingIsTypedAndNotBefore) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_FALSE(station.store.ready);
    station.editor.txtReportAnnotation.Typed("A");
    EXPECT_TRUE(station.store.ready);
}

TEST(Save, AFailureIsToldWithItsNumber) {
    OpenReportStation station;
    class FailingConnection : public ForwardingConnection {
    public:
        using ForwardingConnection::ForwardingConnection;
        std::unique_ptr<ResultSet> OpenResultSet(std::string_view, Cursor) override {
            throw Error(13, "driver", "The table is locked");
        }
    };
    station.global.catalogue = std::make_unique<FailingConnection>(std::move(station.global.catalogue));
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"Save report - 13-The table is locked"});
}

TEST(Save, AVersionThatTheServiceRefusesIsToldAndStaysInTheHistory) {
    OpenReportStation station;
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "Refused: out of resources"); };
    station.editor.txtReportAnnotation.Typed("A nodule.");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Refused: out of resources It is kept in the file "));
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 2);
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "A nodule.");
}

TEST(Save, AnEmptyDocumentIsToldWithoutAnEnd) {
    ReportingStation station;
    station.global.report->document = std::make_shared<DcmSRDocument>(station.global);
    station.editor.cmdSave_Click();
    EXPECT_FALSE(station.windows.messages.empty());
    EXPECT_TRUE(station.store.sent.empty());
}

TEST(Save, ALockedSaveButtonDoesNothing) {
    OpenReportStation station({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    station.editor.cmdSave.Press();
    EXPECT_TRUE(station.store.sent.empty());
}

TEST(Save, ACharacterThatNoReportCanHoldIsToldAndTheTextStays) {
    OpenReportStation station;
    station.editor.txtReportAnnotation.Typed("0.5 \u03A9");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_NE(station.windows.messages[0].text.find("\u03A9"), std::string::npos) << station.windows.messages[0].text;
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "0.5 \u03A9");
}

TEST(Save, WhatCannotBeWrittenIsNamedAllAtOnceByFieldAndLine) {
    OpenReportStation station;
    station.editor.cmbReportTitle.Typed("\u0141\u00F3d\u017A");
    station.editor.txtReportTitle.Typed("\u2265 5 mm");
    station.editor.txtReportAnnotation.Typed("First.\r\n\u2265 5 mm, 0.5 \u03A9.\r\n\u2265 again");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"The report cannot be stored: its file cannot hold these characters.\r\n"
                                             "the title: \u2265\r\n"
                                             "the heading: \u0141 \u017A\r\n"
                                             "the reading, line 2: \u2265 \u03A9\r\n"
                                             "the reading, line 3: \u2265"});
}

TEST(Save, WhatCannotBeWrittenOfASignatureOrIsNoLetterIsNamed) {
    OpenReportStation station;
    station.global.userSignature = "\u0141UKASZ";
    station.editor.txtReportAnnotation.Typed("a\x01"
                                             "b");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_THAT(station.windows.messages[0].text,
                testing::AllOf(testing::HasSubstr("the physician's signature: \u0141"),
                               testing::HasSubstr("the reading: a control character (U+0001)")));
}

TEST(Save, ARefusedSaveLeavesNoVersionNoObserverAndNoPredecessor) {
    OpenReportStation station;
    station.editor.txtReportAnnotation.Typed("0.5 \u03A9");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.Document().NumVersions(), 1);
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 1);
    station.editor.txtReportAnnotation.Typed("0.5 Ohm");
    station.editor.cmdSave.Press();
    const auto& version = *station.store.sent.back().dataSet;
    EXPECT_EQ(version.GetSequenceItemCount(attribute::VerifyingObserverSequence), 2);
    const auto study = version.GetSequenceItem(attribute::PredecessorDocumentsSequence, 0);
    const auto series = study->GetSequenceItem(attribute::ReferencedSeriesSequence, 0);
    EXPECT_EQ(series->GetSequenceItemCount(attribute::ReferencedSopSequence), 1);
}

TEST(Save, ARefusedFirstSaveLeavesTheReportNew) {
    ReportingStation station;
    station.OpenImages();
    station.editor.txtReportAnnotation.Typed("0.5 \u03A9");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lstHistory.ListCount(), 0);
    station.editor.txtReportAnnotation.Typed("0.5 Ohm");
    station.editor.cmdSave.Press();
    ASSERT_EQ(station.store.sent.size(), 1U);
    EXPECT_EQ(station.store.sent[0].dataSet->GetSequenceItemCount(attribute::VerifyingObserverSequence), 1);
}

TEST(Save, ABaseUidThatIsNoneIsRefused) {
    OpenReportStation station;
    station.global.baseUid = "1.2.x";
    station.editor.txtReportAnnotation.Typed("typed");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_EQ(station.Document().NumVersions(), 1);
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "typed");
}

TEST(Approve, AsksFirstWithNoPreselected) {
    OpenReportStation station;
    station.editor.cmdApprove.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& question = station.windows.messages[0];
    EXPECT_EQ(question.text, "The approved document will not be editable anymore ... do you want to continue ?");
    EXPECT_EQ(question.title, "Approving document ... ");
    EXPECT_EQ(question.buttons, Buttons::YesNo);
    EXPECT_EQ(question.icon, Icon::Exclamation);
    EXPECT_EQ(question.defaultAnswer, Answer::No);
}

TEST(Approve, NoChangesNothing) {
    OpenReportStation station;
    station.windows.answers = {Answer::No};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.Document().status(), DcmSRDocument::Pending);
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_TRUE(station.editor.cmdSave.Enabled());
}

TEST(Approve, YesSavesACompleteVersion) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.txtReportAnnotation.Typed("Final.");
    station.editor.cmdApprove.Press();
    ASSERT_EQ(station.store.sent.size(), 1U);
    EXPECT_EQ(std::get<std::string>(station.store.sent[0].dataSet->GetValue(attribute::CompletionFlag)), "COMPLETE");
    EXPECT_EQ(ReadingSent(station.store.sent[0]), "Final.");
}

TEST(Approve, YesLocksTheScreenAndOffersPrinting) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_FALSE(station.editor.frmReading.Enabled());
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
    EXPECT_FALSE(station.editor.cmdApprove.Enabled());
    EXPECT_TRUE(station.editor.cmdPrint.Enabled());
    EXPECT_EQ(station.editor.lstHistory.ListIndex(), 1);
}

TEST(Approve, YesShowsTheSignatureAndTheDateBeforeTheVersionIsSent) {
    OpenReportStation station;
    Texts shown;
    station.store.answer = [&](const SentVersion&) {
        shown = {station.editor.txtApprovingPhysician.Text(), station.editor.txtApprovalDate.Text()};
    };
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(shown, (Texts{"Dr. Mario Rossi", "15/11/2026 08:05:09"}));
}

TEST(Approve, YesStatesWhoApprovedAndWhen) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "Approved by Dr. Mario Rossi on 15/11/2026 08:05:09");
}

TEST(Approve, YesRedrawsTheApproverAndTheDateOnceTheVersionIsSent) {
    OpenReportStation station;
    std::string events;
    station.store.answer = [&](const SentVersion&) { events += "sent "; };
    station.editor.txtApprovingPhysician.Watch(
        [&](Change change) { events += change == Change::Redraw ? "name " : ""; });
    station.editor.txtApprovalDate.Watch([&](Change change) { events += change == Change::Redraw ? "date" : ""; });
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(events, "sent name date");
}

TEST(Approve, YesWritesAHistoryRowForTheCurrentSeries) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.Rows("History", {"Username", "SeriesUID", "ActionVal", "Description"}).back(),
              (Texts{"mrossi", "1.2.3.2.1", "REFERT", "Validate Refert"}));
}

TEST(Approve, ReopeningShowsTheReportApproved) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(station.editor.txtApprovingPhysician.Text(), "Dr. Mario Rossi");
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
    EXPECT_TRUE(station.editor.cmdPrint.Enabled());
}

TEST(Approve, AFailureIsToldWithItsNumberAfterTheReportWasLocked) {
    OpenReportStation station;
    station.Execute("DELETE FROM DicomServer");
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    ASSERT_EQ(station.windows.messages.size(), 2U);
    EXPECT_TRUE(station.windows.messages[1].text.starts_with("Approve Report ")) << station.windows.messages[1].text;
    EXPECT_EQ(station.Document().status(), DcmSRDocument::Approved);
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
}

/// As before "Approve" was pressed.
void ExpectNotApproved(OpenReportStation& station) {
    const auto& editor = station.editor;
    EXPECT_EQ(station.Document().status(), DcmSRDocument::Pending);
    EXPECT_EQ(editor.txtApprovingPhysician.Text(), "Not yet approved");
    EXPECT_EQ(editor.txtApprovalDate.Text(), "");
    EXPECT_TRUE(editor.frmReading.Enabled() && editor.cmdSave.Enabled() && editor.cmdApprove.Enabled());
    EXPECT_FALSE(editor.cmdPrint.Enabled());
    EXPECT_EQ(editor.lstHistory.ListCount(), 1);
    EXPECT_NE(station.Rows("History", {"Description"}).back(), Texts{"Validate Refert"});
}

TEST(Approve, WithASaveThatFailsApprovesNothing) {
    OpenReportStation station;
    station.Execute("DROP TABLE StdTitles");
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    ASSERT_EQ(station.windows.messages.size(), 2U);
    EXPECT_TRUE(station.windows.messages[1].text.starts_with("Save report - "));
    ExpectNotApproved(station);
    EXPECT_TRUE(station.editor.lblState.Text().starts_with("NOT STORED: ")) << station.editor.lblState.Text();
}

TEST(Approve, OfAVersionThatIsNeitherStoredNorKeptApprovesNothing) {
    OpenReportStation station;
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); };
    station.WriteFile("state\\unsent", "in the way");
    station.windows.answers = {Answer::Yes};
    station.editor.txtReportAnnotation.Typed("Final.");
    station.editor.cmdApprove.Press();
    ExpectNotApproved(station);
    EXPECT_EQ(station.editor.txtReportAnnotation.Text(), "Final.");
}

TEST(Approve, OfAVersionThatWasKeptCountsAsSaved) {
    OpenReportStation station;
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); };
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "Approved by Dr. Mario Rossi on 15/11/2026 08:05:09; waiting for the "
                                              "storage service (1 version)");
    EXPECT_TRUE(station.editor.cmdPrint.Enabled());
    EXPECT_EQ(station.Rows("History", {"Description"}).back(), Texts{"Validate Refert"});
}

TEST(Approve, CanBeRepeatedOnceTheSaveWorksAgain) {
    OpenReportStation station;
    const auto works = std::exchange(station.store.answer,
                                     [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); });
    station.WriteFile("state\\unsent", "in the way");
    station.windows.answers = {Answer::Yes};
    station.editor.cmdApprove.Press();
    station.store.answer = works;
    station.windows.answers.push_back(Answer::Yes);
    station.editor.cmdApprove.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "Approved by Dr. Mario Rossi on 15/11/2026 08:05:09");
    EXPECT_EQ(station.store.sent.back().dataSet->GetSequenceItemCount(attribute::VerifyingObserverSequence), 2);
}

TEST(Approve, ACharacterThatNoReportCanHoldIsToldAndNothingIsSent) {
    OpenReportStation station;
    station.windows.answers = {Answer::Yes};
    station.editor.txtReportAnnotation.Typed("0.5 \u03A9");
    station.editor.cmdApprove.Press();
    ASSERT_EQ(station.windows.messages.size(), 2U);
    EXPECT_NE(station.windows.messages[1].text.find("\u03A9"), std::string::npos) << station.windows.messages[1].text;
    EXPECT_TRUE(station.store.sent.empty());
}

TEST(Save, TheOtherSaveOfTheInterfaceDoesNothing) {
    OpenReportStation station;
    station.editor.SaveIOD();
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_TRUE(station.windows.messages.empty());
}

} // namespace
} // namespace tavrel::test
