#include "sr/UnsentVersion.h"
#include "tests/sr/ReportFixture.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>

namespace tavrel::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// A report whose storage service fails.
class Unsent : public ReportFixture {
protected:
    Unsent() {
        Refuse({static_cast<int>(DicomFault::NotStored), "DICOM", "The service is down."});
        CreateReport();
    }

    void Refuse(const Error& failure) {
        station.store.answer = [failure](const SentVersion&) { throw failure; };
    }

    std::filesystem::path Folder() const { return station.NativePath("state/unsent"); }
    std::vector<std::filesystem::path> Kept() const {
        if (!std::filesystem::exists(Folder()))
            return {};
        return {std::filesystem::directory_iterator(Folder()), std::filesystem::directory_iterator()};
    }
    static mode_t ModeOf(const std::filesystem::path& path) {
        struct stat state {};
        return stat(path.c_str(), &state) == 0 ? state.st_mode & 0777U : 0;
    }
};

TEST_F(Unsent, IsKeptAsAFileThatHoldsTheVersion) {
    document.Reading("typed");

    document.Send();

    ASSERT_THAT(Kept(), SizeIs(1));
    DcmSRDocument kept(global);
    kept.LoadFile(Kept()[0].string());
    EXPECT_EQ(kept.Reading(), "typed");
}

TEST_F(Unsent, SaysWhyItWasNotSentAndWhereItIs) {
    document.Send();

    ASSERT_THAT(Shown(), SizeIs(1));
    EXPECT_EQ(Shown()[0], "The service is down. It is kept in the file " + Folder().string() +
                              "/1.2.999.1.2026.11.15.08.05.09.dcm.");
}

TEST_F(Unsent, IsKeptAfterAnyFailureThatLeavesItsFateOpen) {
    Refuse({0xA700, "Porvane", "Out of resources"});

    document.Send();

    EXPECT_THAT(Kept(), SizeIs(1));
}

TEST_F(Unsent, ThatWasRefusedBeforeItWasSentIsNotKept) {
    document.Reading("0.5 \u03A9"); // a letter that no report can hold

    document.Send();

    EXPECT_THAT(Kept(), IsEmpty());
    EXPECT_THAT(Shown(), testing::ElementsAre(testing::Not(HasSubstr("kept"))));
}

TEST_F(Unsent, HasAFileOfItsOwnEachTime) {
    document.Send();
    document.Send(); // within one second, so with the same UID

    EXPECT_THAT(Kept(), SizeIs(2));
    EXPECT_THAT(Shown()[1], EndsWith("-2.dcm."));
}

TEST_F(Unsent, IsTheOwnersAlone) {
    document.Send();

    ASSERT_THAT(Kept(), SizeIs(1));
    EXPECT_EQ(ModeOf(Kept()[0]), 0600U);
    EXPECT_EQ(ModeOf(Folder()), 0700U);
}

TEST_F(Unsent, ThatCannotBeKeptEitherSaysBoth) {
    std::filesystem::create_directories(station.NativePath("state"));
    std::ofstream(Folder()) << "in the way";

    document.Send();

    ASSERT_THAT(Shown(), SizeIs(1));
    EXPECT_THAT(Shown()[0], StartsWith("The service is down. It could not be kept as a file either: "));
}

TEST_F(Unsent, ThatCannotBeWrittenLeavesNoEmptyFile) {
    struct Unwritable : ForwardingDataSet {
        using ForwardingDataSet::ForwardingDataSet;
        void SaveToFile(std::string_view) const override { throw Error(5, "DICOM", "The disk is full."); }
    };
    struct List : ForwardingDataSetList {
        using ForwardingDataSetList::ForwardingDataSetList;
        DataSetHandle Item(int index) const override {
            return std::make_shared<Unwritable>(ForwardingDataSetList::Item(index));
        }
    };
    document.Series(std::make_shared<List>(document.Series()));

    document.Send();

    EXPECT_THAT(Kept(), IsEmpty());
    EXPECT_THAT(Shown(), testing::ElementsAre("The service is down. It could not be kept as a file either: "
                                              "The disk is full."));
}

TEST_F(Unsent, OfAnOddUidStaysInTheFolder) {
    document.Send(); // the version is written now
    struct Odd : ForwardingDataSet {
        using ForwardingDataSet::ForwardingDataSet;
        Value GetValue(const Attribute& asked, int valueIndex) const override {
            return asked == attribute::SopInstanceUid ? Value("../up\\down")
                                                      : ForwardingDataSet::GetValue(asked, valueIndex);
        }
    } odd(LastVersion());

    StoreOrKeep(global.ports, odd, "104", "PORVANE");

    EXPECT_TRUE(std::filesystem::exists(Folder() / ".._up_down.dcm"));
}

} // namespace
} // namespace tavrel::test
