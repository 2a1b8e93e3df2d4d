#include "codes/CodedEntries.h"

#include "codes/frmBase.h"
#include "host/ErrorReport.h"
#include "sr/DcmSRDocument.h"

namespace tavrel {

CodedEntries::CodedEntries(Global& global, frmBase& manager, Form& editor, std::function<DcmSRDocument&()> shownReport,
                           const Entries& findings, const Entries& diagnoses, Button& cmdTitle, Button& cmdBaseBody)
    : global_(global), manager_(manager), editor_(editor), shownReport_(std::move(shownReport)), findings_(findings),
      diagnoses_(diagnoses) {
    manager_.ReportLists(findings.list, diagnoses.list);
    findings.add.Click = [this] { cmdFnAdd_Click(); };
    findings.modify.Click = [this] { cmdFnModify_Click(); };
    findings.remove.Click = [this] { cmdFnDelete_Click(); };
    diagnoses.add.Click = [this] { cmdDxAdd_Click(); };
    diagnoses.modify.Click = [this] { cmdDxModify_Click(); };
    diagnoses.remove.Click = [this] { cmdDxDelete_Click(); };
    cmdTitle.Click = [this] { cmdTitle_Click(); };
    cmdBaseBody.Click = [this] { cmdBaseBody_Click(); };
}

void CodedEntries::cmdFnAdd_Click() {
    TrapNumbered(global_.ports.windows, "cmdFnAdd: ", [this] { Add("Finding code", "Fn"); });
}

void CodedEntries::cmdDxAdd_Click() {
    TrapNumbered(global_.ports.windows, "cmdDxAdd: ", [this] { Add("Diagnosis code", "Dx"); });
}

void CodedEntries::cmdFnModify_Click() {
    TrapNumbered(global_.ports.windows, "cmdFnModify: ", [this] { Modify(findings_, "Finding code", "Fn"); });
}

void CodedEntries::cmdDxModify_Click() {
    TrapNumbered(global_.ports.windows, "cmdDxModify: ", [this] { Modify(diagnoses_, "Diagnosis code", "Dx"); });
}

void CodedEntries::cmdFnDelete_Click() {
    Delete(findings_, &DcmSRDocument::DeleteFinding);
}

void CodedEntries::cmdDxDelete_Click() {
    Delete(diagnoses_, &DcmSRDocument::DeleteDiagnosis);
}

void CodedEntries::cmdTitle_Click() {
    TrapNumbered(global_.ports.windows, "cmdTitle: ", [this] { MaintainOnly("Report heading code", "Ti"); });
}

void CodedEntries::cmdBaseBody_Click() {
    TrapNumbered(global_.ports.windows, "cmdBaseBody: ", [this] { MaintainOnly("Body part code", "Bo"); });
}

void CodedEntries::ManageReportTitles() {
    TrapNumbered(global_.ports.windows, "ManageReportTitles: ", [this] {
        manager_.Load();
        manager_.Titolo.Text("Report titles code");
        manager_.TableKey = "Bo";
        manager_.optManage(1).Value(true);
        manager_.cmdModify.Enabled(false);
        ShowManager();
    });
}

void CodedEntries::Add(std::string_view caption, std::string_view tableKey) {
    manager_.Load();
    manager_.Titolo.Text(caption);
    manager_.TableKey = tableKey;
    manager_.optManage(0).Value(true);
    manager_.cmdModify.Enabled(false);
    ShowManager();
}

void CodedEntries::Modify(const Entries& entries, std::string_view caption, std::string_view tableKey) {
    if (entries.list.SelectedIndex() < 0)
        return;
    manager_.Load();
    manager_.Titolo.Text(caption);
    manager_.optManage(0).Value(true);
    manager_.TableKey = tableKey;
    const ListItem& row = entries.list.Item(entries.list.SelectedIndex());
    manager_.txtCode.Text(row.text);
    manager_.txtCodeScheme.Text(row.tag);
    manager_.txtMeaning.Text(row.subItems[0]);
    manager_.txtAnnotation.Text(row.subItems[1]);
    manager_.frmSelect.Enabled(false);
    for (TextBox* box : {&manager_.txtCode, &manager_.txtMeaning}) {
        box->Locked(true);
        box->ButtonFace(true);
    }
    manager_.cmdAdd.Enabled(false);
    manager_.cmdClear.Enabled(false);
    ShowManager();
}

void CodedEntries::MaintainOnly(std::string_view caption, std::string_view tableKey) {
    manager_.Load();
    manager_.Titolo.Text(caption);
    manager_.TableKey = tableKey;
    manager_.optManage(1).Value(true);
    manager_.optManage(1).Enabled(false);
    manager_.optManage(0).Enabled(false);
    manager_.optManage(0).Visible(false);
    manager_.optManage(1).Visible(false);
    manager_.cmdModify.Enabled(false);
    ShowManager();
}

void CodedEntries::ShowManager() {
    global_.ports.windows.ShowModal(manager_, &editor_);
}

void CodedEntries::Delete(const Entries& entries, void (DcmSRDocument::*deleteEntry)(std::int16_t index)) {
    auto& windows = global_.ports.windows;
    const auto report = [&](const Error& error) {
        windows.Ask({.text = error.description, .title = {}, .icon = Icon::CriticalStop});
    };
    Trap(
        [&] {
            const int row = entries.list.SelectedIndex();
            if (row < 0)
                return;
            const std::string code = entries.list.Item(row).text;
            if (windows.Ask({.text = "Are you sure you want to delete " + code + "?",
                             .title = {},
                             .buttons = Buttons::OkCancel}) == Answer::Ok) {
                (shownReport_().*deleteEntry)(static_cast<std::int16_t>(row + 1));
                entries.list.Remove(row);
                entries.list.Refresh();
            }
            entries.modify.Enabled(false);
            entries.remove.Enabled(false);
        },
        report);
}

} // namespace tavrel
