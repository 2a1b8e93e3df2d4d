#include "suite/lumaret/MainWindow.h"
#include "platform/qt/PdfFile.h"
#include "platform/qt/PrintPreview.h"
#include "platform/qt/Scrolled.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/platform/dcmtk/RawDicom.h"
#include "tests/suite/lumaret/CatalogueRows.h"
#include "tests/suite/lumaret/FakeTavrel.h"
#include "tests/suite/lumaret/SampleImage.h"
#include "tests/suite/lumaret/SampleReport.h"
#include "tests/support/Shell.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include <gtest/gtest.h>

#include <fstream>

namespace tavrel::test {
namespace {

/// The viewer's window with one study: two slices, a file of three frames, and a report.
class MainWindowTest : public testing::Test {
protected:
    MainWindowTest() {
        QDir(folder.path()).mkpath("SER1");
        QDir(folder.path()).mkpath("SER2");
        WriteImage(folder.filePath("SER1/1.dcm"), {.instance = 1});
        WriteImage(folder.filePath("SER1/2.dcm"), {.instance = 2});
        WriteImage(folder.filePath("SER2/3.dcm"), {.frames = 3});
        rows.AddPatient("P1", "ROSSI^MARIA");
        rows.AddStudy("1.2.3", "P1", "20261114", folder.path().replace('/', '\\'), "Chest");
        rows.AddSeries("1.2.3.1", "1.2.3", "CT", 1, "SER1");
        rows.AddSeries("1.2.3.2", "1.2.3", "CT", 2, "SER2");
        rows.AddSeries("1.2.3.3", "1.2.3", "SR", 3, "REP");
        rows.AddImage("1.2.3.1", "1.dcm", 1);
        rows.AddImage("1.2.3.1", "2.dcm", 2);
        rows.AddImage("1.2.3.2", "3.dcm", 1);
        window.show();
        window.Start();
        Settle();
    }

    /// As a person does who looks at the window before going on.
    void Settle() const {
        if (!WaitUntil([this] { return catalogue.Idle(); }))
            throw std::runtime_error("the catalogue has not answered");
    }
    template <typename Widget> Widget& Named(const QString& accessibleName) const {
        Settle();
        for (auto* widget : window.findChildren<Widget*>())
            if (widget->accessibleName() == accessibleName)
                return *widget;
        throw std::runtime_error("there is no " + accessibleName.toStdString());
    }
    QAction& Action(const QString& caption) const {
        Settle();
        for (auto* action : window.findChildren<QAction*>())
            if (action->text() == caption)
                return *action;
        throw std::runtime_error("there is no " + caption.toStdString());
    }
    QString Message() const { return Named<QLineEdit>("Message").text(); }
    ImageView& Image() const { return Named<ImageView>("Image"); }
    QString File() const { return Image().Path().section('/', -1); }
    QTableWidget& Series() const { return Named<QTableWidget>("Series"); }
    QListWidget& ReportImages() const { return Named<QListWidget>("Report images"); }
    void OpenReport() {
        Action("Report").trigger();
        ASSERT_TRUE(WaitUntil([&] { return client.Open() && !client.Opening(); }));
    }
    /// Shows the image of another patient, whose study is the newer one.
    void ChooseAnotherPatient() {
        QDir(folder.path()).mkpath("SER9");
        WriteImage(folder.filePath("SER9/9.dcm"),
                   {.studyUid = "1.2.4", .patientName = "VERDI^ANNA", .patientId = "P2"});
        rows.AddPatient("P2", "VERDI^ANNA");
        rows.AddStudy("1.2.4", "P2", "20261115", folder.path().replace('/', '\\'));
        rows.AddSeries("1.2.4.1", "1.2.4", "CT", 1, "SER9");
        rows.AddImage("1.2.4.1", "9.dcm", 1);
        window.Start();
        Named<QTableWidget>("Studies").selectRow(0);
    }
    /// Chooses the report, which has an older and a newer version.
    void ChooseReport() {
        AddVersion("1", {.title = "Older", .date = "20261114"});
        AddVersion("2", {.title = "Newer", .date = "20261115"});
        Series().selectRow(2);
    }
    void AddVersion(const QString& name, const SampleReport& report) {
        QDir(folder.path()).mkpath("REP");
        WriteReport(folder.filePath("REP/" + name + ".dcm"), report);
        rows.AddImage("1.2.3.3", name + ".dcm", 1);
    }
    QTextBrowser& ReportText() const { return Named<QTextBrowser>("Report text"); }
    QComboBox& Version() const {
        Settle();
        return *window.findChild<ReportPane*>()->findChild<QComboBox*>();
    }
    QString Shown() const { return ReportText().toPlainText(); }
    /// The question on the screen, or none.
    QMessageBox* Question() const {
        Settle();
        for (auto* box : window.findChildren<QMessageBox*>())
            if (box->isVisible())
                return box;
        return nullptr;
    }
    void AskForAnotherPatientsReport() {
        OpenReport();
        ChooseAnotherPatient();
        Action("Report").trigger();
        if (!Question())
            throw std::runtime_error("nothing was asked");
    }

