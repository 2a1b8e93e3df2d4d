#pragma once

#include "platform/controls.h"

namespace tavrel {

/// Forms with the names of the program's own and something in them, for pictures of their layouts.
struct SampleReport : Form {
    SampleReport();
    void FrameClosed() override {}
    /// As an approved version is shown.
    void Approve();
    /// As an older version that was never approved is shown.
    void Older();

    Label lblState{*this, "lblState"};
    Button cmdOthers{*this, "cmdOthers"}, cmdNew{*this, "cmdNew"}, cmdLastVersion{*this, "cmdLastVersion"};
    ListBox lstHistory{*this, "lstHistory"};
    Frame frmReading{*this, "frmReading"};
    Button cmdVocal{*this, "cmdVocal"};
    TextBox txtReportAnnotation{*this, "txtReportAnnotation"};
    Frame frmPatient{*this, "frmPatient"};
    Label txtPtName{*this, "txtPtName", "ROSSINI^ANNA MARIA"}, txtPtPatientID{*this, "txtPtPatientID", "OGH-2031177"},
        txtPtSex{*this, "txtPtSex", "F"}, txtPtBirthDate{*this, "txtPtBirthDate", "20/05/1960"},
        txtPtAge{*this, "txtPtAge", "66 y"};
    Frame frmStudy{*this, "frmStudy"};
    Label txtPhysician{*this, "txtPhysician", "BIANCHI^CARLO"},
        txtStDescription{*this, "txtStDescription", "CT CHEST WITH AND WITHOUT CONTRAST"},
        txtStDate{*this, "txtStDate", "15/11/2026"};
    Frame frmDataReport{*this, "frmDataReport"};
    ComboBox cmbReportTitle{*this, "cmbReportTitle"};
    TextBox txtReportTitle{*this, "txtReportTitle"};
    ComboBox cmbBodyPart{*this, "cmbBodyPart"};
    Label txtReferringPhysician{*this, "txtReferringPhysician", "Dr. Elena Marchetti"},
        txtUpdateDate{*this, "txtUpdateDate", "15/11/2026 08:21:44"},
        txtApprovingPhysician{*this, "txtApprovingPhysician", "Not yet approved"},
        txtApprovalDate{*this, "txtApprovalDate"};
    Button cmdApprove{*this, "cmdApprove"}, cmdBaseBody{*this, "cmdBaseBody"}, cmdTitle{*this, "cmdTitle"};
    Frame frmFinding{*this, "frmFinding"};
    ListView lstFinding{*this, "lstFinding", {"Code", "Description", "Annotation"}};
    Button cmdFnAdd{*this, "cmdFnAdd"}, cmdFnModify{*this, "cmdFnModify"}, cmdFnDelete{*this, "cmdFnDelete"};
    Frame frmDiagnosis{*this, "frmDiagnosis"};
    ListView lstDiagnosis{*this, "lstDiagnosis", {"Code", "Description", "Annotation"}};
    Button cmdDxAdd{*this, "cmdDxAdd"}, cmdDxModify{*this, "cmdDxModify"}, cmdDxDelete{*this, "cmdDxDelete"};
    Button cmdClose{*this, "cmdClose"}, cmdPrint{*this, "cmdPrint"}, cmdSave{*this, "cmdSave"};

private:
    void Lock();
};

struct SampleChooser : Form {
    SampleChooser();
    void FrameClosed() override {}
    ListView lstSRSeries{*this, "lstSRSeries", {"Description", "State", "Last Updated", "Observer"}};
    Button cmdOk{*this, "cmdOk"}, cmdNew{*this, "cmdNew"}, cmdCancel{*this, "cmdCancel"};
};

struct SampleCodes : Form {
    SampleCodes();
    void FrameClosed() override {}
    /// As a finding's annotation is changed.
    void Modify();
    /// As a code table is maintained.
    void Maintain();

    Label Titolo{*this, "Titolo", "Finding code"};
    Button cmdClose{*this, "cmdClose"};
    Frame frmSelect{*this, "frmSelect"};
    Label lblFind{*this, "lblFind", "Search code meaning"};
    TextBox txtFind{*this, "txtFind"};
    OptionGroup optManage{*this, "optManage", 2};
    Label lblList{*this, "lblList", "List codes"};
    ListView lstTable{*this, "lstTable", {"Code", "Description"}};
    Frame frmCode{*this, "frmCode"};
    Label lblNewCode{*this, "lblNewCode", "Standard codes"};
    TextBox txtNewCodeScheme{*this, "txtNewCodeScheme"}, txtNewCode{*this, "txtNewCode"},
        txtNewMeaning{*this, "txtNewMeaning"};
    OptionGroup optManageCodes{*this, "optManageCodes", 3};
    Button cmdDone{*this, "cmdDone"}, cmdUndo{*this, "cmdUndo"};
    Frame frmCodeReport{*this, "frmCodeReport"};
    Label lblInsert{*this, "lblInsert", "Report codes"};
    TextBox txtCode{*this, "txtCode"}, txtCodeScheme{*this, "txtCodeScheme"}, txtMeaning{*this, "txtMeaning"},
        txtAnnotation{*this, "txtAnnotation"};
    Label lblAnnotation{*this, "lblAnnotation", "Annotation"};
    Button cmdAdd{*this, "cmdAdd"}, cmdModify{*this, "cmdModify"}, cmdClear{*this, "cmdClear"};
};

} // namespace tavrel
