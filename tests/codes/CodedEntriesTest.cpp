#include "platform/error.h"
#include "sr/DcmSRDocument.h"
#include "tests/codes/CodesTest.h"

namespace tavrel::test {
namespace {

class CodedEntriesTest : public CodesTest {
protected:
    CodedEntriesTest() {
        WhileManagerIsOpen([] {});
    }

    /// What the person does or sees in the manager before closing it.
    void WhileManagerIsOpen(const std::function<void()>& person) {
        windows.onModal = [this, person](Form& form) {
            ASSERT_EQ(&form, &manager);
            ++openings;
            person();
            manager.cmdClose.Press();
        };
    }

    int openings = 0;
};

TEST_F(CodedEntriesTest, AddingAFindingOpensTheFindingsForPicking) {
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Finding code");
        EXPECT_EQ(manager.TableKey, "Fn");
        EXPECT_TRUE(manager.optManage(0).Value());
        EXPECT_TRUE(manager.frmCodeReport.Visible());
        EXPECT_FALSE(manager.frmCode.Visible());
    });

    editor.cmdFnAdd.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, AddingADiagnosisOpensTheDiagnosesForPicking) {
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Diagnosis code");
        EXPECT_EQ(manager.TableKey, "Dx");
        EXPECT_TRUE(manager.optManage(0).Value());
        EXPECT_TRUE(manager.frmCodeReport.Visible());
        EXPECT_FALSE(manager.frmCode.Visible());
    });

    editor.cmdDxAdd.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, AddingDisablesModifyAlone) {
    WhileManagerIsOpen([this] {
        for (const Control* control : manager.Controls())
            EXPECT_EQ(control->Enabled(), control != &manager.cmdModify) << control->Name();
    });

    editor.cmdFnAdd.Press();
    editor.cmdDxAdd.Press();

    EXPECT_EQ(openings, 2);
}

TEST_F(CodedEntriesTest, SeveralCodesArePickedInOneVisit) {
    workstation.AddCode("StdFinding", "srt", "c1", "Cyst");
    workstation.AddCode("StdFinding", "srt", "c2", "Nodule");
    WhileManagerIsOpen([this] {
        ListWholeTable();
        for (const int row : {0, 1}) {
            manager.lstTable.Select(row);
            manager.txtAnnotation.Typed("note");
            manager.cmdAdd.Press();
        }
    });

    editor.cmdFnAdd.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), (Texts{"C1|SRT|CYST|note", "C2|SRT|NODULE|note"}));
}

TEST_F(CodedEntriesTest, AddingTellsTheReportNothing) {
    global.report->document = std::make_shared<DcmSRDocument>(global);
    workstation.AddCode("StdFinding", "SRT", "C1", "Cyst");
    WhileManagerIsOpen([this] {
        ListWholeTable();
        manager.lstTable.Select(0);
        manager.cmdAdd.Press();
    });

    editor.cmdFnAdd.Press();

    EXPECT_EQ(editor.lstFinding.Count(), 1);
    EXPECT_EQ(global.report->document->GetFindingCount(), 0);
}

