#include "codes/frmBase.h"

#include "codes/FillCodeList.h"
#include "codes/FilterSearchKey.h"
#include "codes/ReportCodes.h"
#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "platform/code_tables.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

/// The table of a key; empty for any other key, which makes the statement fail.
std::string TableOf(std::string_view key) {
    struct KeyAndTable {
        std::string_view key;
        std::string_view table;
    };
    static constexpr std::array tables{
        KeyAndTable{"Dx", code_table::Diagnoses},
        KeyAndTable{"Fn", code_table::Findings},
        KeyAndTable{"Bo", code_table::BodyParts},
        KeyAndTable{"Ti", code_table::Titles},
    };
    const auto found = std::ranges::find(tables, key, &KeyAndTable::key);
    return found == tables.end() ? "" : std::string(found->table);
}

/// The blank before the closing quote is the catalogue's way: its code columns compare blank-padded.
std::string WhereCode(const Letters& letters, const TextBox& code) {
    return " WHERE CodeValue = '" + InQuotes(letters.UpperCase(code.Text())) + " ' ";
}

std::unique_ptr<ResultSet> FindCode(const Global& global, const std::string& table, const TextBox& code) {
    return Catalogue(global).OpenResultSet(" SELECT * from " + table + WhereCode(global.ports.letters, code),
                                           Cursor::Dynamic);
}

} // namespace

frmBase::frmBase(Global& global) : Form("frmBase", "Standard codes"), global_(global) {
    cmdClose.Click = [this] { cmdClose_Click(); };
    optManage.Click = [this](int index) { optManage_Click(index); };
    txtFind.KeyPress = [this](std::int16_t keyAscii) { return txtFind_KeyPress(keyAscii); };
    txtFind.KeyUp = [this] { txtFind_KeyUp(); };
    txtFind.Enter = [this] { txtFind_Enter(); };
    txtFind.Down = [this] { lstTable.Focus(); };
    lstTable.ItemClick = [this] { lstTable_ItemClick(); };
    lstTable.DoubleClick = [this] { GoOnFromRow(); };
    txtAnnotation.Enter = [this] { txtAnnotation_Enter(); };
    optManageCodes.Click = [this](int index) { optManageCodes_Click(index); };
    cmdDone.Click = [this] { cmdDone_Click(); };
    cmdUndo.Click = [this] { cmdUndo_Click(); };
    cmdAdd.Click = [this] { cmdAdd_Click(); };
    cmdModify.Click = [this] { cmdModify_Click(); };
    cmdClear.Click = [this] { cmdClear_Click(); };
}

void frmBase::ReportLists(ListView& findings, ListView& diagnoses) {
    findings_ = &findings;
    diagnoses_ = &diagnoses;
}

void frmBase::Load() {
    if (loaded_)
        return;
    for (Control* control : Controls()) {
        control->Enabled(true);
        control->Visible(true);
    }
    for (TextBox* box : {&txtFind, &txtNewCodeScheme, &txtNewCode, &txtNewMeaning, &txtCode, &txtCodeScheme,
                         &txtMeaning, &txtAnnotation}) {
        box->Text("");
        box->Locked(false);
        box->ButtonFace(false);
    }
    Titolo.Text("................");
    TableKey.clear();
    PendingAction.clear();
    lstTable.Clear();
    optManageCodes.Unset();
    optManage(0).Value(true);
    Form_Load();
    loaded_ = true;
}

void frmBase::Form_Load() {
    global_.ports.windows.MakeTopMost(*this);
}

void frmBase::optManage_Click(int) {
    const bool reportCodes = optManage(0).Value();
    frmCodeReport.Visible(reportCodes);
    frmCode.Visible(!reportCodes);
}

std::int16_t frmBase::txtFind_KeyPress(std::int16_t keyAscii) {
    return FilterSearchKey(keyAscii);
}

void frmBase::txtFind_KeyUp() {
    // Every key searches, Delete, Escape and Down no less than a letter, and afterwards no row is
    // selected: what Down would mark is row 0 of a list that counts from 1. Failures are silence here.
    Trap([this] { SearchCodes(); }, [](const Error&) {});
}

void frmBase::txtFind_Enter() {
    txtFind_KeyUp(); // the last letter may not be up yet
    if (lstTable.Count() != 1)
        return;
    lstTable.Select(0);
    lstTable.Focus();
    GoOnFromRow();
}

void frmBase::GoOnFromRow() {
    if (frmCodeReport.Visible())
        txtAnnotation.Focus();
}

void frmBase::txtAnnotation_Enter() {
    (cmdAdd.Enabled() ? cmdAdd : cmdModify).Press();
    if (txtCode.Text().empty()) // it is added, and the next may be looked for
        txtFind.Focus();
}

void frmBase::SearchCodes() {
    FillCodeList(global_, lstTable, TableOf(TableKey), global_.ports.letters.UpperCase(Trimmed(txtFind.Text())));
}

void frmBase::lstTable_ItemClick() {
    txtCode.Text("");
    txtMeaning.Text("");
    txtAnnotation.Text("");
    if (lstTable.SelectedIndex() < 0)
        return;
    if (!frmCodeReport.Visible()) {
        CopySelectedToNewCode();
        PendingAction.clear();
        optManageCodes.Unset();
        return;
    }
    const ListItem& row = lstTable.Item(lstTable.SelectedIndex());
    txtCode.Text(global_.ports.letters.UpperCase(row.text));
    txtCodeScheme.Text(global_.ports.letters.UpperCase(row.tag));
    txtMeaning.Text(global_.ports.letters.UpperCase(row.subItems[0]));
}

