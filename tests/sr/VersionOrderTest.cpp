#include "sr/VersionOrder.h"
#include "platform/uid.h"
#include "tests/sr/ReportFixture.h"

#include <algorithm>

namespace tavrel::test {
namespace {

using testing::ElementsAre;

struct FiledVersion {
    std::string name;                        ///< the end of its UID, and its reading
    std::vector<std::string> predecessors{}; ///< names
    int minute = 0;                          ///< of its content time
    bool approved = false;
};

/// A folder of versions as anyone may have filed them, in this order of their files.
class VersionOrder : public ReportFixture {
protected:
    std::string File(const std::vector<FiledVersion>& versions) {
        std::filesystem::create_directories(station.NativePath("filed"));
        for (std::size_t index = 0; index < versions.size(); ++index)
            Make(versions[index])->SaveToFile(station.Path("filed\\img_" + std::to_string(100001 + index) + ".dcm"));
        return station.Path("filed");
    }
    /// The readings, oldest first.
    std::vector<std::string> Order(const std::vector<FiledVersion>& versions) {
        document.LoadSeries(File(versions));
        std::vector<std::string> readings;
        for (std::int16_t index = 0; index < document.NumVersions(); ++index) {
            document.GotoVersion(index);
            readings.push_back(document.Reading());
        }
        return readings;
    }

private:
    static std::string UidOf(const std::string& name) { return "1.2.3.9." + std::to_string(1 + name.back() - 'A'); }

