#include "platform/paths.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

class StorageFailure : public testing::Test {
protected:
    /// Nothing of a refused or interrupted object is left, neither on disk nor in the catalogue.
    void ExpectNothingStored() {
        EXPECT_TRUE(room.StoredFiles().empty());
        EXPECT_EQ(room.Count("Image"), "0");
        EXPECT_EQ(room.Count("Study"), "0");
        ExpectNothingIncoming();
    }
    void ExpectNothingIncoming() {
        EXPECT_TRUE(Eventually([this] { return room.Received().empty(); }));
    }

    /// What a service of before leaves that is killed after an object has got its name.
    fs::path LeaveUnfinished(const std::string& imageFile) {
        const fs::path series = room.Studies() / "2.999.1" / "2.999.2";
        fs::create_directories(series);
        fs::create_directories(room.Incoming());
        std::ofstream(room.Incoming() / "7.part") << "object";
        fs::create_hard_link(room.Incoming() / "7.part", series / imageFile);
        const std::string studyPath = InsidePath(room.Studies() / "2.999.1");
        fs::create_symlink(studyPath + "\n2.999.2\n" + imageFile, room.Incoming() / "7.part.note");
        room.Insert("Study", {{"StudyInstanceUID", "2.999.1"}, {"StudyPath", studyPath}});
        room.Insert("Series",
                    {{"SeriesInstanceUID", "2.999.2"}, {"StudyInstanceUID", "2.999.1"}, {"SeriesDir", "2.999.2"}});
        return series / imageFile;
    }

    SuiteRoom room;
};

TEST_F(StorageFailure, AMissingTableRefusesTheObject) {
    const auto service = room.StartService();
    room.Run("ALTER TABLE Series RENAME TO Gone");
    EXPECT_EQ(TestObject().Send(room), ProcessingFailure);
    room.Run("ALTER TABLE Gone RENAME TO Series");
    ExpectNothingStored();
    EXPECT_EQ(TestObject().Send(room), Stored);
}