    PrivateBus bus;
    QTemporaryDir folder;
    CatalogueRows rows{OwnSqliteEntry()};
    CatalogueQuestions catalogue{std::make_shared<OdbcDatabase>()};
    FakeTavrel tavrel{bus.Connect()};
    TavrelClient client{bus.Connect()};
    ViewerService service;
    MainWindow window{catalogue, client, service};
};

TEST_F(MainWindowTest, SaysOnceThatTheCatalogueIsOfLaterPrograms) {
    rows.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (99, 1)");
    window.Start();
    EXPECT_EQ(Message(), "The programs of this workstation are older than the catalogue: what is new there may not be "
                         "shown. Please have them updated.");
    rows.Run("DELETE FROM CatalogueVersion WHERE Version=99");
}

TEST_F(MainWindowTest, SaysWhatBecomesOfReportsWhereOnlyLaterProgramsStore) {
    rows.Run("INSERT INTO CatalogueVersion (Version, OldestWriter) VALUES (99, 99)");
    window.Start();
    EXPECT_TRUE(Message().endsWith("Reports that are saved here are kept until then.")) << Message().toStdString();
    rows.Run("DELETE FROM CatalogueVersion WHERE Version=99");
}

TEST_F(MainWindowTest, ShowsAnOlderCatalogueWithoutAWord) {
    rows.Run("DROP TABLE CatalogueVersion");
    window.Start();
    EXPECT_EQ(Message(), "One study.");
}

TEST_F(MainWindowTest, TheOnlyStudyIsOpenedAtItsFirstSlice) {
    EXPECT_EQ(Message(), "One study.");
    EXPECT_EQ(Series().rowCount(), 3);
    EXPECT_EQ(Series().item(2, 1)->text(), "Report");
    EXPECT_EQ(File(), "1.dcm");
}

TEST_F(MainWindowTest, AChosenStudyHasTheReportProgramStartedAhead) {
    tavrel.Die();
    const QString trace = bus.Folder() + "/started";
    bus.AddService(TavrelFactory.service, "/usr/bin/touch " + trace);
    ChooseAnotherPatient();
    EXPECT_TRUE(WaitUntil([&] { return QFile::exists(trace); }));
}

TEST_F(MainWindowTest, KeysTurnSlicesAndStopAtTheEnds) {
    const auto press = [&](Qt::Key key) {
        QTest::keyClick(&Image(), key);
        return File();
    };
    EXPECT_EQ(press(Qt::Key_Up), "1.dcm");
    EXPECT_EQ(press(Qt::Key_Down), "2.dcm");
    EXPECT_EQ(press(Qt::Key_Down), "2.dcm");
    EXPECT_EQ(press(Qt::Key_Home), "1.dcm");
    EXPECT_EQ(press(Qt::Key_PageDown), "2.dcm");
}

TEST_F(MainWindowTest, TheFramesOfAFileAreSlices) {
    Series().selectRow(1);
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(Image().View().frame, 1);
    QTest::keyClick(&Image(), Qt::Key_End);
    EXPECT_EQ(Image().View().frame, 2);
    QTest::keyClick(&Image(), Qt::Key_Home);
    EXPECT_EQ(Image().View().frame, 0);
}

TEST_F(MainWindowTest, FramesAndFilesFollowOneAnother) {
    rows.AddSeries("1.2.3.4", "1.2.3", "CT", 4, ".");
    for (const char* file : {"SER2/3.dcm", "SER1/1.dcm"})
        rows.AddImage("1.2.3.4", file, file[3] - '0');
    window.ReportStored(); // reads the series again
    Series().selectRow(3);
    EXPECT_EQ(File(), "1.dcm");
    for (int step = 0; step < 3; ++step)
        QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(Image().View().frame, 2);
    QTest::keyClick(&Image(), Qt::Key_Home);
    QTest::keyClick(&Image(), Qt::Key_Home);
    EXPECT_EQ(File(), "1.dcm");
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(Image().View().frame, 0);
}

TEST_F(MainWindowTest, SingleLettersActOnTheImageOnly) {
    auto& name = *window.findChildren<QLineEdit*>().first();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    for (QWidget* typedInto : {static_cast<QWidget*>(&name), static_cast<QWidget*>(&Series())}) {
        typedInto->setFocus();
        QTest::keyClicks(typedInto, "hvlris");
        EXPECT_FALSE(Image().View().flipHorizontal);
        EXPECT_EQ(Image().View().rotation, 0);
    }
    EXPECT_EQ(name.text(), "hvlris");
    Image().setFocus();
    QTest::keyClicks(&Image(), "hr");
    EXPECT_TRUE(Image().View().flipHorizontal);
    EXPECT_EQ(Image().View().rotation, 90);
}

TEST_F(MainWindowTest, ReportOpensTheReportOfTheSeriesOnScreen) {
    Series().selectRow(2); // the report's row: the slices are still on screen
    OpenReport();
    EXPECT_EQ(tavrel.last.member(), "LoadForImgSeries");
    EXPECT_EQ(tavrel.last.arguments().value(0).toStringList(),
              (QStringList{folder.filePath("SER1/1.dcm"), folder.filePath("SER1/2.dcm")}));
}

TEST_F(MainWindowTest, AReportInTheListOpensByItself) {
    Series().selectRow(2);
    emit Series().itemActivated(Series().item(2, 0));
    ASSERT_TRUE(WaitUntil([&] { return client.Open(); }));
    EXPECT_EQ(tavrel.last.member(), "LoadSRSeries");
    EXPECT_EQ(tavrel.last.arguments().value(0), "1.2.3.3");
}

TEST_F(MainWindowTest, AnotherStudyNeverKeepsTheFormerOnesImages) {
    rows.AddStudy("1.2.4", "P1", "20261115");
    rows.AddSeries("1.2.4.1", "1.2.4", "SR");
    Named<QTableWidget>("Studies");
    window.Start();
    Named<QTableWidget>("Studies").selectRow(1);
    EXPECT_TRUE(Image().HasImage());
    Named<QTableWidget>("Studies").selectRow(0);
    EXPECT_FALSE(Image().HasImage());
    EXPECT_FALSE(Action("Report").isEnabled());
}

TEST_F(MainWindowTest, AChosenReportIsShownBesideTheImages) {
    EXPECT_FALSE(ReportText().isVisible());
    ChooseReport();
    EXPECT_TRUE(ReportText().isVisible());
    EXPECT_TRUE(Shown().contains("Newer")) << Shown().toStdString();
    EXPECT_TRUE(ReportText().isReadOnly());
    EXPECT_TRUE(Image().isVisible() && Image().HasImage());
}

TEST_F(MainWindowTest, EveryVersionOfAReportCanBeShown) {
    ChooseReport();
    EXPECT_EQ(Version().itemText(0), "15/11/2026 10:15:00  (2 of 2)");
    EXPECT_EQ(Version().itemText(1), "14/11/2026 10:15:00  (1 of 2)");
    Version().setCurrentIndex(1);
    EXPECT_TRUE(Shown().contains("Older")) << Shown().toStdString();
}

TEST_F(MainWindowTest, AStoredVersionTakesTheNewestsPlaceAndNoOlderOnes) {
    ChooseReport();
    AddVersion("3", {.title = "Newest", .date = "20261116"});
    window.ReportStored();
    EXPECT_TRUE(Shown().contains("Newest")) << Shown().toStdString();
    Version().setCurrentIndex(2);
    AddVersion("4", {.title = "Last", .date = "20261117"});
    window.ReportStored();
    EXPECT_TRUE(Shown().contains("Older")) << Shown().toStdString();
    EXPECT_EQ(Version().count(), 4);
    EXPECT_EQ(Version().currentIndex(), 3);
}

TEST_F(MainWindowTest, AReportOfAnyKindIsShownAndOnlyOursIsOpened) {
    rows.AddSeries("1.2.3.4", "1.2.3", "SR-OTHER", 4, "REP");
    rows.AddImage("1.2.3.4", "other.dcm", 1);
    AddVersion("other", {.comprehensive = true});
    window.ReportStored();
    Series().selectRow(3);
    EXPECT_EQ(Series().item(3, 1)->text(), "Other report");
    EXPECT_TRUE(Shown().contains("Diameter")) << Shown().toStdString();
    emit Series().itemActivated(Series().item(3, 0));
    Idle();
    EXPECT_TRUE(tavrel.calls.empty());
    EXPECT_TRUE(Image().HasImage());
}

TEST_F(MainWindowTest, PresentationStatesAreNotOfferedAsImages) {
    rows.AddSeries("1.2.3.0", "1.2.3", "PR", 0, "VIEWS");
    rows.AddImage("1.2.3.0", "state.dcm", 1);
    window.Start();
    EXPECT_EQ(Series().item(0, 1)->text(), "Image views");
    EXPECT_EQ(File(), "1.dcm");
    Series().selectRow(0);
    EXPECT_TRUE(Message().startsWith("This series holds views of the report's images")) << Message().toStdString();
    emit Series().itemActivated(Series().item(0, 0));
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(File(), "2.dcm");
}

TEST_F(MainWindowTest, AReportThatCannotBeReadIsNamedInItsPlace) {
    ChooseReport();
    QFile::resize(folder.filePath("REP/2.dcm"), 300);
    Series().selectRow(0);
    Series().selectRow(2);
    Version().setCurrentIndex(Version().findText("2.dcm", Qt::MatchStartsWith));
    EXPECT_TRUE(Shown().startsWith("2.dcm cannot be shown: ")) << Shown().toStdString();
}

TEST_F(MainWindowTest, AVersionIsNotTakenForTheNewestWhileAnotherCannotBeRead) {
    ChooseReport();
    QFile::resize(folder.filePath("REP/2.dcm"), 300);
    Series().selectRow(0);
    Series().selectRow(2);
    EXPECT_EQ(Version().itemText(0), "14/11/2026 10:15:00  (1 of 1)");
    EXPECT_EQ(Version().itemText(1), "2.dcm  (cannot be read)");
    EXPECT_EQ(Named<QLabel>("Notice").text(), "There may be a newer version: 1 file of this report cannot be read.");
    EXPECT_TRUE(Named<QLabel>("Notice").isVisible());
}

TEST_F(MainWindowTest, AShownReportFetchesNothing) {
    ChooseReport();
    for (const char* place : {"file:///etc/hostname", "/etc/hostname", "http://localhost/"})
        EXPECT_TRUE(
            ReportText().document()->resource(QTextDocument::ImageResource, QUrl(place)).toByteArray().isEmpty());
    EXPECT_FALSE(ReportText().openLinks());
    EXPECT_FALSE(ReportText().textInteractionFlags().testFlag(Qt::LinksAccessibleByMouse));
}

TEST_F(MainWindowTest, AnotherStudyNeverKeepsTheFormerOnesReport) {
    ChooseReport();
    ChooseAnotherPatient();
    EXPECT_FALSE(ReportText().isVisible());
    EXPECT_EQ(Shown(), "");
}

/// Presses "Print..." and does `act` in the window that comes up. Answers its words.
QString Printed(const MainWindow& window, const std::function<void(QWidget&)>& act) {
    QString words;
    QTimer::singleShot(0, [&] {
        QWidget* shown = QApplication::activeModalWidget();
        for (const auto* label : shown->findChildren<QLabel*>())
            words += label->text();
        act(*shown);
        shown->close();
    });
    for (auto* button : window.findChild<ReportPane*>()->findChildren<QPushButton*>())
        if (button->text() == "&Print...")
            button->click();
    return words;
}

TEST_F(MainWindowTest, TheVersionOnScreenIsShownAsPages) {
    ChooseReport();
    Version().setCurrentIndex(1);
    const QString pdf = folder.filePath("page.pdf");
    EXPECT_EQ(Printed(window, [&](QWidget& preview) { SavePdf(dynamic_cast<PrintPreview&>(preview).Pages(), pdf); }),
              "Page 1 of 1");
    const auto text = RunShell("pdftotext -raw '" + pdf.toStdString() + "' -").out;
    EXPECT_NE(text.find("ROSSI, MARIA"), std::string::npos) << text;
    EXPECT_NE(text.find("NOT APPROVED\nTitle: Older\n"), std::string::npos) << text;
}

TEST_F(MainWindowTest, AVersionThatCannotBePrintedIsTold) {
    ChooseReport();
    Settle();
    QFile::remove(folder.filePath("REP/2.dcm"));
    EXPECT_TRUE(Printed(window, [](QWidget&) {}).contains("2.dcm"));
}

TEST_F(MainWindowTest, AHiddenReportComesBackWhenItIsActivated) {
    rows.AddSeries("1.2.3.4", "1.2.3", "KO", 4, "REP");
    window.ReportStored();
    Series().selectRow(3);
    EXPECT_TRUE(ReportText().isVisible());
    for (auto* button : window.findChild<ReportPane*>()->findChildren<QPushButton*>())
        button->click();
    EXPECT_FALSE(ReportText().isVisible());
    emit Series().itemActivated(Series().item(3, 0));
    EXPECT_TRUE(ReportText().isVisible());
    EXPECT_EQ(Shown(), "The catalogue names no file of this report.");
}

TEST_F(MainWindowTest, AMissingFileIsSaidAndTheSlicesGoOn) {
    QFile::remove(folder.filePath("SER1/1.dcm"));
    Series().selectRow(1);
    Series().selectRow(0);
    EXPECT_TRUE(Image().Failure().startsWith("1.dcm cannot be shown: "));
    EXPECT_FALSE(Action("Invert").isEnabled());
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_TRUE(Image().HasImage());
}

TEST_F(MainWindowTest, AFileMadeToHarmIsNamedAtTheStartAndTheSlicesGoOn) {
    RawDicom image;
    for (int depth = 0; depth < 100'000; ++depth)
        image.OpenSequence(attribute::ContentSequence);
    std::ofstream(folder.filePath("SER1/1.dcm").toStdString(), std::ios::binary) << image.File();
    window.Start();
    EXPECT_TRUE(Image().Failure().startsWith("1.dcm cannot be shown: "));
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_TRUE(Image().HasImage());
}

TEST_F(MainWindowTest, WordsWithoutEndAreCut) {
    emit client.Said(QString(10 << 20, 'x'));
    EXPECT_EQ(Message(), QString(2000, 'x') + "...");
}

TEST_F(MainWindowTest, AddedImagesAreListedUntilTheReportIsClosed) {
    EXPECT_FALSE(Action("Add to report").isEnabled());
    OpenReport();
    Action("Add to report").trigger();
    ASSERT_TRUE(WaitUntil([&] { return ReportImages().count() == 1; }));
    EXPECT_EQ(ReportImages().item(0)->text(), "1   1.dcm");
    tavrel.Die();
    ASSERT_TRUE(WaitUntil([&] { return ReportImages().count() == 0; }));
    EXPECT_EQ(Message(), "The report was closed.");
}

TEST_F(MainWindowTest, ClearReportImagesEmptiesBothLists) {
    OpenReport();
    Action("Add to report").trigger();
    ASSERT_TRUE(WaitUntil([&] { return ReportImages().count() == 1; }));
    Action("Clear report images").trigger();
    ASSERT_TRUE(WaitUntil([&] { return ReportImages().count() == 0; }));
    EXPECT_EQ(tavrel.calls.back(), "RemoveImagesFromSR");
}

TEST_F(MainWindowTest, TheTitleSaysWhoseReportIsOpen) {
    EXPECT_EQ(window.windowTitle(), "Lumaret");
    OpenReport();
    EXPECT_EQ(window.windowTitle(), "Lumaret - Report of ROSSI, MARIA (P1)");
    ChooseAnotherPatient();
    EXPECT_EQ(window.windowTitle(), "Lumaret - Report of ROSSI, MARIA (P1)");
    tavrel.Die();
    EXPECT_TRUE(WaitUntil([&] { return window.windowTitle() == "Lumaret"; }));
}

TEST_F(MainWindowTest, TheTitleNamesWhomTheStudysFilesNameThoughTheListHasAnother) {
    rows.Run("UPDATE Patient SET PatientName = 'NERI^LUCA'"); // who had the number first
    window.Start();
    OpenReport();
    EXPECT_TRUE(WaitUntil([&] { return window.windowTitle() == "Lumaret - Report of ROSSI, MARIA (P1)"; }));
    ChooseAnotherPatient();
    for (const int row : {1, 0})
        Named<QTableWidget>("Studies").selectRow(row);
    Action("Add to report").trigger();
    EXPECT_TRUE(Message().contains("the open report of ROSSI, MARIA (P1), ")) << Message().toStdString();
}

TEST_F(MainWindowTest, TheTitleNamesTheReportThatSomebodyElseOpened) {
    ChooseAnotherPatient();
    tavrel.TellStudy();
    tavrel.willOpen = "1.2.4";
    OpenReport();
    tavrel.openStudy = "1.2.3";
    EXPECT_TRUE(WaitUntil([&] { return window.windowTitle() == "Lumaret - Report of ROSSI, MARIA (P1)"; }));
    tavrel.openStudy = "1.2.99";
    EXPECT_TRUE(WaitUntil([&] { return window.windowTitle() == "Lumaret - Report of the study 1.2.99"; }));
}

TEST_F(MainWindowTest, AnotherPatientsReportIsAskedAboutByBothNames) {
    AskForAnotherPatientsReport();
    EXPECT_EQ(Question()->text(),
              "The open report is of ROSSI, MARIA (P1), study of 14/11/2026. What is typed in it and "
              "not saved stays as a draft; images added since its last save do not.\n\nClose it and open the report of "
              "VERDI, ANNA (P2), study of "
              "15/11/2026?");
    EXPECT_EQ(Question()->textFormat(), Qt::PlainText);
    EXPECT_EQ(Question()->defaultButton(), Question()->button(QMessageBox::Cancel));
}

TEST_F(MainWindowTest, AListedReportOfAnotherPatientIsAskedAboutToo) {
    rows.AddSeries("1.2.4.3", "1.2.4", "SR", 3, "REP");
    OpenReport();
    ChooseAnotherPatient();
    emit Series().itemActivated((Series().selectRow(1), Series().item(1, 0)));
    EXPECT_TRUE(Question());
}

TEST_F(MainWindowTest, CancelLeavesTheOpenReportAsItIs) {
    AskForAnotherPatientsReport();
    QTest::keyClick(Question(), Qt::Key_Escape);
    EXPECT_TRUE(WaitUntil([&] { return !Question(); }));
    Idle();
    EXPECT_EQ(tavrel.calls.back(), "LoadForImgSeries");
    EXPECT_EQ(window.windowTitle(), "Lumaret - Report of ROSSI, MARIA (P1)");
    EXPECT_TRUE(Action("Report").isEnabled());
}

TEST_F(MainWindowTest, CloseAndOpenClosesTheReportBeforeTheOtherOpens) {
    AskForAnotherPatientsReport();
    FakeTavrel next(bus.Connect());
    tavrel.onCloseReport = [&] {
        tavrel.Die();
        next.TakeName();
    };
    for (auto* button : Question()->buttons())
        if (button->text() == "Close and open")
            QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_TRUE(WaitUntil([&] { return window.windowTitle() == "Lumaret - Report of VERDI, ANNA (P2)"; }));
    EXPECT_EQ(tavrel.calls.back(), "CloseReport");
    EXPECT_EQ(next.last.arguments().value(0).toStringList(), QStringList{folder.filePath("SER9/9.dcm")});
}

TEST_F(MainWindowTest, TheQuestionGoesWithTheReportThatItIsAbout) {
    AskForAnotherPatientsReport();
    tavrel.Die();
    EXPECT_TRUE(WaitUntil([&] { return !Question(); }));
    EXPECT_EQ(Message(), "The report was closed.");
    EXPECT_TRUE(Action("Report").isEnabled());
}

TEST_F(MainWindowTest, TheStudyIsTheOneThatTheImagesThemselvesName) {
    OpenReport();
    ChooseAnotherPatient();
    WriteImage(folder.filePath("SER9/9.dcm")); // of the open report's study, whatever the catalogue says
    Action("Report").trigger();
    EXPECT_FALSE(Question());
}

TEST_F(MainWindowTest, AnImageOfAnotherPatientIsRefusedByBothNames) {
    OpenReport();
    ChooseAnotherPatient();
    Action("Add to report").trigger();
    EXPECT_EQ(Message(), "Not added: the image is of VERDI, ANNA (P2), the open report of ROSSI, MARIA (P1), study of "
                         "14/11/2026.");
    Idle();
    EXPECT_EQ(tavrel.calls.back(), "LoadForImgSeries");
}

TEST_F(MainWindowTest, AHandedImageOfAnotherPatientIsShownAndNotAdded) {
    OpenReport();
    ChooseAnotherPatient();
    Named<QTableWidget>("Studies").selectRow(1);
    emit service.ImageHanded({folder.filePath("SER9/9.dcm"), std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(File(), "9.dcm");
    Action("Add to report").trigger();
    EXPECT_TRUE(Message().startsWith("Not added: the image is of VERDI, ANNA (P2)"));
}

TEST_F(MainWindowTest, TheListKeepsNoImageOfAReportThatWasSwitched) {
    tavrel.TellStudy();
    tavrel.willOpen = "1.2.3";
    OpenReport();
    ChooseAnotherPatient();
    for (const char* file : {"SER1/1.dcm", "SER9/9.dcm"})
        emit service.ImageHanded({folder.filePath(file), nullptr, {}});
    tavrel.openStudy = "1.2.4";
    EXPECT_TRUE(WaitUntil([&] { return ReportImages().count() == 1; }));
    EXPECT_EQ(ReportImages().item(0)->text(), "1   9.dcm");
}

TEST_F(MainWindowTest, AHandedImageIsShownAndTheWheelLeadsBack) {
    const auto view = std::make_shared<ViewParameters>();
    view->rotation = 180;
    view->windowWidth = 77;
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), view, "Bone"});
    EXPECT_EQ(File(), "2.dcm");
    EXPECT_EQ(Image().View(), *view);
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(File(), "1.dcm");
    EXPECT_EQ(Image().View().rotation, 0);
    EXPECT_EQ(ReportImages().currentRow(), -1);
}

TEST_F(MainWindowTest, AnImageThatIsHandedWhileTheCatalogueIsAskedStaysOnTheScreen) {
    Series().selectRow(1);
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(File(), "2.dcm");
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(File(), "3.dcm"); // of the series that was chosen
    window.Start();
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), std::make_shared<ViewParameters>(), {}});
    EXPECT_EQ(File(), "2.dcm");
    Named<QTableWidget>("Studies").selectRow(0);
    EXPECT_EQ(File(), "1.dcm");
}

