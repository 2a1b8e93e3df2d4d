#include "tests/editor/HandOverFile.h"
#include "tests/editor/ReportingStation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace tavrel::test {
namespace {

constexpr auto NeutralLine = R"(,1,#FALSE#,#FALSE#,"",0,0,0,0,#FALSE#,#FALSE#,#NULL#,0,0,0,0,0,0,1,0)"
                             "\r\n";

std::string LineOf(const std::string& fileName) {
    return "\"" + fileName + "\"" + NeutralLine;
}

Texts FileNames(const Global& global) {
    Texts names;
    for (const auto& image : *global.report->pendingImages)
        names.push_back(image.Filename);
    return names;
}

Texts FileNames(const ReportingStation& station) {
    return FileNames(station.global);
}

void AddImages(ReportingStation& station, const Texts& fileNames) {
    station.automation.RemoveImagesFromSR();
    for (const auto& fileName : fileNames)
        station.automation.AddImageToSR(fileName, SomeView(), "Bone");
}

/// A report with this SR.dat beside its files is open; the viewer's calls of the opening are recorded.
class HandOverStation : public ReportingStation {
public:
    explicit HandOverStation(const std::string& handOver) {
        WriteFile("study\\report1\\SR.dat", handOver);
        viewers.calls.clear();
        OpenReport();
    }
};

TEST(ImageList, RemovingOneImageLeavesTheListAsItIs) {
    ReportingStation station;
    AddImages(station, {"a.dcm", "b.dcm"});
    station.editor.RemoveImage("a.dcm");
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm"}));
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(ImageList, ExistsFromTheFirstScreenFillOn) {
    ReportingStation station;
    EXPECT_EQ(station.global.report->pendingImages, nullptr);
    station.OpenImages();
    ASSERT_NE(station.global.report->pendingImages, nullptr);
    station.automation.AddImageToSR("a.dcm", SomeView(), "");
    EXPECT_EQ(FileNames(station), Texts{"a.dcm"});
}

TEST(ImageList, AnImageBeforeTheFirstScreenFillIsRefused) {
    ReportingStation station;
    station.editor.AddImage("a.dcm", SomeView(), "");
    EXPECT_EQ(station.windows.Texts(), Texts{"frmReport The report's list of images has not been made yet"});
    EXPECT_THAT([&] { ImageHandOver(station.global).AddImage("a.dcm", SomeView(), ""); },
                testing::Throws<Error>(testing::Field(&Error::number, static_cast<int>(Fault::Missing))));
}

TEST(ImageList, AScreenFillBeforeAnyStoredFileEmptiesIt) {
    ReportingStation station;
    AddImages(station, {"a.dcm"});
    station.OpenImages();
    EXPECT_TRUE(station.global.report->pendingImages->empty());
}

TEST(HandOverWrite, AStoreWritesTheImagesBesideTheStoredFile) {
    ReportingStation station;
    station.OpenImages();
    AddImages(station, {"C:\\img\\1.dcm", "C:\\img\\2.dcm"});
    station.WriteFile("data\\F1.dcm", "");
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("data\\F1.dcm"));
    const std::string line =
        R"(,1.5,#TRUE#,#FALSE#,"Bone",10,20,500,400,#FALSE#,#TRUE#,#NULL#,3,90,40,400,0.1,-2.25,1,0)"
        "\r\n";
    EXPECT_EQ(station.ReadFile("data\\SR.dat"), "\"C:\\img\\1.dcm\"" + line + "\"C:\\img\\2.dcm\"" + line);
    EXPECT_EQ(station.global.report->filePath, station.Path("data\\F1.dcm"));
}

TEST(HandOverWrite, AStoredFileWithoutAFolderIsHandedOverInTheCurrentOne) {
    ReportingStation station;
    HandOverFile files;
    Global global(station.PortsWith(files));
    global.report->pendingImages = std::make_shared<ImageList>(1, ImagePresentationContext{"a.dcm", SomeView(), ""});
    frmReport editor(global, station.serviceEvents, station.chooser, station.codeTables, station.printer,
                     station.draftTimer, station.reportWatch);
    editor.Porvane_OnStore("", "", "F1.dcm");
    EXPECT_EQ(files.written, Texts{".SR.dat"});
    EXPECT_EQ(global.report->filePath, "F1.dcm");
}

TEST(HandOverLoad, BeforeAnyStoredFileNoneIsLookedFor) {
    ReportingStation station;
    HandOverFile files;
    Global global(station.PortsWith(files));
    ImageHandOver(global).Load(&station.automation);
    EXPECT_EQ(files.asked, Texts{});
}

TEST(HandOverWrite, AnEmptyListLeavesTheFileAsItWas) {
    ReportingStation station;
    station.OpenImages();
    station.WriteFile("data\\SR.dat", "as it was");
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("data\\F1.dcm"));
    EXPECT_EQ(station.ReadFile("data\\SR.dat"), "as it was");
}

