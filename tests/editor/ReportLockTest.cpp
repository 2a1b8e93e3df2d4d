#include "tests/editor/ReportingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

/// What may be edited only in the last version of a pending report.
std::vector<const Control*> EditingControls(const frmReport& editor) {
    return {&editor.frmDataReport, &editor.frmReading, &editor.frmDiagnosis, &editor.frmFinding, &editor.cmdSave,
            &editor.cmdApprove,    &editor.cmdTitle,   &editor.cmdBaseBody,  &editor.cmdFnAdd,   &editor.cmdFnModify,
            &editor.cmdFnDelete,   &editor.cmdDxAdd,   &editor.cmdDxModify,  &editor.cmdDxDelete};
}

void ExpectEditable(const frmReport& editor, bool editable) {
    for (const Control* control : EditingControls(editor))
        EXPECT_EQ(control->Enabled(), editable) << control->Name();
}

TEST(ReportLock, ANewReportCanBeEdited) {
    ReportingStation station;
    station.OpenImages();
    ExpectEditable(station.editor, true);
}

TEST(ReportLock, TheLastVersionOfAPendingReportCanBeEdited) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    ExpectEditable(station.editor, true);
}

TEST(ReportLock, AnOlderVersionIsReadOnly) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    ExpectEditable(station.editor, false);
}

TEST(ReportLock, TheLastVersionCanBeEditedAgain) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    station.editor.lstHistory.ListIndex(1);
    ExpectEditable(station.editor, true);
}

TEST(ReportLock, AnApprovedReportIsReadOnlyInEveryVersion) {
    ReportingStation station;
    station.OpenReport({.versions = 2, .approved = true});
    ExpectEditable(station.editor, false);
    station.editor.lstHistory.ListIndex(0);
    ExpectEditable(station.editor, false);
}

TEST(ReportLock, NavigationStaysWithinReach) {
    ReportingStation station;
    station.OpenImages();
    station.OpenReport({.versions = 2, .approved = true});
    const auto& editor = station.editor;
    for (const Control* control :
         std::initializer_list<const Control*>{&editor.lstHistory, &editor.cmdNew, &editor.cmdOthers,
                                               &editor.cmdLastVersion, &editor.cmdClose, &editor.cmdPrint})
        EXPECT_TRUE(control->Enabled()) << control->Name();
}

TEST(ReportState, APendingReportSaysSo) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.lblState.Text(), "Pending");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Neutral);
}

TEST(ReportState, ANewReportIsPending) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.editor.lblState.Text(), "Pending");
}

TEST(ReportState, AnOlderVersionCallsForAttention) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.lblState.Text(), "Older version, read-only");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Attention);
}

TEST(ReportState, TheLastVersionIsNeutralAgain) {
    ReportingStation station;
    station.OpenReport({.versions = 2});
    station.editor.lstHistory.ListIndex(0);
    station.editor.lstHistory.ListIndex(1);
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Neutral);
}

TEST(ReportState, AnApprovedReportThatNobodySignedIsApproved) {
    ReportingStation station;
    station.OpenImages();
    station.Document().status(DcmSRDocument::Approved);
    station.editor.LoadDocs();
    EXPECT_EQ(station.editor.lblState.Text(), "Approved");
}

TEST(ReportState, AnApprovedReportNamesWhoAndWhen) {
    ReportingStation station;
    station.OpenReport({.approved = true});
    EXPECT_EQ(station.editor.lblState.Text(), "Approved by Dr. Mario Rossi on 14/11/2026 08:00:00");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Settled);
}

TEST(ReportState, AnApproverWithoutANameIsLeftOut) {
    ReportingStation station;
    station.OpenReport({.observer = "", .approved = true});
    EXPECT_EQ(station.editor.lblState.Text(), "Approved on 14/11/2026 08:00:00");
}

TEST(ReportState, AnOlderVersionOfAnApprovedReportIsOlderFirst) {
    ReportingStation station;
    station.OpenReport({.versions = 2, .approved = true});
    station.editor.lstHistory.ListIndex(0);
    EXPECT_EQ(station.editor.lblState.Text(), "Older version, read-only");
}

} // namespace
} // namespace tavrel::test
