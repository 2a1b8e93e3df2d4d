#include "sr/PresentationState.h"
#include "tests/editor/ReportingStation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct ImageSeed {
    std::string name = "1";
    std::string studyUid = "1.2.3";
    std::string photometric = "MONOCHROME2";
    int frames = 1;
};

/// A report of a site whose versions name their images, with the images of its study on the disk and in the catalogue.
class ReferencedImages : public testing::Test {
protected:
    ReferencedImages() {
        station.Execute("UPDATE SiteData SET ReportForm = 'interchange'");
        station.OpenReport();
        station.StoreInto("report1");
        station.automation.RemoveImagesFromSR();
    }

    /// Answers the file, as the viewer names it.
    std::string WriteImage(const ImageSeed& seed = {}) {
        const auto image = station.dicom->NewDataSet();
        const std::initializer_list<std::pair<Attribute, std::string>> values = {
            {attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.2"},
            {attribute::SopInstanceUid, "1.2.3.1." + seed.name},
            {attribute::StudyInstanceUid, seed.studyUid},
            {attribute::SeriesInstanceUid, "1.2.3.1"},
            {attribute::PatientName, "ROSSI^MARIA"},
            {attribute::PhotometricInterpretation, seed.photometric},
            {attribute::NumberOfFrames, std::to_string(seed.frames)},
            {attribute::Rows, "400"},
            {attribute::Columns, "500"}};
        for (const auto& [attribute, value] : values)
            image->SetValue(attribute, 0, value);
        std::filesystem::create_directories(station.NativePath("study\\images"));
        const std::string file = "study\\images\\" + seed.name + ".dcm";
        image->SaveToFile(station.Path(file));
        station.Insert("Image", {{"SeriesInstanceUID", "1.2.3.1"},
                                 {"ImageFile", seed.name + ".dcm"},
                                 {"SOPInstanceUID", "1.2.3.1." + seed.name}});
        return station.NativePath(file).string();
    }
    static ViewParametersHandle View(float center = 40) {
        return std::make_shared<ViewParameters>(ViewParameters{
            .displayedArea = {10, 20, 300, 200}, .smoothed = true, .windowCenter = center, .windowWidth = 400});
    }
    void Add(const std::string& file, const ViewParametersHandle& view = View()) {
        station.automation.AddImageToSR(file, view, "");
    }
    void Save() { station.editor.cmdSave.Press(); }
    const std::vector<ReferencedImage>& Named() { return station.Document().Images(); }
    std::string Sent(std::size_t index, const Attribute& attribute) {
        return TextOf(station.store.sent.at(index).dataSet->GetValue(attribute));
    }
    /// What was sent, by modality.
    Texts Sent() {
        Texts sent;
        for (std::size_t index = 0; index < station.store.sent.size(); ++index)
            sent.push_back(Sent(index, attribute::Modality));
        return sent;
    }
    Texts Shown() { return station.windows.Texts(); }

    ReportingStation station;
};

TEST_F(ReferencedImages, AnImageIsNamedWithAStateThatIsStoredBeforeTheVersion) {
    Add(WriteImage());
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR"));
    ASSERT_THAT(Named(), SizeIs(1));
    EXPECT_EQ(Named()[0].sopInstanceUid, "1.2.3.1.1");
    EXPECT_EQ(Named()[0].frame, 0);
    EXPECT_EQ(Named()[0].presentationSopInstanceUid, Sent(0, attribute::SopInstanceUid));
    EXPECT_EQ(Named()[0].presentationSeriesUid, Sent(0, attribute::SeriesInstanceUid));
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(ReferencedImages, AStateIsOfTheStudyInASeriesOfItsOwn) {
    Add(WriteImage());
    Save();
    EXPECT_EQ(Sent(0, attribute::StudyInstanceUid), "1.2.3");
    EXPECT_THAT(Sent(0, attribute::SeriesInstanceUid), testing::StartsWith("1.2.999.4."));
    EXPECT_THAT(Sent(0, attribute::SopInstanceUid), testing::StartsWith("1.2.999.3."));
    EXPECT_EQ(Sent(0, attribute::PatientName), "ROSSI^MARIA");
}

TEST_F(ReferencedImages, TheHandOverFileLiesBesideTheVersionAlone) {
    Add(WriteImage());
    Save();
    EXPECT_THAT(station.ReadFile("study\\report1\\SR.dat"), HasSubstr("1.dcm"));
    EXPECT_FALSE(
        std::filesystem::exists(station.NativePath("study\\" + Sent(0, attribute::SeriesInstanceUid) + "\\SR.dat")));
    EXPECT_THAT(station.global.report->filePath, HasSubstr("report1"));
}

TEST_F(ReferencedImages, NobodyWaitsForAnEventOfAState) {
    Add(WriteImage());
    Save();
    EXPECT_FALSE(station.store.sent[0].wait);
    EXPECT_TRUE(station.store.sent[1].wait);
}

TEST_F(ReferencedImages, TheSameViewKeepsItsState) {
    Add(WriteImage());
    Save();
    const auto first = Named();
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR", "SR"));
    EXPECT_EQ(Named(), first);
}

TEST_F(ReferencedImages, AnotherViewGetsAnotherStateInTheSameSeries) {
    const auto file = WriteImage();
    Add(file);
    Save();
    station.automation.RemoveImagesFromSR();
    Add(file, View(50));
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR", "PR", "SR"));
    EXPECT_EQ(Sent(2, attribute::SeriesInstanceUid), Sent(0, attribute::SeriesInstanceUid));
    EXPECT_EQ(Named().at(0).presentationSopInstanceUid, Sent(2, attribute::SopInstanceUid));
}

TEST_F(ReferencedImages, AnImageInTwoViewsIsNamedTwice) {
    const auto file = WriteImage();
    Add(file);
    Add(file, View(50));
    Save();
    ASSERT_THAT(Named(), SizeIs(2));
    EXPECT_NE(Named()[0].presentationSopInstanceUid, Named()[1].presentationSopInstanceUid);
}

TEST_F(ReferencedImages, AFrameIsNamedByItsNumber) {
    const auto view = View();
    view->frame = 2;
    Add(WriteImage({.frames = 5}), view);
    Save();
    EXPECT_EQ(Named().at(0).frame, 3);
}

TEST_F(ReferencedImages, AnImageInColourIsNamedWithoutAState) {
    Add(WriteImage({.photometric = "RGB"}));
    Save();
    EXPECT_THAT(Sent(), ElementsAre("SR"));
    EXPECT_EQ(Named().at(0).sopInstanceUid, "1.2.3.1.1");
    EXPECT_EQ(Named().at(0).presentationSopInstanceUid, "");
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(ReferencedImages, AnImageOfAnotherStudyIsNeverNamedAndThatIsSaid) {
    Add(WriteImage({.studyUid = "1.9"}));
    Save();
    EXPECT_THAT(Sent(), ElementsAre("SR"));
    EXPECT_THAT(Named(), IsEmpty());
    EXPECT_THAT(Shown(), ElementsAre(HasSubstr("1.dcm: It is of another study than the report.")));
}

TEST_F(ReferencedImages, WhatCannotBeNamedIsSaidOnceAndTheSaveGoesOn) {
    Add("/nowhere/gone.dcm");
    Add(WriteImage());
    Save();
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR", "SR"));
    EXPECT_THAT(Named(), SizeIs(1));
    EXPECT_THAT(Shown(), ElementsAre(HasSubstr("The version does not name the image /nowhere/gone.dcm: ")));
}

TEST_F(ReferencedImages, SeveralFailuresAreOneMessage) {
    Add("/nowhere/1.dcm");
    Add("/nowhere/2.dcm");
    Save();
    EXPECT_THAT(Shown(), ElementsAre(testing::EndsWith("\r\n(So it is with 2 of the report's images.)")));
}

TEST_F(ReferencedImages, AFileWithoutAnImageOrWithoutThatFrameIsNone) {
    const auto view = View();
    view->frame = 7;
    Add(WriteImage(), view);
    Save();
    EXPECT_THAT(Named(), IsEmpty());
    EXPECT_THAT(Shown(), ElementsAre(HasSubstr("It has no frame 8.")));
}

TEST_F(ReferencedImages, WithoutImagesThoseOfTheFormerVersionStay) {
    Add(WriteImage());
    Save();
    const auto first = Named();
    station.automation.RemoveImagesFromSR();
    Save();
    EXPECT_EQ(Named(), first);
}

TEST_F(ReferencedImages, ASiteOfTheClassicFormMakesNoStates) {
    station.Execute("UPDATE SiteData SET ReportForm = 'classic'");
    station.automation.LoadSRSeries("1.2.3.2.1");
    station.automation.RemoveImagesFromSR();
    Add(WriteImage());
    Save();
    EXPECT_THAT(Sent(), ElementsAre("SR"));
}

TEST_F(ReferencedImages, AnApprovedVersionNamesThemToo) {
    Add(WriteImage());
    station.windows.answers.push_back(Answer::Yes);
    station.editor.cmdApprove.Press();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR"));
    EXPECT_THAT(Named(), SizeIs(1));
}

/// The storage service is away.
class WithoutAService : public ReferencedImages {
protected:
    WithoutAService() {
        station.store.answer = [this](const SentVersion&) {
            ++asked;
            throw Error(static_cast<int>(DicomFault::NotStored), "DICOM", "The service is away.");
        };
    }
    std::size_t Kept() const {
        const auto names = station.files->List(station.Path("state\\unsent"), ".dcm");
        return names.size();
    }
    int asked = 0;
};

TEST_F(WithoutAService, StatesAreKeptLikeTheVersionAndNamed) {
    Add(WriteImage());
    Save();
    EXPECT_EQ(Kept(), 2U);
    EXPECT_NE(Named().at(0).presentationSopInstanceUid, "");
    EXPECT_THAT(Shown(), SizeIs(1)); // of the version
}

TEST_F(WithoutAService, ItIsWaitedForOnceForAllStates) {
    const auto file = WriteImage();
    for (const float center : {1.0F, 2.0F, 3.0F})
        Add(file, View(center));
    Save();
    EXPECT_EQ(asked, 2); // for a state and for the version
    EXPECT_EQ(Kept(), 4U);
}

TEST_F(WithoutAService, KeptStatesServeAgain) {
    Add(WriteImage());
    Save();
    station.StoreInto("report1");
    station.store.sent.clear();
    Save();
    EXPECT_THAT(Sent(), ElementsAre("SR"));
}

/// The state folder cannot be written, and the service is away.
TEST_F(WithoutAService, AStateThatIsNowhereIsNotNamedAndThatIsSaid) {
    station.WriteFile("state\\unsent", "in the folder's way");
    Add(WriteImage());
    Save();
    EXPECT_THAT(Named(), IsEmpty());
    EXPECT_THAT(Shown(), SizeIs(1)); // the version is nowhere either
    std::filesystem::remove(station.NativePath("state\\unsent"));
    Save();
    EXPECT_NE(Named().at(0).presentationSopInstanceUid, "");
}

TEST_F(ReferencedImages, AVersionThatCannotBeStoredLeavesStatesThatServeAgain) {
    Add(WriteImage());
    station.editor.txtReportAnnotation.Text("\x01"); // no file can hold it
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR"));
    station.editor.txtReportAnnotation.Text("Well.");
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR"));
    EXPECT_EQ(Named().at(0).presentationSopInstanceUid, Sent(0, attribute::SopInstanceUid));
}

TEST_F(ReferencedImages, AStateThatNoVersionNamesServesTheNextThatNeedsIt) {
    const auto file = WriteImage();
    Add(file);
    station.editor.txtReportAnnotation.Text("\x01");
    Save();
    station.editor.lstHistory.ListIndex(0); // the version is read again, which names none
    Add(file);
    Save();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR"));
}

TEST_F(ReferencedImages, OfASaveThatFailedAreNotNamedOnceTheyAreTakenAway) {
    Add(WriteImage());
    station.editor.txtReportAnnotation.Text("\x01");
    Save();
    station.automation.RemoveImagesFromSR();
    station.editor.txtReportAnnotation.Text("Normal.");
    Save();
    EXPECT_THAT(Named(), IsEmpty());
}

/// The report is opened again by another program, in a folder that holds no "SR.dat".
class ReopenedImages : public ReferencedImages {
protected:
    void Reopen() {
        std::filesystem::remove(station.NativePath("study\\report1\\SR.dat"));
        station.automation.LoadSRSeries("1.2.3.2.1"); // one report is open at a time
        station.windows.messages.clear();
        later.automation.LoadSRSeries("1.2.3.2.1");
    }
    const ImageList& Pending() const { return *later.global.report->pendingImages; }
    void SaveLater() {
        station.store.sent.clear();
        station.store.answer = [this](const SentVersion& version) {
            const auto path = station.File(version, "report1");
            if (TextOf(version.dataSet->GetValue(attribute::Modality)) == "SR")
                later.events.RaiseStore("1.2.3.2.1", path);
        };
        later.editor.cmdSave.Press();
    }
    std::filesystem::path StateFile() {
        return station.NativePath("study\\" + Named().at(0).presentationSeriesUid + "\\img_000501.dcm");
    }

    AnotherProcess later{station};
};

TEST_F(ReopenedImages, AreThoseOfTheVersionInTheirViews) {
    const auto file = WriteImage();
    const auto view = View();
    Add(file, view);
    Save();
    Reopen();
    ASSERT_THAT(Pending(), SizeIs(1));
    EXPECT_EQ(Pending()[0].Filename, file);
    EXPECT_EQ(*Pending()[0].ViewPars, *view);
    EXPECT_THAT(station.viewers.images, testing::Contains(file));
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(ReopenedImages, AreThoseOfTheHandOverFileWhereThereIsOne) {
    Add(WriteImage());
    Save();
    station.WriteFile("study\\report1\\SR.dat",
                      R"("b.dcm",1,#FALSE#,#FALSE#,"",0,0,0,0,#FALSE#,#FALSE#,#NULL#,0,0,0,0,0,0,1,0)"
                      "\r\n");
    later.automation.LoadSRSeries("1.2.3.2.1");
    ASSERT_THAT(Pending(), SizeIs(1));
    EXPECT_EQ(Pending()[0].Filename, "b.dcm");
}

TEST_F(ReopenedImages, KeepTheirStatesWithTheNextSave) {
    Add(WriteImage());
    Save();
    const auto first = Named();
    Reopen();
    SaveLater();
    EXPECT_THAT(Sent(), ElementsAre("SR"));
    EXPECT_EQ(later.global.report->document->Images(), first);
}

TEST_F(ReopenedImages, InAnotherViewGetAStateInTheReportsSeries) {
    const auto file = WriteImage();
    Add(file);
    Save();
    const auto series = Named().at(0).presentationSeriesUid;
    Reopen();
    later.automation.RemoveImagesFromSR();
    later.automation.AddImageToSR(file, View(50), "");
    SaveLater();
    EXPECT_THAT(Sent(), ElementsAre("PR", "SR"));
    EXPECT_EQ(Sent(0, attribute::SeriesInstanceUid), series);
}

TEST_F(ReopenedImages, AreThoseOfTheVersionThatIsShown) {
    Add(WriteImage());
    Save();
    Add(WriteImage({.name = "2"}));
    Save();
    Reopen();
    EXPECT_THAT(Pending(), SizeIs(2));
    later.editor.lstHistory.ListIndex(1);
    EXPECT_THAT(Pending(), SizeIs(1));
    later.editor.lstHistory.ListIndex(0); // the classic one names none
    EXPECT_THAT(Pending(), IsEmpty());
}

TEST_F(ReopenedImages, OfAFrameAreShownAtThatFrame) {
    const auto view = View();
    view->frame = 2;
    Add(WriteImage({.photometric = "RGB", .frames = 5}), view);
    Save();
    Reopen();
    EXPECT_EQ(Pending().at(0).ViewPars->frame, 2);
}

TEST_F(ReopenedImages, AreShownWholeWhenTheirStateIsUnreadable) {
    Add(WriteImage());
    Save();
    std::filesystem::resize_file(StateFile(), 200);
    Reopen();
    EXPECT_EQ(Pending().at(0).ViewPars->displayedArea, (ViewParameters::Area{0, 0, 500, 400}));
}

TEST_F(ReopenedImages, OfAnotherStudyAreNeverShown) {
    Add(WriteImage());
    Save();
    station.AddPatient("P2", "VERDI^LUIGI");
    station.AddStudy("1.9", "P2", station.Path("study"));
    station.Execute("UPDATE Series SET StudyInstanceUID = '1.9' WHERE SeriesInstanceUID = '1.2.3.1'");
    Reopen();
    EXPECT_THAT(Pending(), IsEmpty());
}

TEST_F(ReopenedImages, ThatAreNotInTheCatalogueAreSaidAndStayWithTheReport) {
    Add(WriteImage());
    Add(WriteImage({.name = "2"}));
    Save();
    station.Execute("DELETE FROM Image WHERE SOPInstanceUID = '1.2.3.1.1'");
    Reopen();
    EXPECT_THAT(Shown(), ElementsAre(testing::StartsWith("Of the images that the version names 1 is not shown: ")));
    EXPECT_THAT(Pending(), SizeIs(1));
    SaveLater();
    EXPECT_THAT(later.global.report->document->Images(), SizeIs(2));
    EXPECT_THAT(Shown(), SizeIs(1));
}

TEST_F(ReopenedImages, ThatAreNotInTheCatalogueStayHoweverOftenTheReportIsSaved) {
    Add(WriteImage());
    Add(WriteImage({.name = "2"}));
    Save();
    station.Execute("DELETE FROM Image WHERE SOPInstanceUID = '1.2.3.1.1'");
    Reopen();
    SaveLater();
    SaveLater();
    EXPECT_THAT(later.global.report->document->Images(), SizeIs(2));
}

TEST_F(ReopenedImages, InOneStateOfAnotherMakerEachHasItsOwnFrame) {
    const auto file = WriteImage({.frames = 3});
    auto second = View();
    second->frame = 1;
    Add(file);
    Add(file, second);
    Save();
    auto images = Named();
    ASSERT_THAT(images, SizeIs(2));
    images[1].presentationSopInstanceUid = images[0].presentationSopInstanceUid;
    station.Document().Images(images);
    station.automation.RemoveImagesFromSR(); // those of the document stay
    Save();
    Reopen();
    ASSERT_THAT(Pending(), SizeIs(2));
    EXPECT_EQ(Pending()[0].ViewPars->frame, 0);
    EXPECT_EQ(Pending()[1].ViewPars->frame, 1);
}

TEST_F(ReopenedImages, ThatWereNotFoundEndWithTheListThatTheyBelongTo) {
    Add(WriteImage());
    Save();
    station.Execute("DELETE FROM Image WHERE SOPInstanceUID = '1.2.3.1.1'");
    Reopen();
    later.automation.RemoveImagesFromSR();
    later.automation.AddImageToSR(WriteImage({.name = "2"}), View(), "");
    SaveLater();
    ASSERT_THAT(later.global.report->document->Images(), SizeIs(1));
    EXPECT_EQ(later.global.report->document->Images()[0].sopInstanceUid, "1.2.3.1.2");
}

TEST_F(ReopenedImages, WhoseFileIsGoneStayNamed) {
    const auto file = WriteImage();
    Add(file);
    Save();
    const auto first = Named();
    Reopen();
    std::filesystem::remove(file);
    SaveLater();
    EXPECT_EQ(later.global.report->document->Images(), first);
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(ReopenedImages, OfACatalogueThatFailsAreNotLost) {
    Add(WriteImage());
    Save();
    const auto first = Named();
    Reopen();
    station.Execute("ALTER TABLE Image RENAME TO Away");
    later.editor.cmdLastVersion.Press();
    later.editor.lstHistory.ListIndex(later.editor.lstHistory.ListCount() - 1);
    station.Execute("ALTER TABLE Away RENAME TO Image");
    SaveLater();
    EXPECT_EQ(later.global.report->document->Images(), first);
}

} // namespace
} // namespace tavrel::test