TEST_F(StorageFailure, RowsThatCannotBeWrittenTakeTheFileBack) {
    const auto service = room.StartService();
    RunShell("sqlite3 " + (room.Folder() / "catalogue.db").string() +
             " \"CREATE TRIGGER Full BEFORE INSERT ON Image BEGIN SELECT RAISE(ABORT, 'disk is full'); END\"");
    EXPECT_EQ(TestObject().Send(room), ProcessingFailure);
    ExpectNothingStored();
    room.Run("DROP TRIGGER Full");
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

TEST_F(StorageFailure, OfObjectsThatComeAtOnceABadOneFailsAlone) {
    const auto service = room.StartService();
    RunShell("sqlite3 " + (room.Folder() / "catalogue.db").string() +
             " \"CREATE TRIGGER Bad BEFORE INSERT ON Image WHEN NEW.InstanceNumber % 10 = 3"
             " BEGIN SELECT RAISE(ABORT, 'no'); END\"");
    std::array<std::array<int, 5>, 10> answers{};
    {
        std::vector<std::jthread> senders;
        senders.reserve(answers.size());
        for (int sender = 0; auto& answered : answers)
            senders.emplace_back([&room = room, &answered, number = sender++]() mutable {
                for (int& answer : answered) {
                    answer = TestObject().Numbered(number).Send(room);
                    number += 10;
                }
            });
    }
    for (const auto& answered : answers)
        for (const int answer : answered)
            EXPECT_EQ(answer, &answered == &answers.at(3) ? ProcessingFailure : Stored);
    EXPECT_EQ(room.Count("Image"), "45");
    EXPECT_EQ(room.StoredFiles().size(), 45U);
}

TEST_F(StorageFailure, ALockedCatalogueRefusesTheObject) {
    room.WaitForLocks(std::chrono::milliseconds(100));
    const auto service = room.StartService();
    room.Catalogue().BeginTransaction();
    EXPECT_EQ(TestObject().Send(room), ProcessingFailure);
    room.Catalogue().Commit();
    ExpectNothingStored();
    EXPECT_EQ(TestObject().Send(room), Stored);
}

TEST_F(StorageFailure, AFullDiskRefusesTheObjectAndServesTheNext) {
    // No file of the service can grow beyond 1 MB; the signal for that is ignored.
    std::string command = "trap '' XFSZ; ulimit -f 1024; exec";
    for (const std::string& argument : room.ServiceCommand())
        command += " " + argument;
    const Child service({"bash", "-c", command}, (room.Folder() / "porvane.log").string());
    ASSERT_TRUE(Eventually([this] { return Listens(room.Port()); }));
    TestObject big;
    big.Set(DCM_TextValue, std::string(2'000'000, 'x'));
    EXPECT_EQ(big.Send(room), OutOfResources);
    ExpectNothingStored();
    EXPECT_EQ(TestObject().Send(room), Stored);
}

TEST_F(StorageFailure, AStudyThatCannotHaveAFolderIsRefused) {
    const auto service = room.StartService();
    TestObject image;
    std::ofstream(room.Studies() / image.Get(DCM_StudyInstanceUID)) << "a file in the folder's place";
    EXPECT_EQ(image.Send(room), OutOfResources);
    ExpectNothingStored();
}

TEST_F(StorageFailure, AFileWithoutItsRowIsTakenBackAtTheStart) {
    const fs::path file = LeaveUnfinished("img_000001.dcm");
    const auto service = room.StartService();
    EXPECT_FALSE(fs::exists(file));
    ExpectNothingIncoming();
}

TEST_F(StorageFailure, AFileWithItsRowStaysAtTheStart) {
    const fs::path file = LeaveUnfinished("img_000001.dcm");
    room.Insert("Image", {{"SeriesInstanceUID", "2.999.2"}, {"ImageFile", "img_000001.dcm"}});
    const auto service = room.StartService();
    EXPECT_TRUE(fs::exists(file));
    ExpectNothingIncoming();
}

TEST_F(StorageFailure, ACatalogueThatWasMadeBeforeServesAsItDid) {
    room.Run("DROP INDEX ImageOnce");
    room.Run("ALTER TABLE Image DROP COLUMN Twin");
    const auto service = room.StartService();
    TestObject image;
    for (const char* comment : {"one", "other", "other"})
        EXPECT_EQ(image.Set(DCM_ImageComments, comment).Send(room), Stored);
    EXPECT_EQ(room.Count("Image"), "2");
}

TEST_F(StorageFailure, ACatalogueThatWasMadeBeforeIsNamedInTheLog) {
    room.Run("DROP TABLE CatalogueVersion");
    const auto service = room.StartService();
    EXPECT_NE(room.ServiceLog().find("the catalogue is of an older version"), std::string::npos) << room.ServiceLog();
    EXPECT_EQ(TestObject().Send(room), Stored);
}

TEST_F(StorageFailure, ACatalogueOfLaterProgramsThatOnlyAddedServes) {
    room.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (99, 1)");
    const auto service = room.StartService();
    EXPECT_NE(room.ServiceLog().find("has version 99, and this program knows " + std::to_string(SchemaVersion) +
                                     " and goes on"),
              std::string::npos);
    EXPECT_EQ(TestObject().Send(room), Stored);
}

TEST_F(StorageFailure, ACatalogueInWhichOnlyLaterProgramsMayWriteIsLeftAlone) {
    const fs::path file = LeaveUnfinished("img_000001.dcm");
    room.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (99, 99)");
    Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
    EXPECT_EQ(service.Wait(), 1);
    EXPECT_NE(room.ServiceLog().find("knows " + std::to_string(SchemaVersion) +
                                     ", too old to store there: install the porvane of"),
              std::string::npos);
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(StorageFailure, AServiceKilledAtAnyMomentLosesNothingThatItAnswered) {
    int number = 0;
    std::vector<std::string> answered;
    for (const int milliseconds : {3, 11, 17, 29, 40}) {
        auto service = room.StartService();
        std::jthread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            service->Signal(SIGKILL);
        });
        while (TestObject().Numbered(++number).Send(room) == Stored)
            answered.push_back("2.999.7." + std::to_string(number));
    }
    const auto service = room.StartService();
    EXPECT_EQ(std::to_string(room.StoredFiles().size()), room.Count("Image"));
    for (const std::string& uid : answered)
        EXPECT_EQ(room.Value("SELECT count(*) FROM Image WHERE SOPInstanceUID='" + uid + "'"), "1");
    ExpectNothingIncoming();
}

TEST_F(StorageFailure, ASenderThatGoesAwayWithinAnObjectLeavesNothing) {
    const auto service = room.StartService();
    TestObject big;
    // NOLINTNEXTLINE(bugprone-string-constructor): so large that the sender is caught within it
    big.Set(DCM_TextValue, std::string(50'000'000, 'x')).SaveTo(room.Folder() / "big.dcm");
    Child sender(
        {"storescu", "-aec", "PORVANE", "127.0.0.1", std::to_string(room.Port()), (room.Folder() / "big.dcm").string()},
        (room.Folder() / "sender.log").string());
    ASSERT_TRUE(Eventually([this] { return !room.Received().empty(); }));
    sender.Signal(SIGKILL);
    EXPECT_TRUE(Eventually([this] { return room.Received().empty(); }));
    ExpectNothingStored();
}

