#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class Loading : public ReportFixture {
protected:
    std::string Title() const {
        std::string scheme, code, meaning, annotation;
        document.GetTitle(scheme, code, meaning, annotation);
        return annotation;
    }
    /// What is wrong with a file, in the library's words.
    std::string FaultOf(const std::string& path) {
        return FailureOf([&] { DcmSRDocument(global).OpenFile(path); });
    }
};

TEST_F(Loading, OfAFileMakesItTheOnlyVersion) {
    const std::string folder = station.AddReport({.title = "Chest", .reading = "Normal.", .versions = 2});

    document.LoadFile(folder + "\\img_000002.dcm");

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(document.VersionIndex(), 0);
    EXPECT_EQ(document.Reading(), "Normal.");
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:01:00"));
    EXPECT_FALSE(document.Updated());
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(Loading, OfAFileKeepsWhatAFileDoesNotHold) {
    document.SetFinding(-1, "99SS", "F1", "Effusion", "");
    document.SetDiagnosis(-1, "99SS", "D1", "Pneumonia", "");
    document.SetBodyPart("99SS", "B1", "Chest");

    document.LoadFile(station.AddReport({}) + "\\img_000001.dcm");

    EXPECT_EQ(document.GetFindingCount(), 1);
    EXPECT_EQ(document.GetDiagnosisCount(), 1);
    EXPECT_EQ(document.BodyPartNode().CodeMeaning, "Chest");
}

TEST_F(Loading, OfAFileTakesThePlaceOfTheVersionsThatStoodThere) {
    LoadReport({.versions = 2});

    document.LoadFile(station.Path("study\\report1\\img_000001.dcm"));

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00"));
}

TEST_F(Loading, OfAFileWithoutAReadingKeepsTheOneThatStoodThere) {
    LoadReport({.reading = "stays"});
    const auto bare = station.dicom->NewDataSet();
    bare->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.11");
    bare->SetValue(attribute::SopInstanceUid, 0, "1.2.3.4.5");
    bare->SaveToFile(station.Path("bare.dcm"));

    document.LoadFile(station.Path("bare.dcm"));

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_EQ(document.Reading(), "stays");
}

TEST_F(Loading, OfAFileThatFailsKeepsAllButTheVersions) {
    LoadReport({.title = "Chest", .reading = "Normal.", .versions = 2});

    document.LoadFile(station.Path("missing.dcm"));

    EXPECT_EQ(document.NumVersions(), 0);
    EXPECT_EQ(document.VersionIndex(), 1);
    EXPECT_EQ(document.VersionCount(), 2);
    EXPECT_EQ(Title(), "Chest");
    EXPECT_EQ(document.Reading(), "Normal.");
}

TEST_F(Loading, OfAFileDoesNotMoveTheCurrentFile) {
    global.report->filePath = "before";

    document.LoadFile(station.AddReport({}) + "\\img_000001.dcm");

    EXPECT_EQ(global.report->filePath, "before");
}

TEST_F(Loading, OfAMissingFileNamesItAndWhy) {
    const std::string path = station.Path("missing.dcm");

    document.LoadFile(path);

    ASSERT_THAT(Shown(), ElementsAre("SRDocument.LoadFile(" + path + ") : " + FaultOf(path)));
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_EQ(document.NumVersions(), 0);
}

TEST_F(Loading, OfAFileThatIsNoDicomNamesItAndWhy) {
    station.files->WriteText(station.Path("note.dcm"), "not a report");

    document.LoadFile(station.Path("note.dcm"));

    EXPECT_THAT(Shown(), ElementsAre(StartsWith("SRDocument.LoadFile(")));
}

TEST_F(Loading, WithTheFailureLeftToTheCallerShowsNothing) {
    EXPECT_THROW(document.OpenFile(station.Path("missing.dcm")), Error);

    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(Loading, OfAFileThatYieldsNothingReadsAnEmptyVersion) {
    struct NothingRead : ForwardingDataSetList {
        using ForwardingDataSetList::ForwardingDataSetList;
        void LoadFile(std::string_view, int, int) override {}
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            return std::make_shared<NothingRead>(ForwardingLibrary::NewDataSetList());
        }
    } library(*station.dicom);
    Global other(station.PortsWith(library));
    DcmSRDocument preview(other);

    preview.LoadFile("anything.dcm");

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_EQ(preview.VersionIndex(), -1);
    EXPECT_EQ(preview.status(), DcmSRDocument::Pending);
    EXPECT_FALSE(preview.Updated());
}

TEST_F(Loading, OfASeriesTakesEveryFileAndShowsTheLast) {
    const std::string folder = station.AddReport({.versions = 3});

    document.LoadSeries(folder);

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(document.VersionIndex(), 2);
    EXPECT_EQ(document.Observers().size(), 3U);
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00", "14/11/2026 08:02:00"));
    EXPECT_FALSE(document.Updated());
}

TEST_F(Loading, OfASeriesTakesTheFilesInTheOrderOfTheirNames) {
    const std::string folder = station.AddReport({.versions = 2});
    std::filesystem::rename(station.NativePath("study/report1/img_000002.dcm"),
                            station.NativePath("study/report1/IMG_000000.dcm"));

    document.LoadSeries(folder);

    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:01:00", "14/11/2026 08:00:00"));
    EXPECT_EQ(document.Observers().size(), 1U);
}

TEST_F(Loading, OfASeriesLeavesOtherFilesAlone) {
    const std::string folder = station.AddReport({.versions = 2});
    station.files->WriteText(folder + "\\SR.dat", "image references");
    station.files->WriteText(folder + "\\note.txt", "a note");

    document.LoadSeries(folder);

    EXPECT_EQ(document.NumVersions(), 2);
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(Loading, OfASeriesTakesTheExtensionInAnyLetterCase) {
    const std::string folder = station.AddReport({.versions = 1});
    std::filesystem::rename(station.NativePath("study/report1/img_000001.dcm"),
                            station.NativePath("study/report1/img_000001.DCM"));

    document.LoadSeries(folder);

    EXPECT_EQ(document.NumVersions(), 1);
}

TEST_F(Loading, OfASeriesMovesTheCurrentFileToTheLastOne) {
    const std::string folder = station.AddReport({.versions = 2});

    document.LoadSeries(folder);

    EXPECT_EQ(global.report->filePath, folder + "\\img_000002.dcm");
}

TEST_F(Loading, OfASeriesForgetsTheFormerReport) {
    document.SetFinding(-1, "99SS", "F1", "Effusion", "");
    document.SetBodyPart("99SS", "B1", "Chest");

    document.LoadSeries(station.AddReport({}));

    EXPECT_EQ(document.GetFindingCount(), 0);
    EXPECT_EQ(document.BodyPartNode(), ContentNode());
}

TEST_F(Loading, OfAnEmptyFolderSaysThatThereIsNoVersion) {
    std::filesystem::create_directory(station.NativePath("empty"));
    const std::string folder = station.Path("empty");

    document.LoadSeries(folder);

    EXPECT_THAT(Shown(), ElementsAre("SRDocument.LoadSeries(" + folder + ") : No data set at index -1"));
    EXPECT_EQ(document.NumVersions(), 0);
    EXPECT_EQ(document.VersionIndex(), -1);
}

TEST_F(Loading, OfAMissingFolderNamesItAndWhy) {
    const std::string folder = station.Path("missing");

    document.LoadSeries(folder);

    EXPECT_THAT(Shown(), ElementsAre(StartsWith("SRDocument.LoadSeries(" + folder + ") : ")));
}

TEST_F(Loading, ThatMeetsABrokenFileKeepsTheVersionsBeforeIt) {
    const std::string folder = station.AddReport({.versions = 3});
    station.files->WriteText(folder + "\\img_000002.dcm", "broken");

    document.LoadSeries(folder);

    EXPECT_THAT(Shown(), ElementsAre(StartsWith("SRDocument.LoadSeries(" + folder + ") : ")));
    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(global.report->filePath, folder + "\\img_000001.dcm");
}

TEST_F(Loading, ThatMeetsABrokenFileHasForgottenTheFormerLabels) {
    LoadReport({.versions = 3});
    station.files->WriteText(station.Path("study\\report1\\img_000002.dcm"), "broken");

    document.LoadSeries(station.Path("study\\report1"));

    EXPECT_THAT(Labels(), IsEmpty());
    EXPECT_EQ(document.VersionIndex(), -1);
}

TEST_F(Loading, ThatMeetsABrokenFileIsFollowedByAnotherVersion) {
    const std::string folder = station.AddReport({.versions = 2});
    station.files->WriteText(folder + "\\img_000002.dcm", "broken");
    document.LoadSeries(folder);

    document.Send();

    EXPECT_EQ(document.NumVersions(), 2);
}

/// A document whose list of versions writes down how it is loaded.
class WatchedLoading : public Loading {
protected:
    struct Watching : ForwardingDataSetList {
        Watching(std::shared_ptr<DataSetList> target, std::vector<std::string>& made)
            : ForwardingDataSetList(std::move(target)), calls(made) {}
        void LoadFile(std::string_view path, int flag, int reserved) override {
            calls.push_back("LoadFile " + std::to_string(flag) + " " + std::to_string(reserved));
            ForwardingDataSetList::LoadFile(path, flag, reserved);
        }
        void Arrange(int order) override {
            calls.push_back("Arrange " + std::to_string(order));
            ForwardingDataSetList::Arrange(order);
        }
        std::vector<std::string>& calls;
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            return std::make_shared<Watching>(ForwardingLibrary::NewDataSetList(), calls);
        }
        std::vector<std::string> calls;
    };
    Library library{*station.dicom};
    Global watched{station.PortsWith(library)};
    DcmSRDocument loaded{watched};
};

TEST_F(WatchedLoading, ArrangesAfterEveryFileOfASeries) {
    loaded.LoadSeries(station.AddReport({.versions = 2}));

    EXPECT_THAT(library.calls, ElementsAre("LoadFile -1 0", "Arrange 0", "LoadFile -1 0", "Arrange 0"));
}

TEST_F(WatchedLoading, ArrangesAfterASingleFileToo) {
    loaded.LoadFile(station.AddReport() + "\\img_000001.dcm");

    EXPECT_THAT(library.calls, ElementsAre("LoadFile -1 0", "Arrange 0"));
}

} // namespace
} // namespace tavrel::test
