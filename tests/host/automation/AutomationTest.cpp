#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

#include <array>

namespace tavrel::test {
namespace {

TEST(Automation, CreationRunsStartUp) {
    ReportingStation station;
    EXPECT_TRUE(station.global.catalogue->IsOpen());
    EXPECT_EQ(station.global.baseUid, "1.2.999");
    EXPECT_FALSE(station.automation.Closing());
}

TEST(Automation, CreationEmptiesTheViewersHandOver) {
    ReportingStation station;
    EXPECT_EQ(station.viewers.calls, (Texts{"SRFilename", "LUTName", "ViewPars"}));
    EXPECT_EQ(station.viewers.srFilename, "");
    EXPECT_EQ(station.viewers.lutName, "");
    EXPECT_EQ(station.viewers.viewPars, nullptr);
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Automation, AMissingViewerIsToldOnceAndReportsStillOpen) {
    ReportingStation station;
    station.viewers.absent = true;
    CTavrel automation(station.global, station.viewers, station.chooser, station.editor);
    automation.LoadForImgSeries(station.ImageSeries());
    EXPECT_EQ(station.windows.Texts(), Texts{"Viewer not loaded"});
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

TEST(Automation, AViewerThatFailsAtOnceIsNoFailureOfCreation) {
    ReportingStation station;
    station.viewers.failing = "LUTName";
    const CTavrel automation(station.global, station.viewers, station.chooser, station.editor);
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Automation, TheFactoryMakesObjectsThatShareTheEditor) {
    ReportingStation station;
    CTavrelFactory factory(station.global, station.viewers, station.chooser, station.editor);
    const auto second = factory.CreateInstance();
    station.AddReport();
    second->LoadSRSeries("1.2.3.2.1");
    station.automation.LoadSRSeries("1.2.3.2.1");
    EXPECT_EQ(station.viewers.created, 2);
    EXPECT_EQ(station.editor.txtReportTitle.Text(), "Chest radiograph");
}

TEST(HandingImagesOver, AnImageNeedsTheListToBeEmptiedFirst) {
    ReportingStation station;
    station.automation.AddImageToSR("a.dcm", SomeView(), "Bone");
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("frmReport "));
}

TEST(HandingImagesOver, ImagesAreKeptInTheOrderAddedWithTheViewersOwnObject) {
    ReportingStation station;
    const auto view = SomeView();
    station.automation.RemoveImagesFromSR();
    station.automation.AddImageToSR("b.dcm", view, "Bone");
    station.automation.AddImageToSR("a.dcm", nullptr, "");
    const auto& images = *station.global.report->pendingImages;
    ASSERT_EQ(images.size(), 2U);
    EXPECT_EQ(images[0].Filename, "b.dcm");
    EXPECT_EQ(images[0].LUTName, "Bone");
    EXPECT_EQ(images[0].ViewPars, view);
    EXPECT_EQ(images[1].Filename, "a.dcm");
}

TEST(HandingImagesOver, RemovingPutsANewEmptyListInPlace) {
    ReportingStation station;
    station.automation.RemoveImagesFromSR();
    station.automation.AddImageToSR("a.dcm", SomeView(), "");
    const auto before = station.global.report->pendingImages;
    station.automation.RemoveImagesFromSR();
    EXPECT_TRUE(station.global.report->pendingImages->empty());
    EXPECT_EQ(before->size(), 1U);
}

TEST(AskingTheViewer, ImagesOfAReportAreShownThere) {
    ReportingStation station;
    station.viewers.calls.clear();
    const auto view = SomeView();
    station.automation.SendFileInfo("a.dcm", view, "Bone");
    EXPECT_EQ(station.viewers.calls, (Texts{"SRFilename", "LUTName", "ViewPars", "ViewRefertImages"}));
    EXPECT_EQ(station.viewers.srFilename, "a.dcm");
    EXPECT_EQ(station.viewers.lutName, "Bone");
    EXPECT_EQ(station.viewers.viewPars, view);
}

TEST(AskingTheViewer, NothingIsSentWithoutAFileName) {
    ReportingStation station;
    station.viewers.calls.clear();
    station.automation.SendFileInfo("", SomeView(), "Bone");
    EXPECT_TRUE(station.viewers.calls.empty());
}

TEST(AskingTheViewer, NothingIsSentWithoutViewParameters) {
    ReportingStation station;
    station.viewers.calls.clear();
    station.automation.SendFileInfo("a.dcm", nullptr, "Bone");
    EXPECT_TRUE(station.viewers.calls.empty());
}

TEST(AskingTheViewer, WhenNothingIsToBeSentNothingIsTold) {
    ReportingStation station;
    station.viewers.absent = true;
    CTavrel automation(station.global, station.viewers, station.chooser, station.editor);
    station.windows.messages.clear();
    automation.SendFileInfo("", SomeView(), "Bone");
    automation.SendFileInfo("a.dcm", nullptr, "Bone");
    EXPECT_EQ(station.windows.Texts(), Texts{});
}

TEST(AskingTheViewer, AFailureIsTold) {
    ReportingStation station;
    station.viewers.failing = "ViewRefertImages";
    station.automation.SendFileInfo("a.dcm", SomeView(), "");
    EXPECT_EQ(station.windows.Texts(), Texts{"SendFileInfo The viewer does not answer"});
}

TEST(AskingTheViewer, AnImageWhosePropertyCannotBeSetIsNotShown) {
    ReportingStation station;
    station.viewers.calls.clear();
    station.viewers.failing = "LUTName";
    station.automation.SendFileInfo("a.dcm", SomeView(), "");
    EXPECT_EQ(station.viewers.calls, (Texts{"SRFilename", "LUTName"}));
    EXPECT_EQ(station.windows.Texts(), Texts{"SendFileInfo The viewer does not answer"});
}

TEST(AskingTheViewer, AMissingViewerIsToldWhenImagesAreSent) {
    ReportingStation station;
    station.viewers.absent = true;
    CTavrel automation(station.global, station.viewers, station.chooser, station.editor);
    automation.SendFileInfo("a.dcm", SomeView(), "");
    EXPECT_EQ(station.windows.Texts(), (Texts{"Viewer not loaded", "SendFileInfo The viewer is not connected"}));
}

TEST(AskingTheViewer, ItsListOfReportImagesIsCleared) {
    ReportingStation station;
    station.viewers.calls.clear();
    station.automation.RemoveImagesFromRefertList();
    EXPECT_EQ(station.viewers.calls, Texts{"ClearRefertList"});
}

TEST(AskingTheViewer, AFailureToClearIsSilent) {
    ReportingStation station;
    station.viewers.failing = "ClearRefertList";
    station.automation.RemoveImagesFromRefertList();
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(AskingTheViewer, AMissingViewerIsSilentWhenItsListIsCleared) {
    ReportingStation station;
    station.viewers.absent = true;
    CTavrel automation(station.global, station.viewers, station.chooser, station.editor);
    automation.RemoveImagesFromRefertList();
    EXPECT_EQ(station.windows.Texts(), Texts{"Viewer not loaded"});
}

const std::string Endless(1024UL * 1024, 'x');

TEST(EndlessTexts, AreNoUidOfASeries) {
    ReportingStation station;
    station.automation.LoadSRSeries(Endless);
    EXPECT_EQ(station.windows.Texts(), Texts{"Cannot find SRSeries UID='" + std::string(64, 'x') + "...'"});
}

TEST(EndlessTexts, AreNoImageFileOfASeries) {
    ReportingStation station;
    station.automation.LoadForImgSeries(std::array{std::string("a.dcm"), Endless});
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.ends_with(
        "The name of an image file is longer than 4096 characters: " + std::string(64, 'x') + "...)"));
}

TEST(EndlessTexts, AreNoImageAndNoLookUpTableOfAReport) {
    ReportingStation station;
    station.automation.RemoveImagesFromSR();
    station.automation.AddImageToSR(Endless, SomeView(), "");
    station.automation.AddImageToSR("a.dcm", SomeView(), Endless);
    EXPECT_TRUE(station.global.report->pendingImages->empty());
    EXPECT_EQ(
        station.windows.Texts(),
        (Texts{"AddImageToSR The name of the image is longer than 4096 characters: " + std::string(64, 'x') + "...",
               "AddImageToSR The name of the look-up table is longer than 4096 characters: " + std::string(64, 'x') +
                   "..."}));
}

TEST(EndlessTexts, AreNotSentToTheViewer) {
    ReportingStation station;
    station.viewers.calls.clear();
    station.automation.SendFileInfo(Endless, SomeView(), "");
    station.automation.SendFileInfo("a.dcm", SomeView(), Endless);
    EXPECT_TRUE(station.viewers.calls.empty());
    EXPECT_EQ(station.windows.messages.size(), 2U);
}

TEST(Closing, EndsTheProcessEvenWithUnsavedEdits) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("not saved");
    station.automation.CloseReport();
    EXPECT_EQ(station.process.ended, 1);
    EXPECT_TRUE(station.automation.Closing());
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_TRUE(station.windows.messages.empty());
}

TEST(Closing, TheEndOfLifeRoutineDoesNothing) {
    ReportingStation station;
    station.OpenReport();
    station.automation.Class_Terminate();
    EXPECT_EQ(station.process.ended, 0);
    EXPECT_TRUE(station.windows.IsShown(station.editor));
}

} // namespace
} // namespace tavrel::test
