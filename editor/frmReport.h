#pragma once

#include "editor/ReportOwner.h"
#include "host/Global.h"
#include "platform/service_events.h"

#include <functional>
#include <memory>
#include <string>

namespace tavrel {

class frmSRSeriesChoice;

/// The report editor. Every handler traps its own failures and shows them.
class frmReport : public Form, private ServiceEventHandler {
public:
    frmReport(Global& global, ServiceEvents& serviceEvents, frmSRSeriesChoice& chooser);
    ~frmReport() override;

    /// Shows the current document for `owner`, in a window made now or already there.
    void Open(ReportOwner& owner);

    void Form_Load();
    /// Closes the report at its owner, which ends the process, and unloads.
    void Form_Unload();
    void FrameClosed() override { Form_Unload(); }

    /// Fills the screen from the current document, its last version first.
    void LoadDocs();
    void SaveIOD() {}

    void lstHistory_Click();
    void cmdSave_Click();
    void cmdApprove_Click();
    void cmdNew_Click();
    void cmdLastVersion_Click();
    void cmdOthers_Click();
    void cmdClose_Click();

    Label lblState;
    Button cmdOthers, cmdNew, cmdLastVersion;
    ListBox lstHistory;

    Frame frmReading;
    Button cmdVocal;
    TextBox txtReportAnnotation;

    Frame frmPatient;
    Label txtPtName, txtPtPatientID, txtPtSex, txtPtBirthDate, txtPtAge;

    Frame frmStudy;
    Label txtPhysician, txtStDescription, txtStDate;

    Frame frmDataReport;
    ComboBox cmbReportTitle;
    TextBox txtReportTitle;
    ComboBox cmbBodyPart;
    Label txtReferringPhysician, txtUpdateDate, txtApprovingPhysician, txtApprovalDate;
    Button cmdApprove, cmdBaseBody, cmdTitle;

    Frame frmFinding;
    ListView lstFinding;
    Button cmdFnAdd, cmdFnModify, cmdFnDelete;

    Frame frmDiagnosis;
    ListView lstDiagnosis;
    Button cmdDxAdd, cmdDxModify, cmdDxDelete;

    Button cmdClose, cmdPrint, cmdSave;

private:
    void ShowSiteCaption();
    void FillHistory();
    void FillScreen();
    void FillPatient();
    void FillTitle();
    void FillObservers();
    void LookUpUserAndSite();
    /// Inverts its argument: the caller's flag then says whether the screen can be edited.
    void Lock(bool& readOnly);
    void ShowState();
    void SelectLastVersion();

    void OnConnection(const std::string&, const std::string&, const std::string&) override;
    void OnEndConnection(const std::string&, const std::string&, const std::string&) override;
    void OnStore(const std::string&, const std::string&, const std::string&, const std::string&, const std::string&,
                 const std::string& path) override;

    Global& global_;
    ServiceEvents& serviceEvents_;
    frmSRSeriesChoice& chooser_;
    ReportOwner* owner_ = nullptr;
    std::unique_ptr<ServiceObject> service_;
    bool connected_ = false;
    bool choosing_ = false; ///< inside "Other reports", which loads the form itself
};

} // namespace tavrel
