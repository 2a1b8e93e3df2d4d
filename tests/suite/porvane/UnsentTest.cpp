#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"
#include "tests/support/InlineBackground.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <numeric>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Versions that the report editor could not send.
class Unsent : public testing::Test {
protected:
    /// A version of a report, made in that minute of the day, which follows those of the minutes before.
    static TestObject Version(int minute, const std::string& series = "2.999.4") {
        TestObject version;
        version.Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_Modality, "SR")
            .Set(DCM_SeriesInstanceUID, series)
            .Set(DCM_SOPInstanceUID, UidOf(minute, series))
            .Set(DCM_ContentDate, "20261121")
            .Set(DCM_ContentTime, std::to_string(100000 + 100 * minute))
            .After(UidsOf(minute - 1, series));
        return version;
    }
    static std::string UidOf(int minute, const std::string& series = "2.999.4") {
        return series + "." + std::to_string(minute);
    }
    static std::vector<std::string> UidsOf(int count, const std::string& series = "2.999.4") {
        std::vector<std::string> uids;
        for (int minute = 1; minute <= count; ++minute)
            uids.push_back(UidOf(minute, series));
        return uids;
    }

    /// As the editor does: whole at once.
    fs::path Keep(TestObject version, std::string name = {}) {
        if (name.empty())
            name = version.Get(DCM_SOPInstanceUID) + ".dcm";
        fs::create_directories(room.Unsent());
        fs::rename(version.SaveTo(room.Folder() / "version"), room.Unsent() / name);
        return room.Unsent() / name;
    }
    fs::path KeepText(const std::string& name, const std::string& text) {
        fs::create_directories(room.Unsent());
        std::ofstream(room.Folder() / "text") << text;
        fs::rename(room.Folder() / "text", room.Unsent() / name);
        return room.Unsent() / name;
    }
    std::size_t Waiting() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(room.Unsent()), fs::directory_iterator()));
    }
    bool NoneWaits() const {
        return Eventually([this] { return Waiting() == 0; });
    }
    std::vector<std::string> StoredInOrder() {
        return room.Column("SELECT SOPInstanceUID FROM Image ORDER BY ImageID");
    }
    int TimesLogged(const std::string& words) const {
        const std::string log = room.ServiceLog();
        int times = 0;
        for (auto at = log.find(words); at != std::string::npos; at = log.find(words, at + 1))
            ++times;
        return times;
    }

    SuiteRoom room;
};

/// What keeps the service out of the folder as another service would.
class Holder {
public:
    explicit Holder(const fs::path& folder) : folder_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        flock(folder_, LOCK_EX);
    }
    ~Holder() { close(folder_); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

private:
    int folder_;
};

TEST_F(Unsent, VersionsAreStoredBeforeAnySenderIsServed) {
    Keep(Version(1));
    Keep(Version(2));
    const auto service = room.StartService();
    EXPECT_EQ(TestObject().Numbered(1).Send(room), Stored);
    EXPECT_EQ(StoredInOrder(), (std::vector<std::string>{UidOf(1), UidOf(2), "2.999.7.1"}));
    EXPECT_EQ(Waiting(), 0U);
}

TEST_F(Unsent, AVersionThatIsKeptMeanwhileIsStoredAlthoughItsFolderWasNotThere) {
    const auto service = room.StartService();
    Keep(Version(1));
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(Unsent, AFolderThatWentAndCameAgainIsWatched) {
    fs::create_directories(room.Unsent());
    const auto service = room.StartService();
    for (const int minute : {1, 2}) {
        fs::remove_all(room.Unsent().parent_path());
        Keep(Version(minute));
        EXPECT_TRUE(NoneWaits());
    }
    EXPECT_EQ(StoredInOrder(), UidsOf(2));
}

TEST_F(Unsent, VersionsAreStoredInTheOrderOfTheirMaking) {
    Keep(Version(3), "a.dcm");
    Keep(Version(1), "c.dcm");
    Keep(Version(2), "b.dcm");
    const auto service = room.StartService();
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(3));
}