TEST_F(CodedEntriesTest, ModifyingCopiesTheSelectedFindingAsItIs) {
    editor.lstFinding.Add({"a-1", "Srt", {"Small meaning", "note"}});
    editor.lstFinding.Select(0);
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Finding code");
        EXPECT_EQ(manager.TableKey, "Fn");
        EXPECT_TRUE(manager.frmCodeReport.Visible());
        EXPECT_EQ(manager.txtCode.Text(), "a-1");
        EXPECT_EQ(manager.txtCodeScheme.Text(), "Srt");
        EXPECT_EQ(manager.txtMeaning.Text(), "Small meaning");
        EXPECT_EQ(manager.txtAnnotation.Text(), "note");
    });

    editor.cmdFnModify.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, ModifyingCopiesTheSelectedDiagnosisAsItIs) {
    editor.lstDiagnosis.Add({"a-1", "Srt", {"Small meaning", "note"}});
    editor.lstDiagnosis.Select(0);
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Diagnosis code");
        EXPECT_EQ(manager.TableKey, "Dx");
        EXPECT_TRUE(manager.frmCodeReport.Visible());
        EXPECT_EQ(manager.txtCode.Text(), "a-1");
        EXPECT_EQ(manager.txtCodeScheme.Text(), "Srt");
        EXPECT_EQ(manager.txtMeaning.Text(), "Small meaning");
        EXPECT_EQ(manager.txtAnnotation.Text(), "note");
    });

    editor.cmdDxModify.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, ModifyingLeavesOnlyAnnotationAndSchemeOpen) {
    ListThreeEntries();
    editor.lstFinding.Select(0);
    WhileManagerIsOpen([this] {
        EXPECT_TRUE(manager.txtCode.Locked() && manager.txtCode.ButtonFace());
        EXPECT_TRUE(manager.txtMeaning.Locked() && manager.txtMeaning.ButtonFace());
        EXPECT_FALSE(manager.txtAnnotation.Locked() || manager.txtAnnotation.ButtonFace());
        EXPECT_FALSE(manager.txtCodeScheme.Locked() || manager.txtCodeScheme.ButtonFace());
    });

    editor.cmdFnModify.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, ModifyingDisablesTheSearchAddAndClear) {
    ListThreeEntries();
    editor.lstDiagnosis.Select(0);
    WhileManagerIsOpen([this] {
        for (const Control* control : manager.Controls()) {
            const bool off =
                control == &manager.frmSelect || control == &manager.cmdAdd || control == &manager.cmdClear;
            EXPECT_EQ(control->Enabled(), !off) << control->Name();
        }
    });

    editor.cmdDxModify.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, ModifyingChangesTheAnnotationInPlace) {
    ListThreeEntries();
    editor.lstFinding.Select(1);
    WhileManagerIsOpen([this] {
        manager.txtAnnotation.Typed("changed");
        manager.cmdModify.Press();
    });

    editor.cmdFnModify.Press();

    EXPECT_EQ(RowsOf(editor.lstFinding), (Texts{"A|SRT|Meaning|note", "B|SRT|Meaning|changed", "C|SRT|Meaning|note"}));
    EXPECT_EQ(RowsOf(editor.lstDiagnosis)[1], "B|SRT|Meaning|note");
}

TEST_F(CodedEntriesTest, ModifyingWithNothingSelectedDoesNothing) {
    ListThreeEntries();

    editor.cmdFnModify.Press();
    editor.cmdDxModify.Press();

    EXPECT_TRUE(windows.calls.empty());
    EXPECT_TRUE(windows.messages.empty());
}

TEST_F(CodedEntriesTest, NothingOfAnOpeningIsLeftForTheNext) {
    ListThreeEntries();
    editor.lstFinding.Select(0);
    editor.cmdFnModify.Press();
    WhileManagerIsOpen([this] {
        EXPECT_TRUE(manager.frmSelect.Enabled());
        EXPECT_TRUE(manager.cmdAdd.Enabled() && manager.cmdClear.Enabled());
        EXPECT_FALSE(manager.txtCode.Locked() || manager.txtCode.ButtonFace());
        EXPECT_EQ(manager.txtCode.Text() + manager.txtCodeScheme.Text() + manager.txtAnnotation.Text(), "");
    });

    editor.cmdFnAdd.Press();

    EXPECT_EQ(openings, 2);
}

TEST_F(CodedEntriesTest, TheHeadingButtonMaintainsTheHeadings) {
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Report heading code");
        EXPECT_EQ(manager.TableKey, "Ti");
        EXPECT_TRUE(manager.optManage(1).Value());
    });

    editor.cmdTitle.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, TheBodyPartButtonMaintainsTheBodyParts) {
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Body part code");
        EXPECT_EQ(manager.TableKey, "Bo");
        EXPECT_TRUE(manager.optManage(1).Value());
    });

    editor.cmdBaseBody.Press();

    EXPECT_EQ(openings, 1);
}