TEST_F(MainWindowTest, AListThatIsClearedLeavesTheImageOnScreen) {
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), std::make_shared<ViewParameters>(), {}});
    emit service.ListCleared();
    EXPECT_EQ(ReportImages().count(), 0);
    EXPECT_EQ(File(), "2.dcm");
    QTest::keyClick(&Image(), Qt::Key_Down);
    EXPECT_EQ(File(), "1.dcm");
}

TEST_F(MainWindowTest, AnImageIsHeardWithItsPatientAndWhichOneItIs) {
    const auto heard = [&] { return Image().accessibleDescription(); };
    EXPECT_TRUE(heard().startsWith("ROSSI, MARIA")) << heard().toStdString();
    EXPECT_TRUE(heard().contains(". Image 1 of 2. ")) << heard().toStdString();
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), std::make_shared<ViewParameters>(), {}});
    EXPECT_TRUE(heard().contains(". Image 1 of the report. ")) << heard().toStdString();
}

TEST_F(MainWindowTest, AnImageIsNoReportsAnyMoreWhoseReportWasClosed) {
    emit service.ImageHanded({folder.filePath("SER1/2.dcm"), std::make_shared<ViewParameters>(), {}});
    emit service.ListCleared();
    EXPECT_FALSE(Image().accessibleDescription().contains("of the report"));
    EXPECT_TRUE(Image().accessibleDescription().contains("ROSSI, MARIA"));
    QTest::keyClick(&Image(), Qt::Key_Down);
    emit service.ListCleared();
    EXPECT_TRUE(Image().accessibleDescription().contains(". Image 1 of 2. "));
}