TEST_F(Unsent, AVersionThatDoesNotFollowTheLastOneIsStoredBesideIt) {
    const auto service = room.StartService();
    ASSERT_EQ(Version(1).Send(room, "AE_INTERNAL"), Stored);
    ASSERT_EQ(Version(2).Send(room, "AE_INTERNAL"), Stored);
    Keep(Version(3).After(UidsOf(1)));
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(3));
}

TEST_F(Unsent, AVersionOfAReportThatWasApprovedMeanwhileStaysThere) {
    const auto service = room.StartService();
    ASSERT_EQ(Version(1).Send(room, "AE_INTERNAL"), Stored);
    ASSERT_EQ(Version(2).Set(DCM_VerificationFlag, "VERIFIED").Send(room, "AE_INTERNAL"), Stored);
    Keep(Version(3).After(UidsOf(1)));
    EXPECT_TRUE(Eventually([this] { return TimesLogged("stays there: the report is approved") == 1; }));
    EXPECT_EQ(Waiting(), 1U);
    EXPECT_EQ(Version(4).After(UidsOf(2)).Send(room, "AE_INTERNAL"), ReportApproved);
    EXPECT_EQ(StoredInOrder(), UidsOf(2));
}

TEST_F(Unsent, VersionsOfOneSecondAreStoredInTheOrderOfTheirKeeping) {
    Keep(Version(1), "b.dcm");
    Keep(Version(1).Set(DCM_SOPInstanceUID, UidOf(2)), "c.dcm");
    Keep(Version(1).Set(DCM_SOPInstanceUID, UidOf(3)), "a.dcm");
    const auto service = room.StartService();
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(3));
}

TEST_F(Unsent, AVersionThatWasSentAfterAllIsStoredOnce) {
    const auto service = room.StartService();
    EXPECT_EQ(Version(1).Send(room), Stored);
    Keep(Version(1));
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(room.Count("Image"), "1");
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

/// The report editor's own way to the service.
class Editor {
public:
    explicit Editor(const fs::path& file) : versions_(library_.NewDataSetList()) {
        versions_->LoadFile(file.string());
        for (int index = 0; index < 2; ++index) {
            const auto item = library_.NewDataSet();
            item->SetValue(attribute::PatientName, 0, std::string("a name of an odd length"));
            versions_->Item(0)->SetSequenceItem(attribute::ContentSequence, index, item);
        }
    }
    void Send(int port) {
        versions_->Item(0)->StoreToNode("Localhost", std::to_string(port), "AE_INTERNAL", "PORVANE", false);
    }
    void Keep(const fs::path& file) { versions_->Item(0)->SaveToFile(file.string()); }

private:
    struct NoEvents : ServiceEvents {
        void Expect(const std::string&) override {}
        std::unique_ptr<ServiceObject> Attach(ServiceEventHandler&) override { return {}; }
        void AwaitSentEvents() override {}
    };
    test::InlineBackground background_;
    NoEvents events_;
    DcmtkLibrary library_{background_, events_};
    std::shared_ptr<DataSetList> versions_;
};

TEST_F(Unsent, AVersionOfTheEditorThatWasSentAfterAllIsStoredOnce) {
    const auto service = room.StartService();
    Editor editor(Version(1).SaveTo(room.Folder() / "version"));
    editor.Send(room.Port());
    fs::create_directories(room.Unsent());
    editor.Keep(room.Unsent() / "version.dcm");
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(room.Count("Image"), "1") << room.ServiceLog();
}

TEST_F(Unsent, AFileIsLeftAloneUntilItIsComplete) {
    const fs::path file = KeepText(UidOf(1) + ".dcm", "");
    const auto service = room.StartService();
    Keep(Version(2, "2.999.5"));
    EXPECT_TRUE(Eventually([&] { return room.Count("Image") == "1"; }));
    EXPECT_TRUE(fs::exists(file));
    Keep(Version(1));
    EXPECT_TRUE(NoneWaits());
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("cannot be stored")));
}