TEST_F(CodedEntriesTest, MaintenanceShowsNeitherModeOptionNorTheReportCodes) {
    WhileManagerIsOpen([this] {
        for (const Control* control : manager.Controls()) {
            const bool hidden = control == &manager.optManage(0) || control == &manager.optManage(1) ||
                                control == &manager.frmCodeReport;
            EXPECT_EQ(control->Visible(), !hidden) << control->Name();
        }
    });

    editor.cmdTitle.Press();
    editor.cmdBaseBody.Press();

    EXPECT_EQ(openings, 2);
}

TEST_F(CodedEntriesTest, MaintenanceDisablesBothModesAndModify) {
    WhileManagerIsOpen([this] {
        for (const Control* control : manager.Controls()) {
            const bool off =
                control == &manager.optManage(0) || control == &manager.optManage(1) || control == &manager.cmdModify;
            EXPECT_EQ(control->Enabled(), !off) << control->Name();
        }
    });

    editor.cmdTitle.Press();
    editor.cmdBaseBody.Press();

    EXPECT_EQ(openings, 2);
}

TEST_F(CodedEntriesTest, MaintenanceSearchesAndChangesItsTable) {
    WhileManagerIsOpen([this] {
        manager.optManageCodes(0).Press();
        FillNewCode("B1", "", "Left knee");
        manager.cmdDone.Press();
        Search("knee");
        EXPECT_EQ(Listed(), Texts{"B1|99SS|LEFT KNEE|"});
    });

    editor.cmdBaseBody.Press();

    EXPECT_EQ(Stored("StdBodyPart"), Texts{"B1|99SS|Left knee"});
}

TEST_F(CodedEntriesTest, TheSpareTitleRoutineWorksOnTheBodyParts) {
    WhileManagerIsOpen([this] {
        EXPECT_EQ(manager.Titolo.Text(), "Report titles code");
        EXPECT_EQ(manager.TableKey, "Bo");
        EXPECT_TRUE(manager.optManage(1).Value() && manager.frmCode.Visible());
        EXPECT_TRUE(manager.optManage(0).Enabled() && manager.optManage(0).Visible());
        EXPECT_TRUE(manager.optManage(1).Enabled() && manager.optManage(1).Visible());
        EXPECT_FALSE(manager.cmdModify.Enabled());
    });

    entries.ManageReportTitles();

    EXPECT_EQ(openings, 1);
}

struct Opening {
    std::string_view name;
    void (CodedEntries::*handler)();
    std::string_view label;
    int mode;

    friend void PrintTo(const Opening& opening, std::ostream* out) { *out << opening.name; }
};

class OpeningTest : public CodedEntriesTest, public testing::WithParamInterface<Opening> {
protected:
    OpeningTest() {
        ListThreeEntries();
        editor.lstFinding.Select(0);
        editor.lstDiagnosis.Select(0);
    }

    void OpenManager() { (entries.*GetParam().handler)(); }
};

TEST_P(OpeningTest, LoadsTheManagerAndShowsItModally) {
    OpenManager();

    EXPECT_EQ(windows.calls, (Texts{"MakeTopMost frmBase", "ShowModal frmBase", "Unload frmBase"}));
}

TEST_P(OpeningTest, BringsAManagerThatIsStillLoadedToItsMode) {
    const int mode = GetParam().mode;
    manager.Load();
    manager.optManage(1 - mode).Value(true);

    OpenManager();

    EXPECT_TRUE(manager.optManage(mode).Value());
    EXPECT_EQ(manager.frmCodeReport.Visible(), mode == ReportCodes);
    EXPECT_EQ(manager.frmCode.Visible(), mode == StandardCodes);
}

TEST_P(OpeningTest, IsReportedWhenTheWindowCannotBeShown) {
    windows.onModal = [](Form&) { throw Error(7, "windows", "no screen"); };

    OpenManager();

    EXPECT_EQ(windows.Texts(), Texts{std::string(GetParam().label) + "7-no screen"});
}

