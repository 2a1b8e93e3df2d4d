#pragma once

#include "host/Global.h"
#include "platform/controls.h"

#include <cstdint>
#include <string>

namespace tavrel {

/// The code tables manager: one screen to search and maintain the standard code tables and to put a
/// code into the open report. The editor sets it up through `Load`, its controls and `TableKey` and
/// then shows it modally.
class frmBase : public Form {
public:
    explicit frmBase(Global& global);

    /// The report's lists that codes are added to and changed in. They must outlive the form.
    void ReportLists(ListView& findings, ListView& diagnoses);

    /// Brings the form to its design state: nothing listed, typed, disabled, hidden or locked, the
    /// report codes shown. Does nothing while the form is loaded, which it is until it is closed.
    void Load();

    void Form_Load();
    void optManage_Click(int index);
    std::int16_t txtFind_KeyPress(std::int16_t keyAscii);
    void txtFind_KeyUp();
    /// Picks the one code that is found.
    void txtFind_Enter();
    void lstTable_ItemClick();
    void optManageCodes_Click(int index);
    void cmdDone_Click();
    void cmdUndo_Click();
    void cmdAdd_Click();
    void cmdModify_Click();
    void cmdClear_Click();
    /// Does what the enabled one of the two buttons does.
    void txtAnnotation_Enter();
    void cmdClose_Click();
    void FrameClosed() override { cmdClose_Click(); }

    /// The code table worked on: "Dx" diagnoses, "Fn" findings, "Bo" body parts, "Ti" report headings.
    std::string TableKey;
    /// The maintenance action that Done carries out: "Add", "Update", "Delete" or none.
    std::string PendingAction;

    Label Titolo{*this, "Titolo"};
    Button cmdClose{*this, "cmdClose"};

    Frame frmSelect{*this, "frmSelect"};
    Label lblFind{*this, "lblFind", "Search code meaning"};
    TextBox txtFind{*this, "txtFind"};
    OptionGroup optManage{*this, "optManage", 2}; ///< 0 report codes, 1 standard codes
    Label lblList{*this, "lblList", "List codes"};
    ListView lstTable{*this, "lstTable", {"Code", "Description"}};

    Frame frmCode{*this, "frmCode"};
    Label lblNewCode{*this, "lblNewCode", "Standard codes"};
    TextBox txtNewCodeScheme{*this, "txtNewCodeScheme"};
    TextBox txtNewCode{*this, "txtNewCode"};
    TextBox txtNewMeaning{*this, "txtNewMeaning"};
    OptionGroup optManageCodes{*this, "optManageCodes", 3}; ///< 0 add, 1 modify, 2 delete
    Button cmdDone{*this, "cmdDone"};
    Button cmdUndo{*this, "cmdUndo"};

    Frame frmCodeReport{*this, "frmCodeReport"};
    Label lblInsert{*this, "lblInsert", "Report codes"};
    TextBox txtCode{*this, "txtCode"};
    TextBox txtCodeScheme{*this, "txtCodeScheme"};
    TextBox txtMeaning{*this, "txtMeaning"};
    TextBox txtAnnotation{*this, "txtAnnotation"};
    Label lblAnnotation{*this, "lblAnnotation", "Annotation"};
    Button cmdAdd{*this, "cmdAdd"};
    Button cmdModify{*this, "cmdModify"};
    Button cmdClear{*this, "cmdClear"};

private:
    void SearchCodes();
    void GoOnFromRow();
    void AddStandardCode();
    void UpdateStandardCode();
    void DeleteStandardCode();
    /// What cannot stand in a report's file is an error: it would come to light only in a report.
    void RequireWritable() const;
    /// A heading that no report can be saved with is said to be one, at once.
    void TellUnusableHeading(const std::string& meaning) const;
    void ShowWholeTable();
    void EmptyNewCode();
    void CopySelectedToNewCode();
    ListView* ReportList() const;
    ListItem ReportRow() const;

    Global& global_;
    bool loaded_ = false;
    ListView* findings_ = nullptr;
    ListView* diagnoses_ = nullptr;
};

} // namespace tavrel
