#include "suite/lumaret/OtherReports.h"
#include "suite/lumaret/MainWindow.h"
#include "tests/platform/dbus/PrivateBus.h"
#include "tests/suite/lumaret/CatalogueRows.h"
#include "tests/suite/lumaret/SampleImage.h"
#include "tests/suite/lumaret/SampleReport.h"

#include <QDir>
#include <QLabel>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextBrowser>

#include <gtest/gtest.h>

#include <algorithm>

namespace tavrel::test {
namespace {

/// A patient with an image today and a report of last year, and somebody else with a report.
class OtherReportsTest : public testing::Test {
protected:
    OtherReportsTest() {
        rows.AddPatient("P1", "ROSSI^MARIA");
        rows.AddPatient("P2", "VERDI^ANNA");
        AddStudy("1.2.3", "P1", "20261114", "CT");
        AddStudy("1.2.2", "P1", "20251114", "SR");
        AddStudy("1.2.8", "P2", "20251114", "SR");
        WriteImage(File("1.2.3", "1.dcm"));
        WriteReport(File("1.2.2", "1.dcm"), {.title = "Of last year"});
        WriteReport(File("1.2.8", "1.dcm"),
                    {.patientName = "VERDI^ANNA", .title = "Of somebody else", .patientId = "P2"});
    }

    void AddStudy(const QString& uid, const QString& patient, const QString& date, const QString& modality) {
        rows.AddStudy(uid, patient, date, folder.filePath(uid).replace('/', '\\'), "Chest of " + date.left(4));
        rows.AddSeries(uid + ".1", uid, modality, 1, "S");
        rows.AddImage(uid + ".1", "1.dcm", 1);
    }
    QString File(const QString& study, const QString& name) const {
        QDir(folder.path()).mkpath(study + "/S");
        return folder.filePath(study + "/S/" + name);
    }
    OtherReports Found() {
        OdbcDatabase database;
        StudyCatalogue catalogue(database);
        return FindOtherReports(catalogue, *catalogue.Study("1.2.3"), File("1.2.3", "1.dcm"));
    }