TEST(HandOverWrite, ItReplacesTheFormerContents) {
    ReportingStation station;
    station.OpenImages();
    station.WriteFile("data\\SR.dat", "something much longer than one line of fields, something much longer, "
                                      "something much longer than one line of fields, something much longer\r\n");
    AddImages(station, {"a.dcm"});
    station.global.report->pendingImages->front().ViewPars = nullptr;
    station.global.report->pendingImages->front().LUTName = "";
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("data\\F1.dcm"));
    EXPECT_EQ(station.ReadFile("data\\SR.dat"), LineOf("a.dcm"));
}

TEST(HandOverWrite, AFailureIsToldAndTheStoredFileIsKnown) {
    ReportingStation station;
    station.OpenImages();
    AddImages(station, {"a.dcm"});
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("nowhere\\F1.dcm"));
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("frmReport.Porvane_OnStore:"));
    EXPECT_EQ(station.global.report->filePath, station.Path("nowhere\\F1.dcm"));
}

void MakeUnwritable(const ReportingStation& station, std::size_t image) {
    station.global.report->pendingImages->at(image).ViewPars->zoom = std::numeric_limits<float>::quiet_NaN();
}

TEST(HandOverWrite, AParameterThatIsNoNumberIsToldAndTheFileStays) {
    ReportingStation station;
    station.OpenImages();
    station.WriteFile("data\\SR.dat", "as it was");
    AddImages(station, {"a.dcm"});
    MakeUnwritable(station, 0);
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("data\\F1.dcm"));
    EXPECT_EQ(
        station.windows.Texts(),
        Texts{"frmReport.Porvane_OnStore:13-The image a.dcm cannot be kept with the report: A value is infinite or "
              "no number and cannot be written (1 of the report's 1 images, which wait for the next save)"});
    EXPECT_EQ(station.ReadFile("data\\SR.dat"), "as it was");
}

/// A report with two images, of which the first cannot be written, has been saved.
class AnUnwritableImage : public testing::Test {
protected:
    AnUnwritableImage() {
        station.OpenReport();
        station.StoreInto("report1");
        AddImages(station, {"bad.dcm", "good.dcm"});
        MakeUnwritable(station, 0);
        station.editor.cmdSave.Press();
    }
    ReportingStation station;
};

TEST_F(AnUnwritableImage, IsNoReasonToLoseTheOthers) {
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat").find("\"good.dcm\","), 0U);
}

TEST_F(AnUnwritableImage, StaysPendingAndIsSaid) {
    EXPECT_EQ(FileNames(station), (Texts{"bad.dcm", "good.dcm"}));
    EXPECT_TRUE(station.editor.lblState.Text().ends_with("; images not yet kept with the report: 2"))
        << station.editor.lblState.Text();
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST_F(AnUnwritableImage, ReachesTheFileWithALaterSaveOnceItCan) {
    station.global.report->pendingImages->front().ViewPars->zoom = 2;
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat").find("\"bad.dcm\",2,"), 0U);
    EXPECT_TRUE(station.editor.lblState.Text().starts_with("Saved at ")) << station.editor.lblState.Text();
    EXPECT_EQ(station.editor.lblState.Text().find("images"), std::string::npos);
}

TEST_F(AnUnwritableImage, StaysWithItsReport) {
    station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    EXPECT_EQ(FileNames(station), Texts{});
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(FileNames(station), (Texts{"bad.dcm", "good.dcm"}));
}

