#include "suite/porvane/VersionTurn.h"

#include "platform/dcmtk/DcmtkLibrary.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/TreeFiles.h"
#include "tests/suite/TestObject.h"
#include "tests/support/ForwardingDicom.h"
#include "tests/support/TemporaryFolder.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <unistd.h>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;
using From = VersionTurn::From;
using Uids = std::vector<std::string>;

constexpr int Refused = -1, OfAnApprovedReport = -2;

/// Counts the files that are opened.
class CountingLibrary : public test::ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;
    std::atomic<int> opened = 0;

    std::shared_ptr<DataSetList> OpenImageSeries(std::span<const std::string> paths) override {
        ++opened;
        return ForwardingLibrary::OpenImageSeries(paths);
    }
};

/// A folder of a report, and the rows that tell which of its files are stored.
class AVersion : public testing::Test {
protected:
    void Lay(int number, const std::string& uid, const std::string& verification = "UNVERIFIED") {
        TestObject version;
        version.Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_SOPInstanceUID, uid)
            .Set(DCM_VerificationFlag, verification)
            .SaveTo(Path(number));
    }
    void Stored(int number, const std::string& uid, const std::string& verification = "UNVERIFIED") {
        Lay(number, uid, verification);
        rows[VersionName(number)] = uid;
    }
    fs::path Path(int number) const { return folder.Path() / VersionName(number); }

    /// The number of the version's file, or why there is none.
    int NumberAfter(const Uids& predecessors, From from = From::Editor, int taken = 0) {
        try {
            const auto list = [this](const std::string& name) {
                ++asked;
                return std::map(rows.lower_bound(name), rows.end());
            };
            return turn.NumberFor(folder.Path(), predecessors, from, list, taken);
        } catch (const StoreRefusal& refusal) {
            return refusal.status == StoreRefusal::Status::ReportApproved ? OfAnApprovedReport : Refused;
        }
    }

    TemporaryFolder folder;
    DcmtkLibrary dicom;
    CountingLibrary library{dicom};
    VersionTurn turn{library, seconds(0)};
    std::map<std::string, std::string> rows;
    int asked = 0;
};

TEST_F(AVersion, ThatIsTheFirstGoesToTheFirstNumber) {
    EXPECT_EQ(NumberAfter({}), 1);
}

TEST_F(AVersion, ThatFollowsAllGoesRightBehindThem) {
    Stored(1, "2.1");
    Stored(4, "2.4");
    EXPECT_EQ(NumberAfter({"2.1", "2.4"}), 5);
}

TEST_F(AVersion, ThatDoesNotFollowTheLastOneIsRefused) {
    Stored(1, "2.1");
    Stored(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1"}), Refused);
}

TEST_F(AVersion, ThatDoesNotFollowOneInTheMiddleIsRefused) {
    Stored(1, "2.1");
    Stored(2, "2.2");
    Stored(3, "2.3");
    EXPECT_EQ(NumberAfter({"2.1", "2.3"}), Refused);
}

TEST_F(AVersion, OfAReportThatWasNewAtTwoDesksIsRefusedToo) {
    Stored(1, "2.1");
    EXPECT_EQ(NumberAfter({}), Refused);
}

TEST_F(AVersion, ThatNamesMoreThanThereIsIsStored) {
    Stored(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), 3);
}

TEST_F(AVersion, OfTheKeptOnesIsStoredBesideTheOneThatItDoesNotFollow) {
    Stored(1, "2.1");
    Stored(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1"}, From::KeptFile), 3);
}

TEST_F(AVersion, OfAnApprovedReportIsRefusedWhoeverSendsIt) {
    Stored(1, "2.1");
    Stored(2, "2.2", "VERIFIED");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), OfAnApprovedReport);
    EXPECT_EQ(NumberAfter({"2.1"}), OfAnApprovedReport);
    EXPECT_EQ(NumberAfter({"2.1"}, From::KeptFile), OfAnApprovedReport);
}

TEST_F(AVersion, FromElsewhereIsStoredInWhateverOrder) {
    Stored(1, "2.1");
    Stored(2, "2.4", "VERIFIED");
    EXPECT_EQ(NumberAfter({"2.1"}, From::Elsewhere), 3);
    EXPECT_EQ(NumberAfter({}, From::Elsewhere), 3);
}

TEST_F(AVersion, FromElsewhereIsRefusedBehindTheApprovedOne) {
    Stored(1, "2.1");
    Stored(2, "2.2", "VERIFIED");
    Stored(3, "2.3");
    EXPECT_EQ(NumberAfter({"2.1", "2.2", "2.3"}, From::Elsewhere), OfAnApprovedReport);
}

TEST_F(AVersion, ThatWasKeptIsRefusedWhenTheApprovedOneIsNotTheLast) {
    Stored(1, "2.1");
    Stored(2, "2.2", "VERIFIED");
    Stored(3, "2.3");
    EXPECT_EQ(NumberAfter({"2.1"}, From::KeptFile), OfAnApprovedReport);
}

