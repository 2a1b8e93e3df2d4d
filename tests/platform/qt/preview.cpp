#include "platform/qt/FormWindow.h"
#include "platform/qt/Look.h"
#include "platform/text.h"
#include "platform/word_check.h"
#include "tests/editor/ReportingStation.h"
#include "tests/platform/qt/Screens.h"

#include <QApplication>
#include <QDir>
#include <QTest>

#include <iostream>

// Pictures of every window with something in it, light and dark, for whoever changes a layout:
//     tavrel_preview FOLDER

namespace {

using namespace tavrel;
using namespace tavrel::test;

constexpr auto Reading =
    "Technique: volumetric acquisition before and after intravenous contrast medium, 1.25 mm slices.\r\n\r\n"
    "No focal parenchymal lesions in either lung. A calcified nodule of 4 mm in the right upper lobe is unchanged "
    "against the examination of 12/03/2025. Trachea and main bronchi are patent.\r\n\r\n"
    "No pleural effusion. Mediastinal lymph nodes within normal limits, the largest 8 mm in the short axis at "
    "station 4R. The heart is of normal size, no pericardial effusion. Regular calibre of the thoracic aorta with "
    "slight calcifications of the arch.\r\n\r\n"
    "Conclusion: no sign of recent disease. Granuloma of the right upper lobe, stable.";

struct LearnedWords : WordCheck {
    std::vector<TextMark> Unknown(std::string_view paragraph) override {
        std::vector<TextMark> unknown;
        for (const std::string_view word : {"leisons", "nodul "})
            if (const auto at = paragraph.find(word); at != std::string_view::npos)
                unknown.push_back({at, Trimmed(word).size()});
        return unknown;
    }
    void Suggest(std::string_view, std::function<void(std::vector<std::string>)>) override {}
    void Learn(std::string_view) override {}
};

/// A workstation on which a day's work is being done.
class Preview : public ReportingStation {
public:
    explicit Preview(QString prefix) : prefix_(std::move(prefix)) {
        AddCode("StdTitles", "99SS", "T1", "CT Report");
        AddCode("StdFinding", "SRT", "M-55400", "Calcification");
        AddCode("StdFinding", "SRT", "M-55410", "Calcified granuloma");
        AddCode("StdFinding", "SRT", "M-55450", "Calcified lymph node");
        OpenReport({.patientName = "ROSSINI^ANNA MARIA",
                    .title = "Chest CT, follow-up of pulmonary nodule",
                    .reading = Reading,
                    .observer = "Dr. Elena Marchetti",
                    .versions = 3});
        editor.cmbBodyPart.Text("Chest");
        editor.lstFinding.Add({"M-55400", "SRT", {"Calcification", "4 mm, unchanged"}});
        editor.lstFinding.Add({"M-44000", "SRT", {"Granuloma", ""}});
        editor.lstDiagnosis.Add({"D2-61000", "SRT", {"Granulomatous disease of lung", "stable since 2025"}});
        editor.lstFinding.Select(0);
    }