TEST_F(MainWindowTest, AStoredReportComesIntoTheListAndTheImageStays) {
    Series().selectRow(1);
    QTest::keyClick(&Image(), Qt::Key_Down);
    rows.AddSeries("1.2.3.0", "1.2.3", "SR", 0);
    window.ReportStored();
    EXPECT_EQ(Series().rowCount(), 4);
    EXPECT_EQ(Series().currentRow(), 2);
    EXPECT_EQ(Image().View().frame, 1);
}

TEST_F(MainWindowTest, OnlyWhatIsStoredOfTheOpenReportIsSaidToBeSaved) {
    OpenReport();
    const QString before = Message();
    const auto stored = [&](const char* study) {
        const QString path = folder.filePath("stored.dcm");
        WriteReport(path, {.studyUid = study});
        QDBusMessage event;
        event.setArguments({"PORVANE", "PORVANE", "", "", "", path});
        window.ReportStored(event);
        return Message();
    };
    EXPECT_EQ(stored("1.2.4"), before); // kept as a file before, and stored now
    EXPECT_EQ(stored("1.2.3"), "The report was saved.");
}

TEST_F(MainWindowTest, HasPlaceBesideTheEditorOnASmallScreen) {
    EXPECT_LE(window.minimumSizeHint().width(), 540);
    window.resize(1152, 720);
    ChooseReport();
    EXPECT_GE(ReportText().mapTo(&window, QPoint()).x(), Image().mapTo(&window, QPoint()).x() + Image().width());
    window.resize(540, 720);
    EXPECT_LE(window.minimumSizeHint().width(), 540);
    EXPECT_EQ(window.width(), 540);
    EXPECT_GE(ReportText().mapTo(&window, QPoint()).y(), Image().mapTo(&window, QPoint()).y() + Image().height());
}