TEST_F(StorageFailure, ASilentConnectionHoldsUpNobody) {
    const auto service = room.StartService();
    std::vector<int> silent;
    for (int i = 0; i < 8; ++i) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(room.Port()));
        silent.push_back(socket(AF_INET, SOCK_STREAM, 0));
        ASSERT_EQ(connect(silent.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    EXPECT_EQ(TestObject().Send(room), Stored);
    for (const int connection : silent)
        close(connection);
}

TEST_F(StorageFailure, TheServiceListensOnTheLoopbackAddressAlone) {
    const auto service = room.StartService();
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%04X", static_cast<unsigned>(room.Port()));
    const std::string port = digits.data();
    // State 0A is listening; the address stands before the port, its bytes in the machine's order.
    const auto listening = RunShell("grep -h ':" + port + " 00000000:0000 0A' /proc/net/tcp");
    EXPECT_NE(listening.out.find("0100007F:" + port), std::string::npos) << listening.out;
    EXPECT_EQ(RunShell("grep -hi ':" + port + " .* 0A ' /proc/net/tcp6").out, "");
}

TEST_F(StorageFailure, TheServiceEndsCleanlyWhenItIsAsked) {
    const auto service = room.StartService();
    TestObject().Send(room);
    service->Signal(SIGTERM);
    EXPECT_EQ(service->Wait(), 0);
}

TEST_F(StorageFailure, AServiceWithoutAPortRowSaysWhatSetsIt) {
    room.Run("DELETE FROM Port");
    Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
    EXPECT_EQ(service.Wait(), 1);
    EXPECT_NE(room.ServiceLog().find("\"orbenta-catalogue port\" sets them"), std::string::npos);
}

TEST_F(StorageFailure, AServiceWithoutACatalogueSaysSo) {
    const auto outcome =
        RunShell(std::string(PORVANE_PROGRAM) + " --dsn NoSuchEntry --studies " + room.Studies().string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("this account has no ODBC entry"), std::string::npos) << outcome.err;
}

TEST_F(StorageFailure, AStudiesFolderThatCannotBeMadeIsSaid) {
    std::ofstream(room.Folder() / "file") << "in the way";
    const auto outcome =
        RunShell(std::string(PORVANE_PROGRAM) + " --studies " + (room.Folder() / "file/studies").string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("Cannot write in the studies' folder"), std::string::npos) << outcome.err;
}

TEST_F(StorageFailure, AStudiesFolderThatTakesNoFilesIsSaid) {
    const auto outcome = RunShell(std::string(PORVANE_PROGRAM) + " --studies /proc");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("Cannot write in the studies' folder \"/proc\""), std::string::npos) << outcome.err;
}

TEST_F(StorageFailure, APortThatIsTakenIsSaid) {
    const int taken = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(room.Port()));
    ASSERT_EQ(bind(taken, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    listen(taken, 1);
    Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
    EXPECT_EQ(service.Wait(), 1);
    EXPECT_NE(room.ServiceLog().find("Cannot listen on port "), std::string::npos) << room.ServiceLog();
    close(taken);
}

TEST_F(StorageFailure, ACatalogueWithoutTablesSaysWhatMakesThem) {
    room.Run("DROP TABLE Port");
    Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
    EXPECT_EQ(service.Wait(), 1);
    EXPECT_NE(room.ServiceLog().find("\"orbenta-catalogue init\""), std::string::npos) << room.ServiceLog();
}

TEST_F(StorageFailure, ACatalogueThatIsNotThereSaysWhatMakesIt) {
    fs::remove(room.Folder() / "catalogue.db");
    Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
    EXPECT_EQ(service.Wait(), 1);
    EXPECT_NE(room.ServiceLog().find("\"orbenta-catalogue init\""), std::string::npos) << room.ServiceLog();
}

TEST_F(StorageFailure, WrongArgumentsAreSaid) {
    for (const char* wrong :
         {"--nonsense", "--studies ''", "--studies \"it's\"", "--dsn ''", "--unsent ''", "--unsent"}) {
        const auto outcome = RunShell(std::string(PORVANE_PROGRAM) + " " + wrong);
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_NE(outcome.err, "") << wrong;
    }
    const auto help = RunShell(std::string(PORVANE_PROGRAM) + " --help");
    EXPECT_EQ(help.status, 0);
    for (const char* word : {"--studies", "--unsent", "--dsn", "--version", "Exit status"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

} // namespace
} // namespace tavrel
