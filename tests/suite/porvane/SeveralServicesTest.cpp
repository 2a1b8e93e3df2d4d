#include "platform/paths.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <latch>
#include <thread>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

/// Two storage services in one tree, with one catalogue, on each engine.
class SeveralServices : public testing::TestWithParam<const char*> {
protected:
    static constexpr int Rounds = 15;

    /// Sends one object to each service at the same moment; how many of them were stored.
    int SendAtOnce(TestObject one, TestObject other, const std::string& callingAe = "MODALITY") const {
        std::latch ready(2);
        int stored = 0;
        std::jthread second([&] {
            ready.arrive_and_wait();
            stored = other.Send(ports[1], callingAe) == Stored ? 1 : 0;
        });
        ready.arrive_and_wait();
        const int first = one.Send(ports[0], callingAe) == Stored ? 1 : 0;
        second.join();
        return first + stored;
    }

    static TestObject Image(int study, int number) {
        const std::string uid = "2.999." + std::to_string(study);
        return TestObject()
            .Set(DCM_PatientID, "P" + std::to_string(study))
            .Set(DCM_StudyInstanceUID, uid)
            .Set(DCM_SeriesInstanceUID, uid + ".1")
            .Set(DCM_SOPInstanceUID, uid + ".1." + std::to_string(number));
    }

    /// A file for each row, whole, and none besides.
    void ExpectFilesAndRows(int count) {
        EXPECT_EQ(room.Count("Image"), std::to_string(count));
        EXPECT_EQ(room.StoredFiles().size(), static_cast<std::size_t>(count));
        EXPECT_EQ(room.Tool("check").out.find("[missing]"), std::string::npos);
        EXPECT_NE(room.Tool("check").out.find("the files of all studies agree"), std::string::npos)
            << room.Tool("check").out;
    }

    /// An object whose service was killed before its first name went.
    fs::path KillAfterStoring() {
        EXPECT_EQ(Image(1, 1).Send(ports[1]), Stored);
        services[1]->Signal(SIGKILL);
        services[1]->Wait();
        EXPECT_EQ(room.Received().size(), 1U);
        return room.StoredFiles().at(0);
    }

    std::unique_ptr<Child> Start(std::size_t index) {
        room.MoveToAnotherPort();
        ports.at(index) = room.Port();
        return room.StartService();
    }

    SuiteRoom room{GetParam()};
    std::array<int, 2> ports{};
    std::array<std::unique_ptr<Child>, 2> services{Start(0), Start(1)};
};

TEST_P(SeveralServices, MakeAStudyOnceThatComesToBothAtOnce) {
    for (int study = 1; study <= Rounds; ++study)
        EXPECT_EQ(SendAtOnce(Image(study, 1), Image(study, 2)), 2);
    for (const char* table : {"Patient", "Study", "Series"})
        EXPECT_EQ(room.Count(table), std::to_string(Rounds));
    ExpectFilesAndRows(2 * Rounds);
}

TEST_P(SeveralServices, StoreAnObjectOnceThatComesToBothAtOnce) {
    for (int number = 1; number <= Rounds; ++number)
        EXPECT_EQ(SendAtOnce(Image(1, number), Image(1, number)), 2);
    ExpectFilesAndRows(Rounds);
}

TEST_P(SeveralServices, KeepBothObjectsOfOneUid) {
    for (int number = 1; number <= Rounds; ++number)
        EXPECT_EQ(SendAtOnce(Image(1, number), Image(1, number).Set(DCM_ImageComments, "other bytes")), 2);
    ExpectFilesAndRows(2 * Rounds);
}

TEST_P(SeveralServices, StoreOneOfTwoVersionsOfTheEditorsThatComeAtOnce) {
    std::vector<std::string> chain;
    for (int round = 1; round <= Rounds; ++round) {
        const auto version = [&](int desk) {
            return Image(1, 10 * round + desk).Set(DCM_SOPClassUID, UID_BasicTextSRStorage).After(chain);
        };
        EXPECT_EQ(SendAtOnce(version(1), version(2), "AE_INTERNAL"), 1);
        const auto stored = room.Column("SELECT SOPInstanceUID FROM Image ORDER BY ImageID");
        chain = {stored.begin(), stored.end()};
        ASSERT_EQ(chain.size(), static_cast<std::size_t>(round));
    }
    ExpectFilesAndRows(Rounds);
}

TEST_P(SeveralServices, NumberTheVersionsOfAReportThroughout) {
    const auto version = [](int number) {
        return TestObject(Image(1, number)).Set(DCM_SOPClassUID, UID_BasicTextSRStorage).Set(DCM_Modality, "SR");
    };
    for (int number = 1; number <= Rounds; ++number)
        EXPECT_EQ(SendAtOnce(version(number), version(100 + number)), 2);
    ExpectFilesAndRows(2 * Rounds);
    for (const fs::path& file : room.StoredFiles()) // a number that was taken back leaves a gap
        EXPECT_EQ(file.filename().string().substr(0, 8), "img_0000");
}

TEST_P(SeveralServices, FinishWhatAnotherHadStored) {
    fs::remove(KillAfterStoring()); // as a power failure may
    services[1] = Start(1);
    EXPECT_TRUE(room.Received().empty());
    ExpectFilesAndRows(1);
}

TEST_P(SeveralServices, TakeBackWhatAnotherHadNotStored) {
    KillAfterStoring();
    for (const char* table : {"Image", "Series", "Study", "Patient"})
        room.Run(std::string("DELETE FROM ") + table);
    services[1] = Start(1);
    EXPECT_TRUE(room.Received().empty());
    ExpectFilesAndRows(0);
    EXPECT_FALSE(fs::exists(room.Studies() / "2.999.1"));
}

TEST_P(SeveralServices, LeaveAFileToTheOneWhoseItIs) {
    EXPECT_EQ(Image(1, 1).Send(ports[0]), Stored);
    const fs::path folder = room.StoredFiles().at(0).parent_path();
    // One works on the file, and another was killed when it had found its number taken.
    const auto areas = room.Incoming();
    for (const char* area : {"8", "9"})
        fs::create_directory(areas / area);
    std::ofstream(areas / "8/1.part") << "of one that works";
    fs::create_hard_link(areas / "8/1.part", folder / "img_000007.dcm");
    std::ofstream(areas / "9/2.part") << "of one that is gone";
    fs::create_symlink(InsidePath(folder.parent_path().string()) + "\n2.999.1.1\nimg_000007.dcm",
                       areas / "9/2.part.note");
    Child working({"flock", "-F", (areas / "8/lock").string(), "sleep", "60"}, "/dev/null");
    Eventually([&] { return fs::exists(areas / "8/lock"); });
    services[1] = Start(1);
    EXPECT_TRUE(fs::exists(folder / "img_000007.dcm"));
    EXPECT_FALSE(fs::exists(areas / "9/2.part.note"));
}

TEST_P(SeveralServices, SettleInTheirWorkWhatIsLeftByOneThatIsGone) {
    if (std::string(GetParam()) != "DicomFDB_sqlite")
        GTEST_SKIP() << "half a minute is enough once";
    KillAfterStoring();
    for (int tenths = 0; tenths < 400 && !room.Received().empty(); ++tenths)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(room.Received().empty());
    ExpectFilesAndRows(1);
}

INSTANTIATE_TEST_SUITE_P(Engines, SeveralServices,
                         testing::Values("DicomFDB_sqlite", "DicomFDB_postgresql", "DicomFDB_mariadb"),
                         [](const auto& test) { return std::string(test.param).substr(9); });

} // namespace
} // namespace tavrel