TEST_F(MainWindowTest, ALowWindowScrollsItsListsAndCrushesNone) {
    ChooseReport();
    window.resize(540, 480);
    Settle();
    EXPECT_EQ(window.height(), 480);
    const auto* panel = window.findChild<StudyPanel*>();
    const auto& bar = *window.findChild<Scrolled*>()->verticalScrollBar();
    EXPECT_TRUE(bar.isVisible());
    for (const QWidget* each : panel->findChildren<QWidget*>())
        EXPECT_TRUE(!each->isVisible() || qobject_cast<const QHeaderView*>(each) ||
                    each->height() >= each->minimumSizeHint().height())
            << each->metaObject()->className();
    window.resize(540, 720);
    EXPECT_TRUE(WaitUntil([&] { return !bar.isVisible(); }))
        << panel->parentWidget()->minimumSizeHint().height() << " of "
        << panel->parentWidget()->parentWidget()->height();
}

TEST_F(MainWindowTest, ANarrowWindowTellsWhichVersionItShowsFromItsFirstLine) {
    window.resize(540, 720);
    AddVersion("1", {.reading = std::string(3000, 'x').replace(1000, 1, " ").c_str()});
    Series().selectRow(2);
    const QComboBox& box = Version();
    QTest::qWait(50);
    EXPECT_GE(box.width(), box.fontMetrics().horizontalAdvance(box.currentText()));
    for (const auto* button : window.findChild<ReportPane*>()->findChildren<QPushButton*>())
        EXPECT_GE(button->width(), button->sizeHint().width()) << button->text().toStdString();
    EXPECT_EQ(ReportText().verticalScrollBar()->value(), 0);
}

