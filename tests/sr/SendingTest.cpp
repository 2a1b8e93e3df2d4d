#include "tests/sr/ReportFixture.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Sending : public ReportFixture {};

TEST_F(Sending, GoesToTheServiceOfTheFirstPort) {
    station.Insert("Port", {{"Port", "999"}, {"AETitle", "OTHER"}});
    CreateReport();

    document.Send();

    ASSERT_THAT(station.store.sent, SizeIs(1));
    const SentVersion& sent = station.store.sent[0];
    EXPECT_EQ(sent.host, "Localhost");
    EXPECT_EQ(sent.port, "10404");
    EXPECT_EQ(sent.callingAe, "AE_INTERNAL");
    EXPECT_EQ(sent.calledAe, "PORVANE");
    EXPECT_TRUE(sent.wait);
}

TEST_F(Sending, TakesTheLastVersionWhicheverIsShown) {
    LoadReport({.versions = 2});
    document.GotoVersion(0);

    document.Send();

    ASSERT_THAT(station.store.sent, SizeIs(1));
    EXPECT_EQ(Text(station.store.sent[0].dataSet, attribute::SopInstanceUid), "1.2.999.1.2026.11.15.08.05.09");
}

TEST_F(Sending, WithoutAPortSendsAndShowsNothingButKeepsTheVersion) {
    station.Execute("DELETE FROM Port");
    CreateReport();

    EXPECT_EQ(document.Send().fate, Delivery::Fate::Kept);

    EXPECT_THAT(station.store.sent, IsEmpty());
    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_EQ(LastText(attribute::CompletionFlag), "PARTIAL");
}

TEST_F(Sending, LeavesTheDocumentUpdatedAndItsFirstVersionFresh) {
    CreateReport();

    document.Send();
    EXPECT_TRUE(document.Updated());

    document.Send();
    EXPECT_EQ(document.NumVersions(), 1);
}

TEST_F(Sending, ShowsARefusalAlone) {
    station.store.answer = [](const SentVersion&) {
        throw Error(static_cast<int>(DicomFault::NotSendable), "DICOM", "It has no study.");
    };
    CreateReport();

    document.Send();

    ASSERT_THAT(Shown(), ElementsAre("It has no study."));
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_EQ(station.windows.messages[0].buttons, Buttons::Ok);
}

TEST_F(Sending, ACharacterThatTheReportsSetLacksIsToldAndNothingIsSent) {
    CreateReport();
    document.Reading("0.5 \u03A9");

    document.Send();

    EXPECT_THAT(Shown(), ElementsAre(testing::HasSubstr("\u03A9")));
    EXPECT_THAT(station.store.sent, IsEmpty());
    EXPECT_EQ(document.Reading(), "0.5 \u03A9");
}

TEST_F(Sending, AVersionWithoutAStudyIsToldAndNotSent) {
    CreateReport();
    document.Series()->SetElementValue(0, attribute::StudyInstanceUid, 0, "");

    document.Send();

    EXPECT_THAT(Shown(), SizeIs(1));
    EXPECT_THAT(station.store.sent, IsEmpty());
}

TEST_F(Sending, KeepsTheVersionThatWasRefused) {
    station.store.answer = [](const SentVersion&) { throw Error(0xA700, "Porvane", "Out of resources"); };
    LoadReport({});
    document.Reading("typed");

    document.Send();

    EXPECT_EQ(document.NumVersions(), 2);
    EXPECT_TRUE(document.Updated());
    EXPECT_EQ(document.Reading(), "typed");
}

TEST_F(Sending, OpensAClosedCatalogueAgain) {
    CreateReport();
    global.catalogue->Close();

    document.Send();

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_THAT(station.store.sent, SizeIs(1));
}

TEST_F(Sending, KeepsTheVersionWhenTheServiceCannotBeAskedFor) {
    station.Execute("DROP TABLE Port");
    CreateReport();

    EXPECT_EQ(document.Send().fate, Delivery::Fate::Kept);

    EXPECT_THAT(Shown(), ElementsAre(testing::HasSubstr("It is kept in the file ")));
    EXPECT_EQ(document.NumVersions(), 1);
}

TEST_F(Sending, ToAPortWithoutATitleKeepsTheVersionAndSaysWhy) {
    station.Execute("UPDATE Port SET AETitle = NULL");
    CreateReport();

    EXPECT_EQ(document.Send().fate, Delivery::Fate::Kept);

    EXPECT_THAT(Shown(), SizeIs(1));
    EXPECT_THAT(station.store.sent, IsEmpty());
}

TEST_F(Sending, AsksForThePortInItsExactWords) {
    CreateReport();
    std::vector<RanStatement> statements;
    global.catalogue = std::make_unique<RecordingConnection>(std::move(global.catalogue), statements);

    document.Send();

    EXPECT_THAT(statements, ElementsAre(RanStatement{"SELECT * FROM Port"}));
}

TEST_F(Sending, HasClosedItsQueryWhenTheServiceWritesTheCatalogue) {
    CreateReport();
    std::vector<std::string> open;
    global.catalogue = std::make_unique<OpenQueries>(std::move(global.catalogue), open);
    station.store.answer = [&](const SentVersion&) { EXPECT_THAT(open, IsEmpty()); };

    document.Send();

    EXPECT_THAT(station.store.sent, SizeIs(1));
}

TEST_F(Sending, AfterTheLastYearOfAFilesDatesIsRefusedInWords) {
    CreateReport();
    station.clock.now = {10000, 1, 1, 8, 0, 0};

    EXPECT_EQ(document.Send().fate, Delivery::Fate::NotStored);

    EXPECT_THAT(Shown(), testing::ElementsAre("A date that the calendar does not have is no value of VR DA for "
                                              "Content Date (0008,0023)."));
    EXPECT_TRUE(station.store.sent.empty());
}

TEST_F(Sending, OfAValueThatABackslashWouldDivideIsRefusedInWords) {
    CreateReport();
    document.SetTitle("", "", "Thorax", "CT\\MR");

    EXPECT_EQ(document.Send().fate, Delivery::Fate::NotStored);

    EXPECT_THAT(Shown(), testing::ElementsAre("The report cannot be stored: the title holds a backslash, which would "
                                              "make two values of it: CT\\MR"));
    EXPECT_TRUE(station.store.sent.empty());
}

TEST_F(Sending, NamesWhichValueHoldsTheBackslash) {
    CreateReport();
    const auto refused = [&](const std::string& what, auto&& spoil) {
        spoil();
        EXPECT_EQ(document.Send().fate, Delivery::Fate::NotStored);
        EXPECT_THAT(Shown().back(), testing::HasSubstr("the " + what + " holds a backslash"));
    };
    refused("name of the organization", [&] { global.organization = "a\\b"; });
    refused("signature", [&] { global.userSignature = "WARD\\rossi"; });
    refused("heading's code", [&] { document.SetTitle("99SS", "C\\D", "Thorax", "CT"); });
    refused("heading's coding scheme", [&] { document.SetTitle("99\\SS", "C", "Thorax", "CT"); });
    refused("heading", [&] { document.SetTitle("99SS", "C", "Thorax\\", "CT"); });
}

TEST_F(Sending, OfAReadingWithABackslashStoresIt) {
    CreateReport();
    document.Reading("C:\\data");

    EXPECT_EQ(document.Send().fate, Delivery::Fate::Stored);
}

} // namespace
} // namespace tavrel::test