    DataSetHandle Item(DicomDataSet& holder, Tag sequence, int index) const {
        auto item = station.dicom->NewDataSet();
        holder.SetSequenceItem(sequence, index, item);
        return item;
    }
    DataSetHandle Make(const FiledVersion& seed) const {
        auto version = station.dicom->NewDataSet();
        const auto put = [](const DataSetHandle& where, const Attribute& what, const Value& value) {
            where->SetValue(what, 0, value);
        };
        put(version, attribute::SopClassUid, std::string(BasicTextSr));
        put(version, attribute::SopInstanceUid, UidOf(seed.name));
        put(version, attribute::ContentDate, DateTime{2026, 11, 14});
        put(version, attribute::ContentTime, DateTime{.hour = 8, .minute = static_cast<std::int8_t>(seed.minute)});
        put(version, attribute::CompletionFlag, seed.approved ? "COMPLETE" : "PARTIAL");
        for (int index = 0; index < static_cast<int>(seed.predecessors.size()); ++index) {
            const auto study = Item(*version, attribute::PredecessorDocumentsSequence, index);
            const auto series = Item(*study, attribute::ReferencedSeriesSequence, 0);
            put(Item(*series, attribute::ReferencedSopSequence, 0), attribute::ReferencedSopInstanceUid,
                UidOf(seed.predecessors[static_cast<std::size_t>(index)]));
        }
        put(Item(*version, attribute::ContentSequence, 0), attribute::TextValue, "Title");
        put(Item(*version, attribute::ContentSequence, 1), attribute::TextValue, seed.name);
        return version;
    }
};

TEST_F(VersionOrder, IsThatOfTheFilesWhereTheChainAgrees) {
    EXPECT_THAT(Order({{"A", {}, 3}, {"B", {"A"}, 2}, {"C", {"A", "B"}, 1}}), ElementsAre("A", "B", "C"));
}

TEST_F(VersionOrder, OfAVersionThatArrivesAfterItsSuccessorIsItsPlaceInTheChain) {
    EXPECT_THAT(Order({{"A"}, {"C", {"A", "B"}, 2}, {"B", {"A"}, 1}}), ElementsAre("A", "B", "C"));
}

TEST_F(VersionOrder, KeepsAnApprovalThatTheLateVersionPrecedes) {
    Order({{"A"}, {"C", {"A", "B"}, 2, true}, {"B", {"A"}, 1}});

    EXPECT_EQ(document.status(), DcmSRDocument::Approved);
    EXPECT_TRUE(document.ReadOnly());
}

TEST_F(VersionOrder, KeepsAnApprovalWhateverWasWrittenBesideIt) {
    EXPECT_THAT(Order({{"A"}, {"B", {"A"}, 1, true}, {"C", {"A"}, 2}, {"D", {"A", "C"}, 3}}),
                ElementsAre("A", "C", "D", "B"));
    EXPECT_EQ(document.status(), DcmSRDocument::Approved);
}

TEST_F(VersionOrder, FollowsTheChainAgainstAClockThatGoesBack) {
    EXPECT_THAT(Order({{"C", {"A", "B"}, 1}, {"A", {}, 3}, {"B", {"A"}, 2}}), ElementsAre("A", "B", "C"));
}

TEST_F(VersionOrder, OfTwoSuccessorsOfOneVersionIsThatOfTheirTimes) {
    EXPECT_THAT(Order({{"A"}, {"C", {"A"}, 2}, {"B", {"A"}, 1}}), ElementsAre("A", "B", "C"));
}

TEST_F(VersionOrder, OfVersionsWithoutAChainIsThatOfTheirTimes) {
    EXPECT_THAT(Order({{"B", {}, 2}, {"A", {}, 1}}), ElementsAre("A", "B"));
}

TEST_F(VersionOrder, OfVersionsThatNothingTellsApartIsThatOfTheirFiles) {
    EXPECT_THAT(Order({{"B"}, {"A"}, {"C"}}), ElementsAre("B", "A", "C"));
}

TEST_F(VersionOrder, DoesNotMissAPredecessorThatIsNotThere) {
    EXPECT_THAT(Order({{"A", {"X"}}, {"C", {"A", "B", "Y"}, 2}, {"B", {"A", "X"}, 1}}), ElementsAre("A", "B", "C"));
}

TEST_F(VersionOrder, EndsWhereVersionsNameEachOtherInACircle) {
    EXPECT_THAT(Order({{"A", {"B"}, 1}, {"B", {"A"}, 2}, {"C", {"C"}, 3}}), ElementsAre("C", "A", "B"));
}

TEST_F(VersionOrder, KeepsBothFilesOfOneVersion) {
    EXPECT_THAT(Order({{"A"}, {"B", {"A"}, 1}, {"B", {"A"}, 1}}), ElementsAre("A", "B", "B"));
}

TEST_F(VersionOrder, IsTheSameWhateverTheFilesOrder) {
    std::vector<FiledVersion> versions{
        {"A", {}, 5}, {"B", {"A"}, 4}, {"C", {"A"}, 3}, {"D", {"A", "C"}, 2, true}, {"E", {"A", "B"}, 1}};
    const auto order = Order(versions);
    do
        ASSERT_EQ(Order(versions), order);
    while (std::ranges::next_permutation(versions, {}, &FiledVersion::name).found);
    EXPECT_THAT(order, ElementsAre("A", "C", "B", "E", "D"));
}

TEST_F(VersionOrder, IsWhatTheNextVersionNames) {
    const std::string folder = station.AddReport({.versions = 3});
    std::filesystem::rename(station.NativePath("study/report1/img_000002.dcm"),
                            station.NativePath("study/report1/img_000004.dcm"));
    document.LoadSeries(folder);

    document.Send();

    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00", "14/11/2026 08:02:00",
                                      "15/11/2026 08:05:09"));
    EXPECT_EQ(document.Observers().size(), 3U);
    EXPECT_EQ(PredecessorCount(*LastVersion()), 3U);
}

TEST_F(VersionOrder, OfAChainThatTheFilesFollowCostsNoFurtherReading) {
    struct Counting : ForwardingDataSetList {
        Counting(std::shared_ptr<DataSetList> target, int& loaded)
            : ForwardingDataSetList(std::move(target)), count(loaded) {}
        void LoadFile(std::string_view path, int flag, int reserved) override {
            ++count;
            ForwardingDataSetList::LoadFile(path, flag, reserved);
        }
        int& count;
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            return std::make_shared<Counting>(ForwardingLibrary::NewDataSetList(), loaded);
        }
        int loaded = 0;
    } library(*station.dicom);
    Global counted(station.PortsWith(library));

    DcmSRDocument(counted).LoadSeries(station.AddReport({.versions = 5}));

    EXPECT_EQ(library.loaded, 5);
}

} // namespace
} // namespace tavrel::test
