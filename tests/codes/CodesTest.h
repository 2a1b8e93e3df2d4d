#pragma once

#include "codes/CodedEntries.h"
#include "codes/frmBase.h"
#include "tests/support/RecordingDatabase.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace tavrel::test {

/// The editor as far as the coded entries know it.
class EditorWindow : public Form {
public:
    EditorWindow() : Form("frmReport") {}
    void FrameClosed() override {}

    ListView lstFinding{*this, "lstFinding", {"Code", "Description", "Annotation"}};
    Button cmdFnAdd{*this, "cmdFnAdd"};
    Button cmdFnModify{*this, "cmdFnModify"};
    Button cmdFnDelete{*this, "cmdFnDelete"};
    ListView lstDiagnosis{*this, "lstDiagnosis", {"Code", "Description", "Annotation"}};
    Button cmdDxAdd{*this, "cmdDxAdd"};
    Button cmdDxModify{*this, "cmdDxModify"};
    Button cmdDxDelete{*this, "cmdDxDelete"};
    Button cmdTitle{*this, "cmdTitle"};
    Button cmdBaseBody{*this, "cmdBaseBody"};
};

/// The manager over a real catalogue, with the editor's lists beside it.
class CodesTest : public testing::Test {
protected:
    CodesTest() { global.catalogue = std::make_unique<RecordingConnection>(std::move(global.catalogue), statements); }

    enum Mode { ReportCodes, StandardCodes };
    /// As the editor's buttons do it, but without waiting for the manager to close.
    void Open(Mode mode, std::string_view tableKey = "Fn") {
        manager.Load();
        manager.TableKey = tableKey;
        manager.optManage(mode).Value(true);
    }

    /// One key pressed and released in the search box, as the widget hands it on.
    void PressKey(char character) {
        const auto key = manager.txtFind.KeyPress(static_cast<std::int16_t>(character));
        manager.txtFind.Typed(manager.txtFind.Text() + static_cast<char>(key));
        manager.txtFind.KeyUp();
    }
    void Search(std::string_view text) {
        for (const char character : text)
            PressKey(character);
    }

    void ListWholeTable() { manager.txtFind.KeyUp(); }

    void FillNewCode(std::string_view code, std::string_view scheme, std::string_view meaning) {
        manager.txtNewCode.Typed(code);
        manager.txtNewCodeScheme.Typed(scheme);
        manager.txtNewMeaning.Typed(meaning);
    }

    /// The rows "A", "B", "C" in both of the editor's lists.
    void ListThreeEntries() {
        for (ListView* list : {&editor.lstFinding, &editor.lstDiagnosis})
            for (const char* code : {"A", "B", "C"})
                list->Add({code, "SRT", {"Meaning", "note"}});
    }

    /// The rows of a list, "text|tag|sub-item 0|sub-item 1".
    static std::vector<std::string> RowsOf(const ListView& list) {
        std::vector<std::string> rows;
        for (const ListItem& item : list.Items())
            rows.push_back(item.text + "|" + item.tag + "|" + item.subItems[0] + "|" + item.subItems[1]);
        return rows;
    }
    std::vector<std::string> Listed() const { return RowsOf(manager.lstTable); }
    /// "value|scheme|meaning" in the catalogue, in the order in which the rows were made.
    std::vector<std::string> Stored(std::string_view table = "StdFinding") {
        std::vector<std::string> rows;
        for (const auto& row : workstation.Rows(table, {"CodeValue", "CodeScheme", "CodeMeaning"}))
            rows.push_back(row[0] + "|" + row[1] + "|" + row[2]);
        return rows;
    }

    Workstation workstation;
    Global& global = workstation.global;
    FakeWindows& windows = workstation.windows;
    std::vector<RanStatement> statements;
    EditorWindow editor;
    frmBase manager{global};
    CodedEntries entries{global,
                         manager,
                         editor,
                         [this]() -> DcmSRDocument& { return CurrentDocument(global); },
                         {editor.lstFinding, editor.cmdFnAdd, editor.cmdFnModify, editor.cmdFnDelete},
                         {editor.lstDiagnosis, editor.cmdDxAdd, editor.cmdDxModify, editor.cmdDxDelete},
                         editor.cmdTitle,
                         editor.cmdBaseBody};
};

using Texts = std::vector<std::string>;

} // namespace tavrel::test