    QTemporaryDir folder;
    CatalogueRows rows{OwnSqliteEntry()};
};

TEST_F(OtherReportsTest, AreThePatientsOwn) {
    const auto found = Found();
    ASSERT_EQ(found.reports.size(), 1U);
    EXPECT_EQ(found.reports[0].report.series.seriesUid, "1.2.2.1");
    EXPECT_EQ(found.reports[0].otherName, "");
    EXPECT_EQ(found.leftOut, 0);
}

TEST_F(OtherReportsTest, WhoseFileNamesAnotherPatientIsNotListed) {
    WriteReport(File("1.2.2", "1.dcm"), {.patientId = "P2"});
    EXPECT_TRUE(Found().reports.empty());
    EXPECT_EQ(Found().leftOut, 1);
}

TEST_F(OtherReportsTest, OfANumberWithAnApostropheAreThePatientsOwn) {
    rows.Run("UPDATE Patient SET ID = 'O`1' WHERE ID = 'P1'");
    rows.Run("UPDATE Study SET IDPatient = 'O`1' WHERE IDPatient = 'P1'");
    WriteReport(File("1.2.2", "1.dcm"), {.patientId = "O'1"});
    EXPECT_EQ(Found().reports.size(), 1U);
}

TEST_F(OtherReportsTest, OfTheSameNumberFromAnotherIssuerIsNotListed) {
    WriteReport(File("1.2.2", "1.dcm"), {.issuer = "North"});
    EXPECT_EQ(Found().reports.size(), 1U); // the image does not say whose number it is
    WriteImage(File("1.2.3", "1.dcm"), {.issuer = "South"});
    EXPECT_TRUE(Found().reports.empty());
    WriteImage(File("1.2.3", "1.dcm"), {.issuer = "North"});
    EXPECT_EQ(Found().reports.size(), 1U);
}

TEST_F(OtherReportsTest, WithTheSameNumberAndAnotherNameIsTold) {
    WriteReport(File("1.2.2", "1.dcm"), {.patientName = "BIANCHI^MARIA"});
    ASSERT_EQ(Found().reports.size(), 1U);
    EXPECT_EQ(Found().reports[0].otherName, "BIANCHI^MARIA");
    for (const char* same : {"Rossi^Maria^^", "ROSS\xC3\x8C^MARIA", "rossi maria=x", ""}) {
        WriteReport(File("1.2.2", "1.dcm"), {.patientName = same});
        EXPECT_EQ(Found().reports[0].otherName, "") << same;
    }
}

TEST_F(OtherReportsTest, OfAStudyWhoseImagesNameSomebodyElseTellBothNames) {
    WriteImage(File("1.2.3", "1.dcm"), {.patientName = "VERDI^ANNA"});
    EXPECT_EQ(Found().ownName, "VERDI^ANNA");
    ASSERT_EQ(Found().reports.size(), 1U);
    EXPECT_EQ(Found().reports[0].otherName, "ROSSI^MARIA");
    WriteReport(File("1.2.2", "1.dcm"), {.patientName = "VERDI^ANNA"});
    EXPECT_EQ(Found().reports[0].otherName, "");
}

TEST_F(OtherReportsTest, WhoseFileCannotBeReadIsListedAsTheCatalogueHasIt) {
    QFile::remove(File("1.2.2", "1.dcm"));
    EXPECT_EQ(Found().reports.size(), 1U);
}

class OtherReportsOnScreen : public OtherReportsTest {
protected:
    OtherReportsOnScreen() {
        window.show();
        window.Start();
        Choose("1.2.3");
    }
    void Settle() {
        if (!WaitUntil([this] { return catalogue.Idle(); }))
            throw std::runtime_error("the catalogue has not answered");
    }
    QTableWidget& Table(const QString& name) {
        Settle();
        for (auto* table : window.findChildren<QTableWidget*>())
            if (table->accessibleName() == name)
                return *table;
        throw std::runtime_error("there is no " + name.toStdString());
    }
    /// Of the studies, which are listed by their date.
    void Choose(const QString& study) {
        Table("Studies").clearSelection();
        for (int row = 0; row < Table("Studies").rowCount(); ++row)
            if (Table("Studies").item(row, 1)->text() == (study == "1.2.8" ? "P2" : "P1") &&
                Table("Studies").item(row, 2)->text() == (study == "1.2.3" ? "14/11/2026" : "14/11/2025"))
                Table("Studies").selectRow(row);
        Settle();
    }
    QTableWidget& Others() { return Table("Other reports"); }
    QTextBrowser& Paper() {
        Settle();
        return *window.findChild<QTextBrowser*>();
    }
    QString Notice() const {
        for (auto* label : window.findChild<ReportPane*>()->findChildren<QLabel*>())
            if (label->accessibleName() == "Notice" && label->isVisible())
                return label->text();
        return {};
    }

