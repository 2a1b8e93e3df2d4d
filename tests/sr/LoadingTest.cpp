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

    EXPECT_THAT(Shown(), ElementsAre("SRDocument.LoadSeries(" + folder + ") : The folder " +
                                     station.NativePath("empty").string() + " holds no version of a report."));
    EXPECT_EQ(document.NumVersions(), 0);
    EXPECT_EQ(document.VersionIndex(), -1);
    EXPECT_TRUE(document.ReadOnly());
}

TEST_F(Loading, OfAMissingFolderNamesItAndWhy) {
    const std::string folder = station.Path("missing");

    document.LoadSeries(folder);

    EXPECT_THAT(Shown(), ElementsAre(StartsWith("SRDocument.LoadSeries(" + folder + ") : ")));
}

class Damaged : public Loading {
protected:
    /// Three versions, of which these files are broken.
    void LoadBroken(const std::vector<std::string>& names) {
        folder = station.AddReport({.versions = 3});
        for (const auto& name : names)
            station.files->WriteText(folder + "\\" + name, "broken");
        document.LoadSeries(folder);
    }
    std::string folder;
};

TEST_F(Damaged, VersionsAreNamedOnceAndTheOthersShown) {
    LoadBroken({"img_000002.dcm"});

    EXPECT_THAT(Shown(),
                ElementsAre("SRDocument.LoadSeries(" + folder + ") : " + FaultOf(folder + "\\img_000002.dcm")));
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:02:00"));
    EXPECT_EQ(document.Reading(), "Normal heart and lungs.");
    EXPECT_EQ(global.report->filePath, folder + "\\img_000003.dcm");
}

TEST_F(Damaged, NewestVersionLeavesTheOneBeforeItReadOnly) {
    LoadBroken({"img_000003.dcm"});

    EXPECT_EQ(document.VersionIndex(), 1);
    EXPECT_TRUE(document.ReadOnly());
    EXPECT_EQ(document.Damage(), FaultOf(folder + "\\img_000003.dcm"));
}

TEST_F(Damaged, VersionsAreCounted) {
    LoadBroken({"img_000001.dcm", "img_000003.dcm"});

    EXPECT_EQ(document.Damage(), FaultOf(folder + "\\img_000001.dcm") + " (2 files of the report cannot be read.)");
}

TEST_F(Damaged, ReportWithoutAReadableVersionIsReadOnlyAndEmpty) {
    LoadReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    LoadBroken({"img_000001.dcm", "img_000002.dcm", "img_000003.dcm"});

    EXPECT_THAT(Labels(), IsEmpty());
    EXPECT_EQ(document.VersionIndex(), -1);
    EXPECT_TRUE(document.ReadOnly());
}

TEST_F(Damaged, ReportTakesNoFurtherVersion) {
    LoadBroken({"img_000002.dcm"});

    EXPECT_EQ(document.Send().fate, Delivery::Fate::NotStored);

    EXPECT_THAT(Shown().back(), StartsWith("No version can be written after one that cannot be read. The file "));
    EXPECT_EQ(document.NumVersions(), 2);
    EXPECT_TRUE(station.store.sent.empty());
}

TEST_F(Damaged, ReportIsForgottenByTheNextOne) {
    LoadBroken({"img_000002.dcm"});

    LoadReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});

    EXPECT_FALSE(document.ReadOnly());
}

/// The toolkit refuses what only its parsing shows to be damaged.
TEST_F(Damaged, NewestVersionThatFailsWhenItIsParsedIsNoneEither) {
    struct Unparsable : ForwardingDataSet {
        using ForwardingDataSet::ForwardingDataSet;
        int GetSequenceItemCount(Tag) const override { throw Error(Fault::OfTheSuite, "", "not parsable"); }
    };
    struct List : ForwardingDataSetList {
        using ForwardingDataSetList::ForwardingDataSetList;
        DataSetHandle Item(int index) const override {
            auto item = ForwardingDataSetList::Item(index);
            return index == 1 ? std::make_shared<Unparsable>(item) : item;
        }
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            return std::make_shared<List>(ForwardingLibrary::NewDataSetList());
        }
    } library(*station.dicom);
    Global other(station.PortsWith(library));
    DcmSRDocument loaded(other);

    loaded.LoadSeries(station.AddReport({.versions = 2}));

    EXPECT_EQ(loaded.Damage(), "not parsable");
    EXPECT_EQ(loaded.NumVersions(), 1);
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