/// A version is stored, its images could not be written beside it, and the program has ended.
class ImagesOfAnEarlierRun : public testing::Test {
protected:
    ImagesOfAnEarlierRun() {
        std::filesystem::create_directories(station.NativePath("study\\report1\\SR.dat")); // in the file's way
        station.OpenReport();
        station.StoreInto("report1");
        AddImages(station, {"a.dcm", "b.dcm"});
        station.editor.cmdSave.Press();
    }
    bool Kept() const { return station.files->Exists(KeptFile); }
    void ExpectThey(const std::string& logged) {
        later.automation.LoadSRSeries("1.2.3.2.1");
        EXPECT_EQ(FileNames(later.global), Texts{});
        ASSERT_FALSE(station.process.log.empty());
        EXPECT_THAT(station.process.log.back(), testing::HasSubstr(logged));
    }

    ReportingStation station;
    AnotherProcess later{station};
    const std::string KeptFile = station.Path("state\\drafts\\1.2.3.2.1.images");
};

TEST_F(ImagesOfAnEarlierRun, WaitAgainAndThatIsSaid) {
    later.automation.LoadSRSeries("1.2.3.2.1");
    ASSERT_EQ(FileNames(later.global), (Texts{"a.dcm", "b.dcm"}));
    EXPECT_EQ(*later.global.report->pendingImages->front().ViewPars, *SomeView());
    EXPECT_TRUE(later.editor.lblState.Text().ends_with("; images not yet kept with the report: 2"))
        << later.editor.lblState.Text();
}

TEST_F(ImagesOfAnEarlierRun, WaitForEachRunUntilASaveTakesThem) {
    later.automation.LoadSRSeries("1.2.3.2.1");
    AnotherProcess last(station);
    last.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(FileNames(last.global), (Texts{"a.dcm", "b.dcm"}));
}

TEST_F(ImagesOfAnEarlierRun, AreWrittenByALaterSaveAndKeptNoLonger) {
    later.automation.LoadSRSeries("1.2.3.2.1");
    std::filesystem::remove(station.NativePath("study\\report1\\SR.dat"));
    station.store.answer = [this](const SentVersion& version) {
        const auto path = station.Path("study\\report1\\img_000999.dcm");
        version.dataSet->SaveToFile(path);
        later.events.RaiseStore("1.2.3.2.1", path);
    };
    later.editor.cmdSave.Press();
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat").find("\"a.dcm\","), 0U);
    EXPECT_FALSE(Kept());
}

TEST_F(ImagesOfAnEarlierRun, AreNoneOfAnotherPatientsReport) {
    station.AddPatient("P2", "VERDI^LUIGI");
    station.AddStudy("1.9", "P2", station.Path("study"));
    station.AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
    later.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(FileNames(later.global), Texts{});
    EXPECT_TRUE(Kept());
}

TEST_F(ImagesOfAnEarlierRun, AreLeftAloneOnceAnotherVersionWasSaved) {
    station.WriteFile("state\\drafts\\1.2.3.2.1.images", "\"01/01/2000 00:00:00\"\r\n" + LineOf("old.dcm"));
    ExpectThey("Another version of the report was saved meanwhile");
}

TEST_F(ImagesOfAnEarlierRun, AreLeftAloneInADamagedFile) {
    station.WriteFile("state\\drafts\\1.2.3.2.1.images", "\"01/0");
    ExpectThey("are left alone: ");
    EXPECT_TRUE(Kept());
}

TEST(ImagesThatCannotBeKept, EndWithTheProgramAndTheLogSaysSo) {
    ReportingStation station;
    station.WriteFile("state\\drafts", "in the folder's way");
    station.OpenReport();
    AddImages(station, {"a.dcm"});
    station.editor.cmdSave.Press();
    EXPECT_THAT(station.process.log, testing::Contains(testing::StartsWith("Images that wait for the next save end ")));
}

/// The service stores, and its events do not arrive: the desktop's bus is away.
class WithoutEvents : public testing::Test {
protected:
    WithoutEvents() {
        station.OpenReport();
        AddImages(station, {"a.dcm"});
        station.editor.cmdSave.Press();
    }
    ReportingStation station;
};

TEST_F(WithoutEvents, TheImagesOfASaveStayPendingAndAreSaid) {
    EXPECT_EQ(station.windows.Texts(),
              Texts{"The version is stored, but its images are not kept with it yet: the storage service did not tell "
                    "where it stored the version. They wait for the next save."});
    EXPECT_EQ(FileNames(station), Texts{"a.dcm"});
    EXPECT_TRUE(station.editor.lblState.Text().ends_with("; images not yet kept with the report: 1"));
}