TEST_F(MainWindowTest, TheListsGiveTheirPlaceToTheImageAndComeBack) {
    window.resize(560, 720);
    const int before = Image().width();
    Action("Lists").trigger();
    EXPECT_FALSE(Series().isVisible());
    EXPECT_TRUE(WaitUntil([&] { return Image().width() > before + 150; }));
    Action("Lists").trigger();
    EXPECT_TRUE(Series().isVisible());
    EXPECT_TRUE(WaitUntil([&] { return Image().width() == before; }));
}

TEST_F(MainWindowTest, NoColumnIsOutOfSight) {
    rows.AddPatient("HOSP-2026-00471", "GARCÍA LÓPEZ DE LA VEGA^JOSÉ MARÍA FERNANDO");
    rows.AddStudy("1.2.9", "HOSP-2026-00471", "20261115", "C:\\S", "CT Thorax und Abdomen mit Kontrastmittel");
    window.Start();
    for (const int width : {540, 1152, 1800}) {
        window.resize(width, 720);
        for (const char* name : {"Studies", "Series"}) {
            auto& table = Named<QTableWidget>(name);
            int widths = 0;
            for (int column = 0; column < table.columnCount(); ++column) {
                widths += table.columnWidth(column);
                EXPECT_GT(table.columnWidth(column), 20) << name << ' ' << column << " of " << width;
            }
            EXPECT_EQ(widths, table.viewport()->width()) << name << " of " << width;
        }
        auto& studies = Named<QTableWidget>("Studies");
        EXPECT_GE(studies.columnWidth(2), studies.fontMetrics().horizontalAdvance("15/11/2026")) << width;
    }
}