TEST_F(Unsent, OtherFilesOfTheFolderAreNoVersions) {
    KeepText(".tavrel-x1y2z3", "half a version");
    KeepText("notes.txt", "of a person");
    const auto service = room.StartService();
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_EQ(Waiting(), 2U);
    EXPECT_THAT(room.ServiceLog(), Not(HasSubstr("cannot be stored")));
}

TEST_F(Unsent, ALaterVersionDoesNotOvertakeAnEarlierOne) {
    fs::create_directories(room.Unsent());
    auto other = std::make_unique<Holder>(room.Unsent());
    const auto service = room.StartService();
    Keep(Version(1));
    EXPECT_EQ(Version(2).Send(room, "AE_INTERNAL"), OutOfResources);
    EXPECT_THAT(room.ServiceLog(), HasSubstr("an earlier version waits: another storage service has its folder"));
    EXPECT_THAT(StoredInOrder(), IsEmpty());
    other.reset();
    EXPECT_EQ(Version(2).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(StoredInOrder(), UidsOf(2));
}

TEST_F(Unsent, AWaitingVersionHoldsUpNoOtherReport) {
    fs::create_directories(room.Unsent());
    const Holder other(room.Unsent());
    const auto service = room.StartService();
    Keep(Version(1));
    EXPECT_EQ(Version(2, "2.999.5").Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Waiting(), 1U);
}

TEST_F(Unsent, AFileThatIsNoDicomFileStaysIsNamedOnceAndHoldsUpNobody) {
    const fs::path bad = KeepText("bad.dcm", "no DICOM file");
    const auto service = room.StartService();
    for (const int minute : {1, 2}) {
        Keep(Version(minute));
        ASSERT_TRUE(Eventually([&] { return Waiting() == 1; }));
    }
    EXPECT_EQ(Version(3).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_TRUE(fs::exists(bad));
    EXPECT_EQ(TimesLogged(bad.string() + " cannot be stored and stays there: "), 1) << room.ServiceLog();
}

TEST_F(Unsent, AVersionWithoutAUidHoldsUpItsOwnReportAlone) {
    const fs::path bad = Keep(Version(1).Remove(DCM_StudyInstanceUID));
    const auto service = room.StartService();
    EXPECT_EQ(Version(2).Send(room, "AE_INTERNAL"), CannotUnderstand);
    EXPECT_EQ(Version(2, "2.999.5").Send(room, "AE_INTERNAL"), Stored);
    EXPECT_TRUE(fs::exists(bad));
    EXPECT_EQ(TimesLogged(bad.string() + " cannot be stored"), 1);
    fs::remove(bad); // a person looked after it
    EXPECT_EQ(Version(2).Send(room, "AE_INTERNAL"), Stored);
}

TEST_F(Unsent, ABadFileThatIsMendedIsStored) {
    KeepText(UidOf(1) + ".dcm", "no DICOM file");
    const auto service = room.StartService();
    Keep(Version(1));
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(Unsent, VersionsWaitWhileTheCatalogueIsLocked) {
    room.WaitForLocks(milliseconds(100));
    const auto service = room.StartService();
    room.Catalogue().BeginTransaction();
    Keep(Version(1));
    Keep(Version(2));
    EXPECT_TRUE(Eventually([this] { return TimesLogged("cannot be stored now: catalogue: ") == 1; }));
    std::this_thread::sleep_for(std::chrono::seconds(1)); // no file's coming makes it try again from here on
    EXPECT_EQ(Waiting(), 2U);
    room.Catalogue().Commit();
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(2));
}

TEST_F(Unsent, AReportThatTheCatalogueRefusesHoldsUpNoOther) {
    RunShell("sqlite3 " + (room.Folder() / "catalogue.db").string() +
             " \"CREATE TRIGGER Refuse BEFORE INSERT ON Series WHEN NEW.SeriesInstanceUID='2.999.4'"
             " BEGIN SELECT RAISE(ABORT, 'refused'); END\"");
    Keep(Version(1));
    Keep(Version(2, "2.999.5"));
    const auto service = room.StartService();
    EXPECT_TRUE(Eventually([this] { return Waiting() == 1; }));
    EXPECT_EQ(StoredInOrder(), std::vector<std::string>{UidOf(2, "2.999.5")});
}

TEST_F(Unsent, AFullDiskKeepsAVersionWhereItIs) {
    // No file of the service can grow beyond 1 MB; the signal for that is ignored.
    std::string command = "trap '' XFSZ; ulimit -f 1024; exec";
    for (const std::string& argument : room.ServiceCommand())
        command += " " + argument;
    // NOLINTNEXTLINE(bugprone-string-constructor): so large that the file cannot be written
    const fs::path big = Keep(Version(1).Set(DCM_TextValue, std::string(2'000'000, 'x')));
    Keep(Version(2, "2.999.5"));
    const Child service({"bash", "-c", command}, (room.Folder() / "porvane.log").string());
    EXPECT_TRUE(Eventually([this] { return Waiting() == 1; }));
    EXPECT_TRUE(fs::exists(big));
    EXPECT_THAT(room.ServiceLog(), HasSubstr("File too large"));
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

TEST_F(Unsent, AServiceKilledAtAnyMomentLosesAndDoublesNothing) {
    constexpr int count = 40;
    for (int minute = 1; minute <= count; ++minute)
        Keep(Version(minute));
    for (const int after : {20, 30, 40, 50, 60}) {
        const Child service(room.ServiceCommand(), (room.Folder() / "porvane.log").string());
        std::this_thread::sleep_for(milliseconds(after));
        service.Signal(SIGKILL);
    }
    const auto service = room.StartService();
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(count));
    EXPECT_EQ(room.StoredFiles().size(), static_cast<std::size_t>(count));
}

TEST_F(Unsent, TwoServicesStoreEachVersionOnce) {
    const auto first = room.StartService();
    room.Run("UPDATE Port SET Port=Port+1");
    auto command = room.ServiceCommand();
    command.back() += "-2";
    const Child second(command, (room.Folder() / "second.log").string());
    for (int minute = 1; minute <= 20; ++minute)
        Keep(Version(minute));
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(20));
}

TEST_F(Unsent, AnImportOfTheFolderMeanwhileDoublesNothing) {
    for (int minute = 1; minute <= 20; ++minute)
        Keep(Version(minute));

    auto holder = std::make_unique<Holder>(room.Unsent());
    const auto service = room.StartService();
    holder.reset();
    room.Tool("import " + room.Unsent().string());
    EXPECT_TRUE(NoneWaits());
    EXPECT_EQ(StoredInOrder(), UidsOf(20));
}

TEST_F(Unsent, AServiceThatWaitsForVersionsEndsAtOnceWhenItIsAsked) {
    KeepText("bad.dcm", "no DICOM file");
    const auto service = room.StartService();
    const auto begun = std::chrono::steady_clock::now();
    service->Signal(SIGTERM);
    EXPECT_EQ(service->Wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
}

TEST_F(Unsent, AnotherFolderCanBeNamed) {
    auto command = room.ServiceCommand();
    command.insert(command.end(), {"--unsent", (room.Folder() / "elsewhere").string()});
    fs::create_directories(room.Folder() / "elsewhere");
    Version(1).SaveTo(room.Folder() / "elsewhere/one.dcm");
    const Child service(command, (room.Folder() / "porvane.log").string());
    EXPECT_TRUE(Eventually([this] { return !fs::exists(room.Folder() / "elsewhere/one.dcm"); }));
    EXPECT_EQ(room.Count("Image"), "1");
}

} // namespace
} // namespace tavrel
