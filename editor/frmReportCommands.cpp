// The buttons of the report editor that commit the physician's work or change what is shown.

#include "editor/PrintReport.h"
#include "editor/frmReport.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Text.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "sr/DcmSRDocument.h"

namespace tavrel {

void frmReport::cmdSave_Click() {
    TrapNumbered(global_.ports.windows, "Save report - ", [&] {
        PutTitleAndReading(CurrentDocument(global_));
        CurrentDocument(global_).Send();
        FillHistory();
        SelectLastVersion();
    });
}

void frmReport::PutTitleAndReading(DcmSRDocument& document) {
    const auto& heading = cmbReportTitle.Text();
    const auto row = Catalogue(global_).OpenResultSet("SELECT * FROM StdTitles Where CodeMeaning='" + heading + "'");
    std::string scheme, code, meaning = heading;
    if (!row->AtEnd()) {
        scheme = row->Text("CodeScheme");
        code = row->Text("CodeValue");
        meaning = row->Text("CodeMeaning");
    }
    row->Close();
    document.SetTitle(scheme, code, meaning, txtReportTitle.Text());
    document.Reading(txtReportAnnotation.Text());
}

void frmReport::cmdApprove_Click() {
    TrapNumbered(global_.ports.windows, "Approve Report ", [&] {
        const auto answer = global_.ports.windows.Ask(
            {.text = "The approved document will not be editable anymore ... do you want to continue ?",
             .title = "Approving document ... ",
             .buttons = Buttons::YesNo,
             .icon = Icon::Exclamation,
             .defaultAnswer = Answer::No});
        if (answer != Answer::Yes)
            return;
        CurrentDocument(global_).status(DcmSRDocument::Approved);
        txtApprovingPhysician.Text(global_.userSignature);
        txtApprovalDate.Text(DateTimeText(global_.ports.clock.Now()));
        cmdSave_Click();
        txtApprovingPhysician.Refresh();
        txtApprovalDate.Refresh();
        bool readOnly = true;
        Lock(readOnly);
        cmdPrint.Enabled(true);
        ShowState();
        WriteHistory(global_, global_.report.seriesUid, "REFERT", "Validate Refert");
    });
}

void frmReport::cmdNew_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdNew_Click:", [&] {
        if (!global_.report.imageSeries) {
            global_.ports.windows.Ask({.text = "No referenced Series", .title = {}});
            return;
        }
        CurrentDocument(global_).CreateFromDDO(*global_.report.imageSeries, 0);
        Form_Load();
    });
}

void frmReport::cmdLastVersion_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdLastVersion_Click:", [&] { SelectLastVersion(); });
}

void frmReport::cmdOthers_Click() {
    TrapNumbered(global_.ports.windows, "frmReport.cmdOthers_Click:", [&] {
        chooser_.ShowSRDocuments(global_.report.studyUid);
        if (chooser_.cancelled() != 0)
            return;
        const auto seriesUid = chooser_.ChosenSeriesUid();
        if (seriesUid.empty())
            return;
        auto& owner = Owner();
        choosing_ = true;
        owner.LoadSRSeries(seriesUid);
        choosing_ = false;
        Form_Load();
    });
}

void frmReport::cmdPrint_Click() {
    TrapShort(global_.ports.windows, "CmdPrint: ", [&] {
        const PrintRow row = PrintedRow();
        if (FillPrintTable(global_, row))
            ShowPrintReport(global_, printer_, row);
    });
}

PrintRow frmReport::PrintedRow() const {
    return {txtPtName.Text(),
            PrintedDate(txtPtBirthDate.Text()),
            txtPtAge.Text(),
            txtPtSex.Text(),
            txtPtPatientID.Text(),
            PrintedDate(txtStDate.Text()),
            txtStDescription.Text(),
            txtPhysician.Text(),
            cmbReportTitle.Text(),
            txtReportTitle.Text(),
            txtReferringPhysician.Text(),
            PrintedDate(txtUpdateDate.Text()),
            txtApprovingPhysician.Text(),
            PrintedDate(txtApprovalDate.Text()),
            txtReportAnnotation.Text()};
}

void frmReport::cmdClose_Click() {
    Trap([&] { global_.ports.process.End(); }, [](const Error&) {});
}

} // namespace tavrel