TEST_F(MainWindowTest, NoHeadingIsCutBesideTheEditorOnASmallScreen) {
    ChooseReport();
    Settle();
    for (const int width : {window.minimumSizeHint().width(), 535, 545, 1152}) {
        window.resize(width, 720);
        for (const char* name : {"Studies", "Series"}) {
            const QHeaderView& header = *Named<QTableWidget>(name).horizontalHeader();
            for (int column = 0; column < header.count(); ++column)
                EXPECT_GE(header.sectionSize(column), header.sectionSizeHint(column)) << name << column << ' ' << width;
        }
    }
}

TEST_F(MainWindowTest, EachToolIsInSightBesideTheEditorOnASmallScreen) {
    for (const int width : {1152, 535, 1152}) {
        window.resize(width, 720);
        QTest::qWait(20);
        for (const auto* bar : window.findChildren<QToolBar*>())
            for (QAction* action : bar->actions())
                if (!action->isSeparator()) {
                    const auto& tool = dynamic_cast<const QToolButton&>(*bar->widgetForAction(action));
                    EXPECT_TRUE(tool.isVisible()) << action->text().toStdString() << " of " << width;
                    EXPECT_GE(tool.width(), tool.sizeHint().width()) << action->text().toStdString() << " of " << width;
                    EXPECT_EQ(tool.accessibleName(), action->text());
                }
        EXPECT_EQ(Action("Flip vertically").iconText(), width == 535 ? "Flip V" : "Flip vertically");
    }
}