INSTANTIATE_TEST_SUITE_P(
    Handlers, OpeningTest,
    testing::Values(Opening{"AddFinding", &CodedEntries::cmdFnAdd_Click, "cmdFnAdd: ", 0},
                    Opening{"AddDiagnosis", &CodedEntries::cmdDxAdd_Click, "cmdDxAdd: ", 0},
                    Opening{"ModifyFinding", &CodedEntries::cmdFnModify_Click, "cmdFnModify: ", 0},
                    Opening{"ModifyDiagnosis", &CodedEntries::cmdDxModify_Click, "cmdDxModify: ", 0},
                    Opening{"Headings", &CodedEntries::cmdTitle_Click, "cmdTitle: ", 1},
                    Opening{"BodyParts", &CodedEntries::cmdBaseBody_Click, "cmdBaseBody: ", 1},
                    Opening{"SpareTitleRoutine", &CodedEntries::ManageReportTitles, "ManageReportTitles: ", 1}),
    testing::PrintToStringParamName());

class OpeningOrderTest : public CodedEntriesTest {
protected:
    /// The manager, in the mode that the button does not want, is still loaded.
    Texts ChangedBy(Button& button, Mode former) {
        Open(former);
        Texts changed;
        for (Control* control : manager.Controls())
            control->Watch([&changed, control](Change) { changed.push_back(control->Name()); });
        button.Press();
        return changed;
    }
};

TEST_F(OpeningOrderTest, AddingSetsHeadingThenModeThenModify) {
    EXPECT_EQ(ChangedBy(editor.cmdFnAdd, StandardCodes),
              (Texts{"Titolo", "optManage_0", "optManage_1", "frmCodeReport", "frmCode", "cmdModify"}));
}

TEST_F(OpeningOrderTest, ModifyingSetsHeadingThenModeThenTheRowThenLocksTheRest) {
    ListThreeEntries();
    editor.lstFinding.Select(0);

    EXPECT_EQ(ChangedBy(editor.cmdFnModify, StandardCodes),
              (Texts{"Titolo", "optManage_0", "optManage_1", "frmCodeReport", "frmCode", "txtCode", "txtCodeScheme",
                     "txtMeaning", "txtAnnotation", "frmSelect", "txtCode", "txtCode", "txtMeaning", "txtMeaning",
                     "cmdAdd", "cmdClear"}));
}

TEST_F(OpeningOrderTest, MaintenanceSetsItsModeThenDisablesThenHidesTheModes) {
    EXPECT_EQ(ChangedBy(editor.cmdTitle, ReportCodes),
              (Texts{"Titolo", "optManage_0", "optManage_1", "frmCodeReport", "frmCode", "optManage_1", "optManage_0",
                     "optManage_0", "optManage_1", "cmdModify"}));
}

/// Remembers over which window a modal one was shown.
class OwnerNote : public FakeWindows {
public:
    const Form* owner = nullptr;
    void ShowModal(Form& form, Form* over) override {
        owner = over;
        Unload(form);
    }
};

TEST_F(CodedEntriesTest, TheManagerIsOwnedByTheEditor) {
    OwnerNote noted;
    const Ports& ports = global.ports;
    Global other(Ports{ports.dicom, ports.database, noted, ports.files, ports.process, ports.newUserInformation,
                       ports.clock, ports.letters});
    frmBase otherManager(other);
    CodedEntries otherEntries(
        other, otherManager, editor, [&]() -> DcmSRDocument& { return CurrentDocument(other); },
        {editor.lstFinding, editor.cmdFnAdd, editor.cmdFnModify, editor.cmdFnDelete},
        {editor.lstDiagnosis, editor.cmdDxAdd, editor.cmdDxModify, editor.cmdDxDelete}, editor.cmdTitle,
        editor.cmdBaseBody);

    editor.cmdTitle.Press();

    EXPECT_EQ(noted.owner, &editor);
}

} // namespace
} // namespace tavrel::test