    PrivateBus bus;
    CatalogueQuestions catalogue{std::make_shared<OdbcDatabase>()};
    TavrelClient client{bus.Connect()};
    ViewerService service;
    MainWindow window{catalogue, client, service};
};

TEST_F(OtherReportsOnScreen, AreReadBesideTheImagesAndSayOfWhichStudyTheyAre) {
    ASSERT_EQ(Others().rowCount(), 1);
    EXPECT_EQ(Others().item(0, 0)->text(), "14/11/2025");
    EXPECT_TRUE(Others().isVisible());
    Others().selectRow(0);
    EXPECT_TRUE(Paper().toPlainText().contains("Of last year")) << Paper().toPlainText().toStdString();
    EXPECT_TRUE(Paper().isReadOnly());
    EXPECT_EQ(Notice(), "Of another study: 14/11/2025  Chest of 2025");
    EXPECT_TRUE(window.findChild<ImageView*>()->HasImage());
}

TEST_F(OtherReportsOnScreen, AreNotOpenedInTheEditor) {
    bool asked = false;
    QObject::connect(&client, &TavrelClient::StateChanged, [&] { asked = true; });
    Others().selectRow(0);
    emit Others().itemActivated(Others().item(0, 0));
    Settle();
    Idle();
    EXPECT_FALSE(asked);
    EXPECT_TRUE(Paper().isVisible());
}

TEST_F(OtherReportsOnScreen, AreGoneWithTheirPatient) {
    Others().selectRow(0);
    EXPECT_TRUE(Paper().isVisible());
    Choose("1.2.8");
    EXPECT_EQ(Others().rowCount(), 0);
    EXPECT_FALSE(Others().isVisible());
    EXPECT_FALSE(Paper().isVisible());
    EXPECT_EQ(Paper().toPlainText(), "");
}

TEST_F(OtherReportsOnScreen, WithAnotherNameSaySoInTheListAndOverTheReport) {
    WriteReport(File("1.2.2", "1.dcm"), {.patientName = "BIANCHI^MARIA"});
    Choose("1.2.8");
    Choose("1.2.3");
    EXPECT_FALSE(Others().isColumnHidden(4));
    EXPECT_TRUE(Others().item(0, 4)->text().contains("BIANCHI"));
    Others().selectRow(0);
    Settle();
    EXPECT_TRUE(Notice().contains("It names ")) << Notice().toStdString();
}

TEST_F(OtherReportsOnScreen, OfAStudyWhoseImagesNameSomebodyElseSaySo) {
    WriteImage(File("1.2.3", "1.dcm"), {.patientName = "VERDI^ANNA"});
    Choose("1.2.8");
    Choose("1.2.3");
    const auto remarks = window.findChild<StudyPanel*>()->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(remarks, [](const QLabel* remark) {
        return remark->isVisible() && remark->text().startsWith("The files of this study name VERDI, ANNA; ");
    }));
    EXPECT_EQ(Others().item(0, 4)->text(), "ROSSI, MARIA");
}

TEST_F(OtherReportsOnScreen, OfAStudyWhoseImagesHaveALongNameDoNotWidenTheLists) {
    window.resize(560, 720);
    Settle();
    const int before = window.findChild<StudyPanel*>()->minimumSizeHint().width();
    const std::string longest(60, 'W');
    WriteImage(File("1.2.3", "1.dcm"), {.patientName = longest.c_str()});
    Choose("1.2.8");
    Choose("1.2.3");
    EXPECT_EQ(window.findChild<StudyPanel*>()->minimumSizeHint().width(), before);
}

TEST_F(OtherReportsOnScreen, AVersionOfAnotherPatientIsNotShown) {
    rows.AddImage("1.2.2.1", "2.dcm", 2);
    WriteReport(File("1.2.2", "2.dcm"), {.title = "Secret", .date = "20261231", .patientId = "P2"});
    Others().selectRow(0); // it was listed before that version came
    EXPECT_EQ(Paper().toPlainText(), "This version names another patient and is not shown.");
}

TEST_F(OtherReportsOnScreen, AVersionOfTheSameNumberFromAnotherIssuerIsNotShown) {
    WriteImage(File("1.2.3", "1.dcm"), {.issuer = "North"});
    Choose("1.2.8");
    Choose("1.2.3");
    rows.AddImage("1.2.2.1", "2.dcm", 2);
    WriteReport(File("1.2.2", "2.dcm"), {.title = "Secret", .date = "20261231", .issuer = "South"});
    Others().selectRow(0);
    EXPECT_EQ(Paper().toPlainText(), "This version names another patient and is not shown.");
}

TEST_F(OtherReportsOnScreen, AVersionThatDoesNotTellItsPatientIsNotShown) {
    const std::string endless(5000, 'X'); // in a header it is refused
    WriteReport(File("1.2.2", "1.dcm"), {.patientName = endless.c_str(), .title = "Secret"});
    Others().selectRow(0);
    EXPECT_EQ(Paper().toPlainText(), "This version does not tell whose it is and is not shown.");
}

TEST_F(OtherReportsOnScreen, OfAStudyWithoutImagesAreOfTheIssuerThatItsReportNames) {
    AddStudy("1.2.4", "P1", "20261114", "SR"); // listed like the one with the image
    rows.Run("DELETE FROM Study WHERE StudyInstanceUID = '1.2.3'");
    WriteReport(File("1.2.4", "1.dcm"), {.issuer = "North"});
    WriteReport(File("1.2.2", "1.dcm"), {.issuer = "South"});
    window.Start();
    Choose("1.2.3");
    EXPECT_EQ(Others().rowCount(), 0);
}

TEST_F(OtherReportsOnScreen, GiveWayToTheStudysOwnReportAndComeBack) {
    rows.AddSeries("1.2.3.9", "1.2.3", "SR", 9, "S");
    rows.AddImage("1.2.3.9", "own.dcm", 1);
    WriteReport(File("1.2.3", "own.dcm"), {.title = "Of today"});
    window.ReportStored();
    for (int round = 0; round < 2; ++round) {
        Others().selectRow(0);
        EXPECT_TRUE(Paper().toPlainText().contains("Of last year")) << round;
        Table("Series").selectRow(1);
        EXPECT_TRUE(Paper().toPlainText().contains("Of today")) << round;
        EXPECT_EQ(Notice(), "");
    }
}

} // namespace
} // namespace tavrel::test
