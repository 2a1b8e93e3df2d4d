// A report of which a file cannot be read.

#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// A report of two versions, these of which are damaged, opened by its images.
class DamagedReport : public testing::Test {
protected:
    void Open(const Texts& damaged) {
        station.AddReport({.versions = 2});
        whole = station.ReadFile("study\\report1\\img_000002.dcm");
        for (const auto& name : damaged)
            station.WriteFile("study\\report1\\" + name, "broken");
        station.OpenImages();
    }
    ReportingStation station;
    frmReport& editor = station.editor;
    std::string whole; ///< the newest version's file
};

TEST_F(DamagedReport, SaysSoAboveTheNewestReadableVersion) {
    Open({"img_000002.dcm"});
    EXPECT_TRUE(editor.lblState.Text().starts_with("Read-only: The file ")) << editor.lblState.Text();
    EXPECT_NE(editor.lblState.Text().find("img_000002.dcm is no readable DICOM file"), std::string::npos);
    EXPECT_EQ(editor.lblState.Emphasis(), Label::Tone::Failure);
    EXPECT_EQ(editor.lstHistory.ListCount(), 1);
    EXPECT_EQ(editor.txtReportTitle.Text(), "Chest radiograph");
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST_F(DamagedReport, CanBeNeitherSavedNorApproved) {
    Open({"img_000001.dcm"});
    EXPECT_FALSE(editor.cmdSave.Enabled());
    EXPECT_FALSE(editor.cmdApprove.Enabled());
    station.windows.answers = {Answer::Yes};
    editor.cmdApprove_Click();
    EXPECT_TRUE(station.store.sent.empty());
    EXPECT_EQ(editor.txtApprovingPhysician.Text(), "Not yet approved");
}

TEST_F(DamagedReport, IsNotANewOne) {
    Open({"img_000001.dcm", "img_000002.dcm"});
    EXPECT_TRUE(editor.lblState.Text().starts_with("Read-only: The file "));
    EXPECT_EQ(editor.lstHistory.ListCount(), 0);
    EXPECT_FALSE(editor.cmdSave.Enabled());
    EXPECT_TRUE(editor.cmdNew.Enabled());
}

TEST_F(DamagedReport, IsWholeAgainOnceItsFileIs) {
    Open({"img_000002.dcm"});
    station.WriteFile("study\\report1\\img_000002.dcm", whole);
    station.OpenImages();
    EXPECT_EQ(editor.lblState.Text(), "Saved at 14/11/2026 08:01:00");
    EXPECT_TRUE(editor.cmdSave.Enabled());
}

TEST_F(DamagedReport, LeavesRoomForANewOne) {
    Open({"img_000001.dcm", "img_000002.dcm"});
    editor.cmdNew.Press();
    EXPECT_EQ(editor.lblState.Text(), "New report, not yet saved");
    EXPECT_TRUE(editor.cmdSave.Enabled());
}

TEST_F(DamagedReport, ChosenAmongOthersIsToldOnce) {
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.InChooser([&] {
        station.chooser.lstSRSeries.Select(1);
        station.chooser.cmdOk.Press();
    });
    Open({"img_000002.dcm"});
    EXPECT_EQ(station.windows.messages.size(), 1U);
    editor.cmdOthers.Press();
    EXPECT_EQ(station.windows.messages.size(), 2U);
}

} // namespace
} // namespace tavrel::test