    void TakeAll() {
        Picture(editor, "report", {1280, 800});
        Picture(editor, "report-smallest", {1, 1});
        Picture(editor, "report-beside", {720, 770});
        Picture(editor, "report-beside-tall", {960, 1050});
        TakeLongNames();
        Picture(editor, "report-large", {1920, 1080});
        Picture(editor, "report-largest", {3840, 2160});
        TakeKeys();
        TakeUnwritable();
        TakeCodes();
        TakeWriting();
        editor.lstHistory.ListIndex(0);
        Picture(editor, "report-older", {1280, 800});
        TakeApproved();
        TakeCoded();
    }

private:
    /// All of a patient that is long, where there is little room.
    void TakeLongNames() {
        const std::string name = editor.txtPtName.Text(), id = editor.txtPtPatientID.Text();
        editor.txtPtName.Text("ROSSINI-BERGAMASCHI^ANNA MARIA LUISA");
        editor.txtPtPatientID.Text(std::string(32, '8') + std::string(32, 'M'));
        Picture(editor, "report-long-name", {1280, 800});
        Picture(editor, "report-long-name-beside", {720, 763});
        editor.txtPtName.Text(name);
        editor.txtPtPatientID.Text(id);
    }
    /// The finding bar with a word that is there and one that is not, and the patient under the keyboard.
    void TakeKeys() {
        const auto find = [](const QString& words) {
            return [words](QWidget& window) {
                QTest::keyClick(window.windowHandle(), Qt::Key_F, Qt::ControlModifier);
                QTest::keyClicks(QApplication::focusWidget(), words);
            };
        };
        Picture(editor, "report-find", {1280, 800}, find("pleural"));
        Picture(editor, "report-find-large", {1920, 1080}, find("pleural"));
        Picture(editor, "report-find-nothing", {1280, 800}, find("fracture"));
        Picture(editor, "report-patient-focused", {1280, 800},
                [](QWidget& window) { QTest::keyClick(window.windowHandle(), Qt::Key_1, Qt::AltModifier); });
    }
    void TakeUnwritable() {
        editor.cmbReportTitle.Revise("CT Report α");
        editor.txtReportTitle.Revise("Chest CT, nodule ≥ 4 mm");
        editor.txtReportAnnotation.Revise("Nodule ≥ 4 mm, 3→4 mm since March, 山.\r\n" + std::string(Reading) +
                                          std::string(270, '.'));
        Picture(editor, "report-unwritable", {1280, 800});
        Picture(editor, "report-unwritable-beside", {720, 763});
        Picture(editor, "report-unwritable-large", {1920, 1080});
        editor.txtReportAnnotation.Revise(std::string(Reading) + " " + Reading);
        editor.txtReportTitle.Revise("Chest CT, nodule of 4 mm");
        editor.cmbReportTitle.Revise("CT Report");
        Picture(editor, "report-too-long", {1280, 800});
        editor.txtReportAnnotation.Revise(Reading);
    }
    void TakeCodes() {
        editor.cmdFnAdd.Press();
        codeTables.txtFind.Typed("CALC");
        codeTables.txtFind.KeyUp();
        codeTables.lstTable.Select(1);
        Picture(codeTables, "codes");
        codeTables.cmdClose.Press();
        editor.cmdFnModify.Press();
        Picture(codeTables, "codes-modify");
        codeTables.cmdClose.Press();
        editor.cmdTitle.Press();
        Picture(codeTables, "codes-maintain");
        codeTables.cmdClose.Press();
    }
    /// Of a site that has set what helps in writing.
    void TakeWriting() {
        Insert("TextBlock", {{"Kind", "template"},
                             {"Name", "CT Report"},
                             {"Body", "Lungs: ___\nHeart: ___, no pericardial effusion.\n\nConclusion: ___"}});
        editor.Form_Load();
        editor.txtReportAnnotation.Typed("");
        editor.cmbReportTitle.Typed("CT");
        editor.cmbReportTitle.Typed("CT Report");
        Picture(editor, "report-template", {1280, 800});
        Picture(editor, "report-template-large", {1920, 1080});
        LearnedWords words;
        editor.txtReportAnnotation.Typed("No focal parenchymal leisons in either lung.\r\nCalcified nodul of 4 mm.");
        editor.txtReportAnnotation.Words(&words);
        Picture(editor, "report-spelling", {1280, 800});
        editor.txtReportAnnotation.Words(nullptr);
        StoreInto("report1");
        std::string later(Reading);
        later.replace(later.find("4 mm"), 4, "6 mm").replace(later.find("stable"), 6, "larger than before");
        editor.txtReportAnnotation.Typed(later);
        editor.cmdSave.Press();
        windows.onModal = [&](Form& form) {
            Picture(form, "compare", {820, 600});
            Picture(form, "compare-large", {1920, 1000});
            form.FrameClosed();
        };
        editor.cmdCompare.Press();
        windows.onModal = {};
    }
    void TakeApproved() {
        OpenReport({.seriesUid = "1.2.3.2.2",
                    .seriesDir = "report2",
                    .patientName = "ROSSINI^ANNA MARIA",
                    .title = "Chest CT, second opinion",
                    .reading = Reading,
                    .observer = "Dr. Giulio Ferrante",
                    .approved = true});
        Picture(editor, "report-approved", {1280, 800});
        chooser.ShowSRDocuments("1.2.3");
        Picture(chooser, "chooser");
    }
    /// Of a site whose reports hold the codes.
    void TakeCoded() {
        Execute("UPDATE SiteData SET ReportForm='interchange'");
        AddCode("StdBodyPart", "SRT", "T-D3000", "Chest");
        StoreInto("report1");
        automation.LoadSRSeries("1.2.3.2.1");
        editor.cmbBodyPart.Typed("Chest");
        editor.lstFinding.Add({"M-55400", "SRT", {"Calcification", "4 mm, unchanged"}});
        editor.lstFinding.Add({"M-44000", "SRT", {"山田 Гранулёма", "ללא שינוי"}});
        Picture(editor, "report-coded-unsaved", {1280, 800});
        editor.cmdSave.Press();
        Picture(editor, "report-coded", {1280, 800});
        Picture(editor, "report-coded-large", {1920, 1080});
        editor.lstHistory.ListIndex(0);
        Picture(editor, "report-coded-older", {1280, 800});
    }
    void Picture(Form& form, const QString& name, QSize size = {}, const std::function<void(QWidget&)>& act = {}) {
        FormWindow window(form, DesignedLayouts().at(form.Name()));
        if (!size.isEmpty())
            window.resize(size);
        window.show();
        if (act) {
            window.activateWindow();
            if (!QTest::qWaitForWindowActive(&window))
                throw std::runtime_error("no window is active");
            act(window);
        }
        QTest::qWait(400); // also what is judged once the typing pauses
        if (!window.grab().save(prefix_ + name + ".png"))
            throw std::runtime_error("cannot write " + (prefix_ + name).toStdString());
        window.Dismiss();
    }

    QString prefix_;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "tavrel_preview FOLDER\n";
        return 2;
    }
    const Screens screen{{"DP-1", 0, 0, 3840, 2160}}; // room for the largest picture
    QApplication application(argc, argv);
    const QString folder = QString::fromLocal8Bit(argv[1]) + '/';
    QDir().mkpath(folder);
    for (const auto& [scheme, name] : {std::pair(Scheme::Light, "light-"), std::pair(Scheme::Dark, "dark-")}) {
        Dress(scheme);
        Preview(folder + name).TakeAll();
    }
    return 0;
}