TEST_F(AVersion, MeetsWhatAnotherServiceHasStoredSince) {
    Stored(1, "2.1");
    EXPECT_EQ(NumberAfter({"2.1"}), 2);
    Stored(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1"}), Refused);
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), 3);
}

TEST_F(AVersion, WhoseNumberIsTakenByAnotherMeetsItThoughTheFolderDoesNotListIt) {
    Stored(1, "2.1");
    EXPECT_EQ(NumberAfter({"2.1"}), 2);
    Lay(2, "2.2");
    rows["img_000002.dcm"] = "2.2";
    EXPECT_EQ(NumberAfter({"2.1"}, From::Editor, 2), Refused);
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}, From::Editor, 2), 3);
}

TEST_F(AVersion, ThatMeetsAFileWithoutARowFollowsItOrNot) {
    Stored(1, "2.1");
    Lay(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1"}), Refused);
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), 3);
}

TEST_F(AVersion, ForgetsAFileWithoutARowWhoseNumberAnotherHasThen) {
    Stored(1, "2.1");
    Lay(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), 3);
    fs::remove(Path(2));
    Stored(2, "2.3");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), Refused);
}

TEST_F(AVersion, ForgetsAStoredFileThatIsGone) {
    Stored(1, "2.1");
    Stored(2, "2.2");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), 3);
    fs::remove(Path(2));
    rows.erase("img_000002.dcm");
    EXPECT_EQ(NumberAfter({"2.1"}), 2);
    Stored(2, "2.3");
    EXPECT_EQ(NumberAfter({"2.1", "2.2"}), Refused);
}

TEST_F(AVersion, DoesNotRememberAStoredFileThatMayStillBeTakenBack) {
    Stored(1, "2.1");
    VersionTurn careful(library);
    const auto list = [this](const std::string&) { return rows; };
    EXPECT_EQ(careful.NumberFor(folder.Path(), {"2.1"}, From::Editor, list), 2);
    Stored(1, "2.2");
    EXPECT_THROW(careful.NumberFor(folder.Path(), {"2.1"}, From::Editor, list), StoreRefusal);
}

TEST_F(AVersion, IsNotHeldUpByAFileThatIsNone) {
    Stored(1, "2.1");
    std::ofstream(folder.Path() / "other.dcm") << "no version";
    std::ofstream(folder.Path() / "SR.dat") << "images";
    EXPECT_EQ(NumberAfter({"2.1"}), 2);
}

TEST_F(AVersion, OpensOneFileOfThoseItHasNotMet) {
    for (int number = 1; number <= 50; ++number)
        Stored(number, "2." + std::to_string(number));
    Uids all;
    for (int number = 1; number <= 51; ++number)
        all.push_back("2." + std::to_string(number));
    EXPECT_EQ(NumberAfter(all), 51);
    EXPECT_EQ(library.opened, 1);
    Stored(51, "2.51");
    EXPECT_EQ(NumberAfter(all), 52);
    EXPECT_EQ(library.opened, 2);
    EXPECT_EQ(NumberAfter(all), 52);
    EXPECT_EQ(library.opened, 2);
    EXPECT_EQ(asked, 2);
}

/// Both at once, as two services do it: each has its own memory of the folder and links its own file.
TEST_F(AVersion, OfTwoServicesAtOnceIsStoredOnceInEachRound) {
    const auto send = [&](VersionTurn& service, const std::string& uid, const Uids& predecessors) {
        const auto incoming = folder.Path() / (uid + ".part");
        TestObject()
            .Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_SOPInstanceUID, uid)
            .Set(DCM_VerificationFlag, "UNVERIFIED")
            .SaveTo(incoming);
        try {
            for (int number = 0;;) {
                number = service.NumberFor(
                    folder.Path(), predecessors, From::Editor,
                    [](const std::string&) { return std::map<std::string, std::string>(); }, number);
                if (link(incoming.c_str(), Path(number).c_str()) == 0)
                    return true;
            }
        } catch (const StoreRefusal&) {
            return false;
        }
    };
    VersionTurn first(library), second(library);
    Uids chain;
    for (int round = 1; round <= 30; ++round) {
        std::atomic<int> ready = 0, stored = 0;
        const auto desk = [&](VersionTurn& service, const std::string& uid) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            stored += send(service, uid, chain) ? 1 : 0;
        };
        {
            const std::jthread one([&] { desk(first, "2.1." + std::to_string(round)); });
            const std::jthread other([&] { desk(second, "2.2." + std::to_string(round)); });
        }
        ASSERT_EQ(stored, 1);
        chain.push_back(dicom.OpenImageSeries(std::array{Path(round).string()})
                            ->GetElementString(0, Attribute{{0x0008, 0x0018}, "UI"}));
    }
}

} // namespace
} // namespace tavrel
