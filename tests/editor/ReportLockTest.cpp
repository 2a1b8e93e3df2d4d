#include "platform/attributes.h"
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

TEST(ReportState, ASavedReportSaysWhen) {
    ReportingStation station;
    station.OpenReport();
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 14/11/2026 08:00:00");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Neutral);
}

TEST(ReportState, ANewReportIsNotYetSaved) {
    ReportingStation station;
    station.OpenImages();
    EXPECT_EQ(station.editor.lblState.Text(), "New report, not yet saved");
}

TEST(ReportState, WhatIsTypedIsUnsavedUntilItIsSaved) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("A nodule.");
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 15/11/2026 08:05:09");
}

TEST(ReportState, TextTypedAndTakenBackIsNoChange) {
    ReportingStation station;
    station.OpenReport();
    const auto title = station.editor.txtReportTitle.Text();
    station.editor.txtReportTitle.Typed(title + "x");
    station.editor.txtReportTitle.Typed(title);
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 14/11/2026 08:00:00");
}

TEST(ReportState, AnotherHeadingAloneIsAChange) {
    ReportingStation station;
    station.OpenReport();
    station.editor.cmbReportTitle.Typed("Another heading");
    EXPECT_EQ(station.editor.lblState.Text(), "Unsaved changes");
}

TEST(ReportState, ASaveThatStoredNothingSaysWhyUntilTheNextOne) {
    ReportingStation station;
    station.OpenReport();
    station.editor.txtReportAnnotation.Typed("0.5 \u03A9");
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "NOT STORED: The report cannot be stored: its file cannot hold these "
                                              "characters. the reading: \u03A9");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Failure);
    station.editor.txtReportAnnotation.Typed("0.5 Ohm");
    EXPECT_TRUE(station.editor.lblState.Text().starts_with("NOT STORED: "));
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 15/11/2026 08:05:09");
}

TEST(ReportState, AVersionThatWasKeptWaitsForTheStorageServiceUntilItIsTakenIn) {
    ReportingStation station;
    station.OpenReport();
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); };
    station.editor.cmdSave.Press();
    EXPECT_EQ(station.editor.lblState.Text(),
              "Saved at 15/11/2026 08:05:09; waiting for the storage service (1 version)");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Attention);
    // The service tells before it removes the file.
    station.serviceEvents.RaiseStore("1.2.3.2.1", station.Path("study\\report1\\img_000002.dcm"), "AE_INTERNAL",
                                     "1.2.999.1.2026.11.15.08.05.09");
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 15/11/2026 08:05:09");
}

TEST(ReportState, AVersionThatAnEarlierRunKeptWaitsNoLongerOnceItIsTakenIn) {
    ReportingStation station;
    station.OpenReport();
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); };
    station.editor.cmdSave.Press();
    const auto file = station.global.report->filePath;
    station.serviceEvents.RaiseOtherStore("1.2.999.1.2026.11.15.08.05.09");
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 15/11/2026 08:05:09");
    EXPECT_EQ(station.global.report->filePath, file);
}

TEST(ReportState, AnotherReportsWaitingVersionIsNotCounted) {
    ReportingStation station;
    station.AddReport({.seriesUid = "1.2.3.2.2", .seriesDir = "report2"});
    station.OpenReport();
    station.store.answer = [](const SentVersion&) { throw Error(1, "Porvane", "The service is down."); };
    station.editor.cmdSave.Press();
    station.automation.LoadSRSeries("1.2.3.2.2");
    EXPECT_EQ(station.editor.lblState.Text(), "Saved at 14/11/2026 08:00:00");
}

TEST(ReportState, AScreenThatCouldNotBeFilledSaysSoAndAllowsNoSave) {
    ReportingStation station;
    station.Execute("DROP TABLE StdTitles");
    station.OpenReport();
    EXPECT_TRUE(station.editor.lblState.Text().starts_with("NOT SHOWN: ")) << station.editor.lblState.Text();
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Failure);
    EXPECT_FALSE(station.editor.cmdSave.Enabled());
}

TEST(ReportState, APatientWhoseNameNoReportCanHoldIsNamedBeforeAnyoneWrites) {
    ReportingStation station;
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::SpecificCharacterSet, "ISO_IR 192");
    images->SetElementString(0, attribute::PatientName, "\u0141UKASZ^ADAM");
    station.automation.LoadForImgSeries(images);
    EXPECT_EQ(station.editor.lblState.Text(), "No report can be saved for this patient: Patient Name: \u0141");
    EXPECT_EQ(station.editor.lblState.Emphasis(), Label::Tone::Failure);
}

TEST(ReportState, APatientWithAnUmlautCanHaveAReport) {
    ReportingStation station;
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::PatientName, "M\u00DCLLER^EVA");
    station.automation.LoadForImgSeries(images);
    EXPECT_EQ(station.editor.lblState.Text(), "New report, not yet saved");
}

/// Gives the only version of the example study's report another content and opens it.
void OpenForeign(ReportingStation& station, const std::function<void(DicomDataSet&)>& change,
                 const ReportSeed& seed = {}) {
    const auto file = station.AddReport(seed) + "\\img_000001.dcm";
    const auto list = station.dicom->NewDataSetList();
    list->LoadFile(file);
    change(*list->Item(0));
    list->Item(0)->SaveToFile(file);
    station.automation.LoadSRSeries("1.2.3.2.1");
}

void AddItem(ReportingStation& station, DicomDataSet& version) {
    const auto item = station.dicom->NewDataSet();
    version.SetSequenceItem(attribute::ContentSequence, 2, item);
    item->SetValue(attribute::ValueType, 0, "NUM");
}

TEST(ForeignContents, AreReadOnlyAndSaidToBeThere) {
    ReportingStation station;
    OpenForeign(station, [&](DicomDataSet& version) { AddItem(station, version); });
    ExpectEditable(station.editor, false);
    EXPECT_EQ(station.editor.lblState.Text(), "Read-only: this report holds contents that are not shown here");
}

TEST(ForeignContents, OfAnotherKindOfReportAreReadOnly) {
    ReportingStation station;
    OpenForeign(station, [](DicomDataSet& version) {
        version.SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.33"); // comprehensive
    });
    ExpectEditable(station.editor, false);
}

TEST(ForeignContents, InATitlesPlaceAreReadOnly) {
    ReportingStation station;
    OpenForeign(station, [](DicomDataSet& version) {
        const auto item = version.GetSequenceItem(attribute::ContentSequence, 0);
        item->GetSequenceItem(attribute::ConceptNameCodeSequence, 0)->SetValue(attribute::CodeValue, 0, "121071");
    });
    ExpectEditable(station.editor, false);
}

TEST(ForeignContents, AreNotPrintedInPart) {
    ReportingStation station;
    OpenForeign(station, [&](DicomDataSet& version) { AddItem(station, version); }, {.approved = true});
    EXPECT_FALSE(station.editor.cmdPrint.Enabled());
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
