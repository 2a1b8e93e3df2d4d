#include "tests/window/SampleForms.h"

namespace tavrel {
namespace {

constexpr auto reading =
    "Technique: volumetric acquisition before and after intravenous contrast medium, 1.25 mm slices.\r\n\r\n"
    "No focal parenchymal lesions in either lung. A calcified nodule of 4 mm in the right upper lobe is unchanged "
    "against the examination of 12/03/2025. Trachea and main bronchi are patent.\r\n\r\n"
    "No pleural effusion. Mediastinal lymph nodes within normal limits, the largest 8 mm in the short axis at "
    "station 4R. The heart is of normal size, no pericardial effusion. Regular calibre of the thoracic aorta with "
    "slight calcifications of the arch.\r\n\r\n"
    "Conclusion: no sign of recent disease. Granuloma of the right upper lobe, stable.";

} // namespace

SampleReport::SampleReport() : Form("frmReport", "Orbenta General Hospital") {
    lblState.Text("Pending approval: version 3 of 3");
    lblState.Emphasis(Label::Tone::Attention);
    for (const auto* version : {"15/11/2026 08:05:11", "15/11/2026 08:14:02", "15/11/2026 08:21:44"})
        lstHistory.AddItem(version);
    lstHistory.ListIndex(2);
    cmbReportTitle.AddItems({"Diagnostic Imaging Report", "CT Report", "X-Ray Report"});
    cmbReportTitle.Text("CT Report");
    txtReportTitle.Text("Chest CT, follow-up of pulmonary nodule");
    cmbBodyPart.Text("Chest");
    txtReportAnnotation.Text(reading);
    lstFinding.Add({"M-55400", "SRT", {"Calcification", "4 mm, unchanged"}});
    lstFinding.Add({"M-44000", "SRT", {"Granuloma", ""}});
    lstDiagnosis.Add({"D2-61000", "SRT", {"Granulomatous disease of lung", "stable since 2025"}});
    lstFinding.Select(0);
    cmdPrint.Enabled(false);
}

void SampleReport::Lock() {
    for (Frame* frame : {&frmDataReport, &frmReading, &frmFinding, &frmDiagnosis})
        frame->Enabled(false);
    for (Button* button : {&cmdSave, &cmdApprove, &cmdTitle, &cmdBaseBody, &cmdFnAdd, &cmdFnModify, &cmdFnDelete,
                           &cmdDxAdd, &cmdDxModify, &cmdDxDelete})
        button->Enabled(false);
}

void SampleReport::Approve() {
    Lock();
    lblState.Text("Approved by Dr. Elena Marchetti on 15/11/2026 08:30:09");
    lblState.Emphasis(Label::Tone::Settled);
    txtApprovingPhysician.Text("Dr. Elena Marchetti");
    txtApprovalDate.Text("15/11/2026 08:30:09");
    cmdPrint.Enabled(true);
}

void SampleReport::Older() {
    Lock();
    lstHistory.ListIndex(0);
    lblState.Text("Older version, read-only: version 1 of 3");
    lblState.Emphasis(Label::Tone::Neutral);
}

SampleChooser::SampleChooser() : Form("frmSRSeriesChoice", "Report selection") {
    lstSRSeries.Add(
        {"Chest CT, follow-up of pulmonary nodule", "", {"APPROVED", "15/11/2026 08:30:09", "Dr. Elena Marchetti"}});
    lstSRSeries.Add({"Chest CT, second opinion", "", {"", "16/11/2026 10:02:51", "Dr. Giulio Ferrante"}});
}

SampleCodes::SampleCodes() : Form("frmBase", "Standard codes") {
    for (const auto* meaning : {"CALCIFICATION", "CALCIFIED GRANULOMA", "CALCIFIED LYMPH NODE", "CALCIFIED PLAQUE"})
        lstTable.Add({"M-5540" + std::to_string(lstTable.Count()), "SRT", {meaning}});
    txtFind.Text("CALC");
    optManage(0).Value(true);
    frmCode.Visible(false);
    lstTable.Select(1);
    txtCode.Text("M-55401");
    txtCodeScheme.Text("SRT");
    txtMeaning.Text("CALCIFIED GRANULOMA");
    cmdModify.Enabled(false);
}

void SampleCodes::Modify() {
    frmSelect.Enabled(false);
    for (TextBox* box : {&txtCode, &txtMeaning}) {
        box->Locked(true);
        box->ButtonFace(true);
    }
    txtAnnotation.Text("4 mm, unchanged");
    cmdModify.Enabled(true);
    cmdAdd.Enabled(false);
    cmdClear.Enabled(false);
}

void SampleCodes::Maintain() {
    Titolo.Text("Report heading code");
    optManage(1).Value(true);
    for (const int index : {0, 1})
        optManage(index).Visible(false);
    frmCodeReport.Visible(false);
    frmCode.Visible(true);
    optManageCodes(1).Value(true);
    txtNewCode.Text("M-55401");
    txtNewCodeScheme.Text("SRT");
    txtNewMeaning.Text("CALCIFIED GRANULOMA");
}

} // namespace tavrel