TEST_F(MainWindowTest, TheReportsImagesAreToldApartByTheirViews) {
    OpenReport();
    Action("Add to report").trigger();
    Action("Flip horizontally").trigger();
    Action("Invert").trigger();
    Action("Add to report").trigger();
    ASSERT_TRUE(WaitUntil([&] { return ReportImages().count() == 2; }));
    EXPECT_EQ(ReportImages().item(1)->text(), "2   1.dcm");
    EXPECT_EQ(ReportImages().item(0)->data(Qt::AccessibleDescriptionRole), "");
    EXPECT_EQ(ReportImages().item(1)->data(Qt::AccessibleDescriptionRole), "Flipped horizontally. Inverted");
    EXPECT_EQ(ReportImages().sizeHintForColumn(0), 0); // none is wider than the list
}

TEST_F(MainWindowTest, ComesToTheFrontForASecondStart) {
    window.showMinimized();
    emit service.Activated();
    EXPECT_FALSE(window.isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    window.showMaximized();
    emit service.Activated();
    EXPECT_TRUE(window.isMaximized());
}

TEST_F(MainWindowTest, ACatalogueThatCannotBeReadIsSaid) {
    rows.Run("DROP TABLE Study");
    window.Start();
    EXPECT_TRUE(Message().startsWith("The catalogue cannot be read: ")) << Message().toStdString();
}

} // namespace
} // namespace tavrel::test
