#include "suite/porvane/forwarding/OutgoingQueue.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"

#include "tests/suite/SuiteRoom.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace tavrel {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr seconds Long{60};
constexpr const char* Report = "1.2.840.10008.5.1.4.1.1.88.11";
constexpr const char* PresentationState = "1.2.840.10008.5.1.4.1.1.11.1";
constexpr const char* Ct = "1.2.840.10008.5.1.4.1.1.2";

/// What goes to the archive, as services of a department see it, on each engine.
class Queue : public testing::TestWithParam<const char*> {
protected:
    Queue() { room.Insert("Study", {{"StudyInstanceUID", "2.999.1"}, {"StudyPath", "\\studies\\2.999.1"}}); }

    /// Stores an object without queueing it.
    void Store(const std::string& series, const std::string& file, const char* sopClass, const std::string& uid = {}) {
        if (room.Value("SELECT count(*) FROM Series WHERE SeriesInstanceUID='" + series + "'") == "0")
            room.Insert("Series",
                        {{"SeriesInstanceUID", series}, {"StudyInstanceUID", "2.999.1"}, {"SeriesDir", series}});
        room.Insert("Image", {{"SeriesInstanceUID", series},
                              {"ImageFile", file},
                              {"SOPInstanceUID", uid.empty() ? series + "." + std::to_string(++made) : uid},
                              {"SOPClassUID", sopClass}});
    }
    void Queued(const std::string& series, const std::string& file, const char* sopClass = Report,
                const std::string& uid = {}) {
        Store(series, file, sopClass, uid);
        QueueStoredObject(room.Catalogue(), engine, series, file, true);
    }
    std::vector<std::string> States() { return room.Column("SELECT State FROM Outgoing ORDER BY ImageID"); }
    /// Lets everything that was put off come due.
    void LaterOn() { room.Run("UPDATE Outgoing SET NextTime=0"); }
    static std::vector<std::string> FilesOf(const std::vector<OutgoingQueue::Object>& objects) {
        std::vector<std::string> files;
        std::ranges::transform(objects, std::back_inserter(files),
                               [](const auto& object) { return object.file.filename().string(); });
        return files;
    }

    SuiteRoom room{std::string("DicomFDB_") + GetParam()};
    Engine engine = DetectEngine(room.Catalogue());
    int made = 0;
    OutgoingQueue queue{room.Catalogue(), engine, "one"};
    OutgoingQueue other{room.Catalogue(), engine, "other"};
};

TEST_P(Queue, AStoredReportIsWaitingAndDue) {
    Queued("2.999.2", "img_000001.dcm");
    EXPECT_THAT(queue.DueSeries(10), ElementsAre("2.999.2"));
    EXPECT_THAT(States(), ElementsAre("waiting"));
}

TEST_P(Queue, ImagesAreQueuedWhereTheyAreAskedForAlone) {
    Store("2.999.2", "img_000001.dcm", Ct);
    QueueStoredObject(room.Catalogue(), engine, "2.999.2", "img_000001.dcm", false);
    EXPECT_EQ(room.Count("Outgoing"), "0");
    QueueStoredObject(room.Catalogue(), engine, "2.999.2", "img_000001.dcm", true);
    EXPECT_EQ(room.Count("Outgoing"), "1");
}

TEST_P(Queue, PresentationStatesComeFirstAndImagesLast) {
    Queued("2.999.2", "img_000001.dcm", Ct);
    Queued("2.999.3", "img_000001.dcm", Report);
    Queued("2.999.4", "img_000001.dcm", PresentationState);
    EXPECT_THAT(queue.DueSeries(10), ElementsAre("2.999.4", "2.999.3", "2.999.2"));
}

TEST_P(Queue, WhatWasStoredBeforeIsQueuedOnce) {
    Store("2.999.2", "img_000001.dcm", Report);
    Store("2.999.3", "img_000001.dcm", Ct);
    EXPECT_EQ(queue.NeverQueued(), 1);
    EXPECT_EQ(queue.QueueAll(false), 1);
    EXPECT_EQ(queue.QueueAll(false), 0);
    EXPECT_EQ(queue.QueueAll(true), 1);
}

TEST_P(Queue, ASeriesHasOneClaimant) {
    EXPECT_TRUE(queue.Claim("2.999.2", Long));
    EXPECT_FALSE(other.Claim("2.999.2", Long));
    EXPECT_TRUE(queue.Claim("2.999.2", Long)) << "its own again";
    EXPECT_TRUE(other.Claim("2.999.3", Long)) << "another series";
}