TEST_F(WithoutEvents, TheImagesAreHandedOverWithTheNextSaveThatIsTold) {
    station.StoreInto("report1");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat").find("\"a.dcm\","), 0U);
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST_F(WithoutEvents, ALateEventHandsThemOver) {
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("study\\report1\\img_000002.dcm"));
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat").find("\"a.dcm\","), 0U);
    EXPECT_EQ(station.editor.lblState.Text().find("images"), std::string::npos);
}

TEST(WithoutImages, AStoreWithoutAnEventIsNothingToSay) {
    ReportingStation station;
    station.OpenReport();
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
}

TEST(ServiceEvents, FailuresWhileOneIsToldAreOneMessage) {
    ReportingStation station;
    station.OpenImages();
    AddImages(station, {"a.dcm"});
    const auto fail = [&] { station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("nowhere\\F1.dcm")); };
    int more = 50;
    station.windows.onMessage = [&](const MessageBox&) {
        while (more-- > 0)
            fail();
    };
    fail();
    ASSERT_EQ(station.windows.messages.size(), 2U);
    EXPECT_TRUE(station.windows.messages[1].text.ends_with("\r\n(49 more of the storage service's events failed.)"));
}

TEST(HandOverLoad, EveryImageGoesToTheListAndToTheViewer) {
    const HandOverStation station(
        R"("C:\img\1.dcm",1.5,#TRUE#,#FALSE#,"Bone",10,20,500,400,#FALSE#,#TRUE#,#NULL#,3,90,40,400,0.1,-2.25,1,0)"
        "\r\n");
    ASSERT_EQ(station.global.report->pendingImages->size(), 1U);
    const auto& image = station.global.report->pendingImages->front();
    EXPECT_EQ(image.Filename, "C:\\img\\1.dcm");
    EXPECT_EQ(image.LUTName, "Bone");
    EXPECT_EQ(*image.ViewPars, *SomeView());
    EXPECT_EQ(station.viewers.calls, (Texts{"SRFilename", "LUTName", "ViewPars", "ViewRefertImages"}));
    EXPECT_EQ(station.viewers.srFilename, "C:\\img\\1.dcm");
    EXPECT_EQ(station.viewers.viewPars, image.ViewPars);
}

TEST(HandOverLoad, WithoutAFileTheListIsEmptyAndNothingIsSaid) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_TRUE(station.global.report->pendingImages->empty());
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(HandOverLoad, TheViewersListIsClearedFirstWhenThereWereImages) {
    HandOverStation station(LineOf("a.dcm"));
    station.viewers.calls.clear();
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.viewers.calls,
              (Texts{"ClearRefertList", "SRFilename", "LUTName", "ViewPars", "ViewRefertImages"}));
}

TEST(HandOverLoad, EachFillReadsTheFileAfresh) {
    HandOverStation station(LineOf("a.dcm") + LineOf("b.dcm"));
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm"}));
}

TEST(HandOverLoad, AMalformedLineIsToldAndTheImagesBeforeItStay) {
    const HandOverStation station(LineOf("a.dcm") + "\"b.dcm\",1,#TRUE#\r\n" + LineOf("c.dcm"));
    EXPECT_EQ(FileNames(station), Texts{"a.dcm"});
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& text = station.windows.messages[0].text;
    EXPECT_TRUE(text.starts_with("LoadSRDat ")) << text;
    EXPECT_NE(text.find("line 2, field 4"), std::string::npos) << text;
}

TEST(HandOverLoad, AMalformedFileLeavesTheScreenFilledAndLocked) {
    ReportingStation station;
    station.WriteFile("study\\report1\\SR.dat", "?");
    station.OpenReport({.approved = true});
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Chest radiograph");
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
}

TEST(HandOverLoad, TheViewersFailuresAreOneMessage) {
    HandOverStation station("");
    station.WriteFile("study\\report1\\SR.dat", LineOf("a.dcm") + LineOf("b.dcm") + LineOf("c.dcm"));
    station.viewers.failing = "ViewRefertImages";
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.windows.Texts(), Texts{"SendFileInfo The viewer does not answer\r\n"
                                             "(The viewer did not show 3 of the report's images.)"});
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm", "c.dcm"}));
}

