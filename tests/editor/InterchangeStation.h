#pragma once

#include "tests/editor/ReportingStation.h"

namespace tavrel::test {

/// "text|tag|sub-item 0|sub-item 1" of each row.
inline Texts RowsOf(const ListView& list) {
    Texts rows;
    for (const ListItem& row : list.Items())
        rows.push_back(row.text + "|" + row.tag + "|" + row.subItems[0] + "|" + row.subItems[1]);
    return rows;
}

/// The first column alone.
inline Texts Codes(const ListView& list) {
    Texts codes;
    for (const ListItem& row : list.Items())
        codes.push_back(row.text);
    return codes;
}

inline Texts Listed(const ComboBox& box) {
    Texts items;
    for (int i = 0; i < box.ListCount(); ++i)
        items.push_back(box.Item(i));
    return items;
}

/// A station of a site that writes the interchange form, with the report "1.2.3.2.1" of one classic version, which
/// was written before, and two body parts.
class InterchangeStation : public ReportingStation {
public:
    InterchangeStation() {
        WriteForm("interchange");
        AddCode("StdBodyPart", "SRT", "T-D9200", "Knee");
        AddCode("StdBodyPart", "SRT", "T-D3000", "Chest");
        AddReport({.title = "Title", .reading = "Reading"});
        StoreInto("report1");
    }

    /// The site's setting is another one from now on.
    void WriteForm(const std::string& form) { Execute("UPDATE SiteData SET ReportForm='" + form + "'"); }
    void Open(const std::string& seriesUid = "1.2.3.2.1") { automation.LoadSRSeries(seriesUid); }

    /// Another row in either list.
    void List(const std::string& finding, const std::string& diagnosis) {
        editor.lstFinding.Add({finding, "SRT", {"Meaning of " + finding, "note"}});
        editor.lstDiagnosis.Add({diagnosis, "SRT", {"Meaning of " + diagnosis, "note"}});
    }
    /// A version with these alone.
    void SaveCodes(const std::string& bodyPart, const std::string& finding, const std::string& diagnosis) {
        editor.cmbBodyPart.Typed(bodyPart);
        editor.lstFinding.Clear();
        editor.lstDiagnosis.Clear();
        List(finding, diagnosis);
        ++clock.now.minute;
        editor.cmdSave.Press();
    }
    /// The same as an approved version.
    void ApproveCodes(const std::string& bodyPart, const std::string& finding, const std::string& diagnosis) {
        SaveCodes(bodyPart, finding, diagnosis);
        windows.answers = {Answer::Yes};
        ++clock.now.minute;
        editor.cmdApprove.Press();
    }
    void AddOneImage() {
        automation.RemoveImagesFromSR();
        automation.AddImageToSR("rossi.dcm", SomeView(), "");
    }
    void Delete(ListView& list, int row) {
        auto& button = &list == &editor.lstFinding ? editor.cmdFnDelete : editor.cmdDxDelete;
        list.Select(row);
        windows.answers = {Answer::Ok};
        button.Enabled(true); // a deletion disables it until the screen is filled
        button.Press();
    }

    Texts DocumentsFindings() {
        Texts codes;
        for (const ContentNode& entry : Document().Findings())
            codes.push_back(entry.Code);
        return codes;
    }
};

} // namespace tavrel::test