TEST_P(Queue, AReleasedOrOutrunClaimIsTakenOver) {
    EXPECT_TRUE(queue.Claim("2.999.2", Long));
    queue.Release("2.999.2");
    EXPECT_TRUE(other.Claim("2.999.2", seconds(-1)));
    EXPECT_TRUE(queue.Claim("2.999.2", Long));
    other.Release("2.999.2");
    EXPECT_FALSE(other.Claim("2.999.2", Long)) << "its own alone is released";
}

TEST_P(Queue, AClaimedSeriesIsNotDueToOthers) {
    Queued("2.999.2", "img_000001.dcm");
    queue.Claim("2.999.2", Long);
    EXPECT_THAT(other.DueSeries(10), IsEmpty());
}

TEST_P(Queue, TheVersionsOfAReportAreInTheOrderOfTheirFiles) {
    Queued("2.999.2", "img_1000000.dcm");
    Queued("2.999.2", "img_000002.dcm");
    Queued("2.999.2", "img_000001.dcm");
    EXPECT_THAT(FilesOf(queue.NotTaken("2.999.2")), ElementsAre("img_000001.dcm", "img_000002.dcm", "img_1000000.dcm"));
}

TEST_P(Queue, AVersionBringsAlongThoseStoredBeforeThereWasAnArchive) {
    Store("2.999.2", "img_000001.dcm", Report);
    Queued("2.999.2", "img_000002.dcm");
    EXPECT_THAT(FilesOf(queue.NotTaken("2.999.2")), ElementsAre("img_000001.dcm", "img_000002.dcm"));
}

TEST_P(Queue, AnObjectThatWasRemovedFromTheCatalogueIsNoLongerDue) {
    Queued("2.999.2", "img_000001.dcm");
    room.Run("DELETE FROM Image");
    EXPECT_THAT(queue.NotTaken("2.999.2"), IsEmpty());
    EXPECT_THAT(queue.DueSeries(10), IsEmpty());
}

TEST_P(Queue, AFailureIsTriedAgainLater) {
    Queued("2.999.2", "img_000001.dcm");
    queue.Failed(queue.NotTaken("2.999.2").at(0), "out of resources", Long);
    EXPECT_THAT(queue.DueSeries(10), IsEmpty());
    EXPECT_EQ(room.Value("SELECT LastWords FROM Outgoing"), "out of resources");
    EXPECT_EQ(queue.NotTaken("2.999.2").at(0).attempts, 1);
}

TEST_P(Queue, TheSecondObjectOfAUidIsKnown) {
    Queued("2.999.2", "img_000001.dcm", Report, "2.999.2.1");
    Queued("2.999.2", "img_000002.dcm", Report, "2.999.2.1");
    const auto objects = queue.NotTaken("2.999.2");
    EXPECT_FALSE(queue.IsSecondOfItsUid(objects.at(0)));
    EXPECT_TRUE(queue.IsSecondOfItsUid(objects.at(1)));
}

TEST_P(Queue, AnInstanceThatWasTakenOnceIsTaken) {
    Queued("2.999.2", "img_000001.dcm", PresentationState, "2.999.2.1");
    EXPECT_TRUE(queue.AnyNotTaken({"2.999.9", "2.999.2.1"}));
    EXPECT_FALSE(queue.AnyNotTaken({"2.999.9"})) << "never queued";
    Queued("2.999.2", "img_000002.dcm", PresentationState, "2.999.2.1");
    const auto objects = queue.NotTaken("2.999.2");
    queue.Taken(objects.at(0));
    queue.Refuse(objects.at(1), "the second one");
    EXPECT_FALSE(queue.AnyNotTaken({"2.999.2.1"}));
}

TEST_P(Queue, WhatWasRefusedWaitsForAPerson) {
    Queued("2.999.2", "img_000001.dcm");
    queue.Refuse(queue.NotTaken("2.999.2").at(0), "no such class");
    EXPECT_THAT(queue.DueSeries(10), IsEmpty());
    EXPECT_EQ(queue.RetryRefused(), 1);
    EXPECT_THAT(queue.DueSeries(10), ElementsAre("2.999.2"));
}

TEST_P(Queue, AQuestionIsAskedByOneServiceUntilItIsOverdue) {
    Queued("2.999.2", "img_000001.dcm", Report, "2.999.2.1");
    queue.Taken(queue.NotTaken("2.999.2").at(0));
    EXPECT_EQ(queue.ClaimQuestion("2.25.1", 10).size(), 1U);
    EXPECT_THAT(other.ClaimQuestion("2.25.2", 10), IsEmpty());
    LaterOn();
    EXPECT_EQ(other.ClaimQuestion("2.25.2", 10).size(), 1U);
}