void frmBase::optManageCodes_Click(int index) {
    static constexpr std::array actions{"Add", "Update", "Delete"};
    PendingAction = actions.at(static_cast<std::size_t>(index));
    EmptyNewCode();
    if (!optManageCodes(0).Value() && lstTable.SelectedIndex() >= 0)
        CopySelectedToNewCode();
}

void frmBase::EmptyNewCode() {
    txtNewCode.Text("");
    txtNewCodeScheme.Text("");
    txtNewMeaning.Text("");
}

void frmBase::CopySelectedToNewCode() {
    const ListItem& row = lstTable.Item(lstTable.SelectedIndex());
    txtNewCode.Text(global_.ports.letters.UpperCase(row.text));
    txtNewCodeScheme.Text(global_.ports.letters.UpperCase(row.tag));
    txtNewMeaning.Text(global_.ports.letters.UpperCase(row.subItems[0]));
}

void frmBase::cmdDone_Click() {
    // A failed action stays armed and its boxes keep their text, so that nothing need be typed again.
    TrapShort(global_.ports.windows, "", [this] {
        if (PendingAction == "Add")
            AddStandardCode();
        else if (PendingAction == "Update")
            UpdateStandardCode();
        else if (PendingAction == "Delete")
            DeleteStandardCode();
        cmdUndo_Click();
    });
}

void frmBase::cmdUndo_Click() {
    EmptyNewCode();
    PendingAction.clear();
    optManageCodes.Unset();
}

void frmBase::RequireWritable() const {
    if (const auto fault = CodeFault(txtNewCode.Text(), txtNewCodeScheme.Text(), txtNewMeaning.Text()); !fault.empty())
        throw Error(Fault::TypeMismatch, Name(), fault);
}

void frmBase::TellUnusableHeading(const std::string& meaning) const {
    if (TableOf(TableKey) == code_table::Titles && meaning.find('\'') != std::string::npos)
        global_.ports.windows.Ask(
            {.text = "The heading is stored as it was typed. No report can be saved with it, as it "
                     "holds an apostrophe: " +
                     meaning,
             .title = {}});
}

void frmBase::AddStandardCode() {
    if (txtNewCode.Text().empty() || txtNewMeaning.Text().empty())
        return;
    RequireWritable();
    const std::string meaning = txtNewMeaning.Text();
    bool stored = false;
    const auto rows = FindCode(global_, TableOf(TableKey), txtNewCode);
    if (rows->AtBeginning() && rows->AtEnd()) {
        rows->AddNew();
        rows->SetField("CodeValue", txtNewCode.Text());
        rows->SetField("CodeScheme", PrivateScheme);
        rows->SetField("CodeMeaning", meaning);
        rows->Update();
        stored = true;
    }
    rows->Close();
    ShowWholeTable();
    if (stored)
        TellUnusableHeading(meaning);
}

void frmBase::UpdateStandardCode() {
    if (txtNewCode.Text().empty() || txtNewMeaning.Text().empty())
        return;
    RequireWritable();
    const std::string meaning = txtNewMeaning.Text();
    const auto rows = FindCode(global_, TableOf(TableKey), txtNewCode);
    if (rows->AtEnd())
        return;
    rows->SetField("CodeValue", txtNewCode.Text());
    rows->SetField("CodeScheme", txtNewCodeScheme.Text());
    rows->SetField("CodeMeaning", meaning);
    rows->Update();
    rows->Close();
    ShowWholeTable();
    TellUnusableHeading(meaning);
}

void frmBase::DeleteStandardCode() {
    Catalogue(global_).OpenResultSet(" DELETE from " + TableOf(TableKey) + WhereCode(global_.ports.letters, txtNewCode),
                                     Cursor::Dynamic);
    ShowWholeTable();
}

void frmBase::ShowWholeTable() {
    FillCodeList(global_, lstTable, TableOf(TableKey), "");
    cmdUndo_Click();
}

void frmBase::cmdAdd_Click() {
    TrapShort(global_.ports.windows, "", [this] {
        if (txtCode.Text().empty())
            return;
        if (ListView* list = ReportList()) {
            if (std::ranges::find(list->Items(), txtCode.Text(), &ListItem::text) != list->Items().end())
                return;
            list->Add(ReportRow());
        }
        cmdClear_Click();
    });
}

void frmBase::cmdModify_Click() {
    TrapShort(global_.ports.windows, "", [this] {
        if (txtCode.Text().empty())
            return;
        ListView* list = ReportList();
        if (!list)
            throw Error(Fault::Missing, Name(),
                        "The report keeps no list of codes for the table key \"" + TableKey + "\"");
        if (list->SelectedIndex() < 0)
            throw Error(Fault::Missing, Name(), "No row of the report's list is selected");
        list->Replace(list->SelectedIndex(), ReportRow());
    });
}

void frmBase::cmdClear_Click() {
    txtCode.Text("");
    txtMeaning.Text("");
    txtAnnotation.Text("");
}

void frmBase::cmdClose_Click() {
    loaded_ = false;
    global_.ports.windows.Unload(*this);
}

ListView* frmBase::ReportList() const {
    return TableKey == "Dx" ? diagnoses_ : TableKey == "Fn" ? findings_ : nullptr;
}

ListItem frmBase::ReportRow() const {
    return {txtCode.Text(), txtCodeScheme.Text(), {txtMeaning.Text(), txtAnnotation.Text()}};
}

} // namespace tavrel