TEST(HandOverLoad, AListThatTheViewerEmptiesMeanwhileTakesTheRest) {
    HandOverStation station("");
    station.WriteFile("study\\report1\\SR.dat", LineOf("a.dcm") + LineOf("b.dcm"));
    station.viewers.onCall = [&](const std::string& call) {
        if (call == "SRFilename")
            station.automation.RemoveImagesFromSR();
    };
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(FileNames(station), Texts{"b.dcm"});
}

/// Something else happens while the viewer is handed the second of two images.
class WhileTheViewerIsHandedImages : public testing::Test {
protected:
    WhileTheViewerIsHandedImages() { station.WriteFile("study\\report1\\SR.dat", LineOf("a.dcm") + LineOf("b.dcm")); }
    void Meanwhile(const std::function<void()>& act) {
        station.viewers.onCall = [this, act](const std::string& call) {
            if (call == "ViewRefertImages" && ++handed == 2)
                act();
        };
        station.editor.lstHistory.ListIndex(0);
        ASSERT_GE(handed, 2);
    }

    HandOverStation station{""};
    int handed = 0;
};

TEST_F(WhileTheViewerIsHandedImages, AStoreEventWritesAllOfThem) {
    Meanwhile([this] { station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("study\\report1\\F1.dcm")); });
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat"), LineOf("a.dcm") + LineOf("b.dcm"));
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm"}));
}

TEST_F(WhileTheViewerIsHandedImages, ASaveKeepsAllOfThemOnce) {
    station.StoreInto("report1");
    Meanwhile([this] { station.editor.cmdSave.Press(); });
    EXPECT_EQ(station.ReadFile("study\\report1\\SR.dat"), LineOf("a.dcm") + LineOf("b.dcm"));
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm"}));
}

TEST_F(WhileTheViewerIsHandedImages, AnotherReportGetsNoneOfThem) {
    Meanwhile([this] { station.OpenReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"}); });
    EXPECT_EQ(FileNames(station), Texts{});
}

TEST(HandOverLoad, ImagesWithoutAnOwnerToTellAreTold) {
    HandOverStation station(LineOf("a.dcm"));
    ImageHandOver(station.global).Load(nullptr);
    EXPECT_EQ(station.windows.Texts(), Texts{"LoadSRDat 91-The report has no automation object to hand its images to"});
}

TEST(HandOver, ImagesOfANewReportSurviveItsFirstSave) {
    ReportingStation station;
    station.OpenImages();
    station.StoreInto("report1");
    AddImages(station, {"a.dcm", "b.dcm"});
    station.viewers.calls.clear();
    station.editor.cmdSave.Press();
    EXPECT_EQ(FileNames(station), (Texts{"a.dcm", "b.dcm"}));
    EXPECT_EQ(*station.global.report->pendingImages->back().ViewPars, *SomeView());
    EXPECT_EQ(std::ranges::count(station.viewers.calls, "ViewRefertImages"), 2);
}

TEST(HandOver, ImagesOfAnOpenedReportSurviveASaveAndAReopening) {
    ReportingStation station;
    station.OpenReport();
    station.StoreInto("report1");
    AddImages(station, {"a.dcm"});
    station.editor.cmdSave.Press();
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(FileNames(station), Texts{"a.dcm"});
}

TEST(HandOver, AnyTextSurvivesARoundTrip) {
    ReportingStation station;
    station.OpenReport();
    station.StoreInto("report1");
    const Texts names{"C:\\a, b.dcm", "say \"ah\".dcm", "two\r\nlines.dcm", "Zürich–Œuvre.dcm", " blank ", "",
                      "#TRUE#"};
    AddImages(station, names);
    station.editor.cmdSave.Press();
    EXPECT_EQ(FileNames(station), names);
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(ServiceEvents, TheConnectionIsKnownWhileItLasts) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_FALSE(station.editor.Connected());
    station.serviceEvents.RaiseConnection();
    EXPECT_TRUE(station.editor.Connected());
    station.serviceEvents.RaiseEndConnection();
    EXPECT_FALSE(station.editor.Connected());
}

} // namespace
} // namespace tavrel::test
