#pragma once

#include "host/Global.h"
#include "platform/controls.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace tavrel {

class DcmSRDocument;
class frmBase;

/// The editor's handlers for coded findings and diagnoses and for the tables of headings and body
/// parts. Each but the deletions sets up the code tables manager and shows it modally; the manager
/// writes into the editor's lists itself. Only a deletion reaches the report.
class CodedEntries {
public:
    /// One coded list of the editor with its buttons. A row: text the code value, tag the scheme,
    /// sub-item 0 the meaning, sub-item 1 the annotation.
    struct Entries {
        ListView& list;
        Button& add;
        Button& modify;
        Button& remove;
    };

    /// Takes over the clicks of all the buttons. Everything given must outlive this object.
    /// `shownReport` answers the report on the editor's screen.
    CodedEntries(Global& global, frmBase& manager, Form& editor, std::function<DcmSRDocument&()> shownReport,
                 const Entries& findings, const Entries& diagnoses, Button& cmdTitle, Button& cmdBaseBody);
    CodedEntries(const CodedEntries&) = delete;
    CodedEntries& operator=(const CodedEntries&) = delete;

    void cmdFnAdd_Click();
    void cmdFnModify_Click();
    void cmdFnDelete_Click();
    void cmdDxAdd_Click();
    void cmdDxModify_Click();
    void cmdDxDelete_Click();
    void cmdTitle_Click();
    void cmdBaseBody_Click();
    /// The manager with both modes open, headed as titles, on the table of body parts. No control
    /// leads here.
    void ManageReportTitles();

private:
    void Add(std::string_view caption, std::string_view tableKey);
    void Modify(const Entries& entries, std::string_view caption, std::string_view tableKey);
    /// `deleteEntry` takes the row's number, from 1, to the report.
    void Delete(const Entries& entries, void (DcmSRDocument::*deleteEntry)(std::int16_t index));
    void MaintainOnly(std::string_view caption, std::string_view tableKey);
    void ShowManager();

    Global& global_;
    frmBase& manager_;
    Form& editor_;
    std::function<DcmSRDocument&()> shownReport_;
    Entries findings_;
    Entries diagnoses_;
};

} // namespace tavrel