TEST_P(Queue, AnAnswerSettlesEachObject) {
    for (const char* file : {"1", "2", "3"}) {
        Queued("2.999.2", std::string("img_00000") + file + ".dcm", Report, std::string("2.999.2.") + file);
        queue.Taken(queue.NotTaken("2.999.2").at(0));
    }
    queue.ClaimQuestion("2.25.1", 10);
    EXPECT_EQ(queue.Settle({"2.25.1", {"2.999.2.1", "2.999.9"}, {{"2.999.2.2", 0x0112}}}), 2);
    EXPECT_THAT(States(), ElementsAre("committed", "waiting", "sent"));
    EXPECT_EQ(room.Value("SELECT LastWords FROM Outgoing WHERE State='waiting'"),
              "asked whether it keeps it, it does not have it (0112H)");
}

TEST_P(Queue, WhatAnAnswerBothKeepsAndLacksIsNotArchived) {
    Queued("2.999.2", "img_000001.dcm", Report, "2.999.2.1");
    queue.Taken(queue.NotTaken("2.999.2").at(0));
    queue.ClaimQuestion("2.25.1", 10);
    queue.Settle({"2.25.1", {"2.999.2.1"}, {{"2.999.2.1", 0x0112}}});
    EXPECT_THAT(States(), ElementsAre("waiting"));
}

TEST_P(Queue, AnAnswerToNoQuestionSettlesNothing) {
    Queued("2.999.2", "img_000001.dcm", Report, "2.999.2.1");
    queue.Taken(queue.NotTaken("2.999.2").at(0));
    queue.ClaimQuestion("2.25.1", 10);
    EXPECT_EQ(queue.Settle({"2.25.2", {"2.999.2.1"}, {}}), 0);
    EXPECT_THAT(States(), ElementsAre("sent"));
}

TEST_P(Queue, TellsHowMuchIsInEachState) {
    Queued("2.999.2", "img_000001.dcm");
    Queued("2.999.3", "img_000001.dcm");
    queue.Refuse(queue.NotTaken("2.999.3").at(0), "no such class");
    const auto states = queue.States();
    EXPECT_EQ(states.at("waiting").count, 1);
    EXPECT_EQ(states.at("refused").lastWords, "no such class");
    EXPECT_GE(states.at("waiting").oldest->count(), 0);
}

TEST_P(Queue, TheArchiveOfTheDepartmentIsReadAsItWasWritten) {
    EXPECT_FALSE(ReadArchive(room.Catalogue()));
    const ArchiveSetting setting{
        .aeTitle = "ARCHIVE", .host = "pacs.example", .port = 11112, .callingAe = "ORBENTA", .images = true};
    WriteArchive(room.Catalogue(), setting);
    WriteArchive(room.Catalogue(), setting);
    EXPECT_EQ(ReadArchive(room.Catalogue())->Address(), "ARCHIVE@pacs.example:11112");
    EXPECT_TRUE(ReadArchive(room.Catalogue())->images);
    WriteArchive(room.Catalogue(), std::nullopt);
    EXPECT_FALSE(ReadArchive(room.Catalogue()));
}

TEST_P(Queue, ACatalogueOfBeforeHasNone) {
    room.Run("DROP TABLE OutgoingClaim");
    EXPECT_FALSE(OutgoingQueue::IsThere(room.Catalogue()));
    EXPECT_FALSE(ReadArchive(room.Catalogue()));
}

INSTANTIATE_TEST_SUITE_P(OfTheEngines, Queue, testing::Values("sqlite", "postgresql", "mariadb"));

TEST(QueuePause, GrowsFromTwoSecondsToFiveMinutes) {
    EXPECT_EQ(OutgoingQueue::Pause(0), seconds(2));
    EXPECT_EQ(OutgoingQueue::Pause(3), seconds(16));
    EXPECT_EQ(OutgoingQueue::Pause(1000), seconds(300));
}

TEST(ArchiveAddress, IsReadOrRefusedInWords) {
    ArchiveSetting setting;
    EXPECT_EQ(ReadArchiveAddress("MY ARCHIVE@10.1.2.3:104", setting), "");
    EXPECT_EQ(setting.aeTitle + "|" + setting.host, "MY ARCHIVE|10.1.2.3");
    for (const char* wrong : {"", "A@b", "A:1", "@b:1", "A@:1", "A@b:0", "A@b:65536", "A@b:1x", "A'@b:1",
                              "ABCDEFGHIJKLMNOPQ@b:1", "A@b c:1"})
        EXPECT_NE(ReadArchiveAddress(wrong, setting), "") << wrong;
}

} // namespace
} // namespace tavrel
