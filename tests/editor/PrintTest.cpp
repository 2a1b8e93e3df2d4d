#include "platform/error.h"
#include "tests/editor/PrintingStation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

TEST(Print, ShowsThePageFilledFromTheTable) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    ASSERT_EQ(station.printer.shown.size(), 1U);
    const auto& shown = station.printer.shown[0];
    EXPECT_EQ(shown.layout.name, "PrintReport");
    EXPECT_EQ(shown.rows, (std::vector<std::map<std::string, std::string>>{{{"PATIENTNAME", "ROSSI^MARIA"},
                                                                            {"PATIENTID", "P1"},
                                                                            {"SEX", "F"},
                                                                            {"AGE", "66 y"},
                                                                            {"BIRTHDATE", "20/05/1960"},
                                                                            {"STUDYDATE", "14/11/2026"},
                                                                            {"READING", "Normal heart and lungs."},
                                                                            {"APPROVINGPHYSICIAN", "Dr. Mario Rossi"},
                                                                            {"APPROVINGDATE", "14/11/2026"}}}));
}

TEST(Print, IsCalledByPatientStudyAndDate) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.printer.shown.at(0).layout.document.Title(), "ROSSI, MARIA - Chest - 2026-11-14");
}

TEST(Print, AnUnknownAgeIsNothingOnThePage) {
    PrintingStation station;
    station.editor.txtPtBirthDate.Text("");
    station.editor.txtPtAge.Text("....");
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.Printed("Age"), "....");
    EXPECT_FALSE(station.printer.shown.at(0).layout.Control("TextBox4").visible);
}

TEST(Print, AKnownAgeStandsOnThePage) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    EXPECT_TRUE(station.printer.shown.at(0).layout.Control("TextBox4").visible);
}

TEST(Print, ThePatientAndThePhysicianAreDrawnAsPeopleWriteThem) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    auto layout = station.printer.shown.at(0).layout;
    EXPECT_TRUE(layout.Control("TextBox1").personName);
    EXPECT_TRUE(layout.Control("TextBox6").personName);
}

TEST(Print, IsDatedToday) {
    PrintingStation station;
    station.clock.now = {2026, 12, 1, 9, 30, 0};
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.printer.shown.at(0).today, (DateTime{2026, 12, 1, 9, 30, 0}));
}

TEST(Print, ThePreviewIsAskedToStandAboveTheOtherWindows) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    EXPECT_TRUE(station.printer.shown.at(0).layout.topMost);
}

TEST(Print, WithoutALogoTheTitleStandsInItsPlace) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    auto layout = station.printer.shown.at(0).layout;
    EXPECT_FALSE(layout.Control("imgLogo").visible);
    EXPECT_TRUE(layout.Control("Label6").visible);
}

TEST(Print, TheLogoBesideTheProgramTakesThePlaceOfTheTitle) {
    PrintingStation station;
    station.WriteFile("Logo.bmp", "any picture");
    station.editor.cmdPrint.Press();
    auto layout = station.printer.shown.at(0).layout;
    EXPECT_TRUE(layout.Control("imgLogo").visible);
    EXPECT_EQ(layout.Control("imgLogo").text, station.Path("Logo.bmp"));
    EXPECT_FALSE(layout.Control("Label6").visible);
}

TEST(Print, ALogoThatHasGoneIsNotShownAgain) {
    PrintingStation station;
    station.WriteFile("Logo.bmp", "any picture");
    station.editor.cmdPrint.Press();
    std::filesystem::remove(station.NativePath("Logo.bmp"));
    station.editor.cmdPrint.Press();
    EXPECT_FALSE(station.printer.shown.at(1).layout.Control("imgLogo").visible);
}

/// A printer that can read no picture.
class NoPictures : public FakeReportPrinter {
public:
    void ShowModal(const PrintLayout& layout, ResultSet& rows, const DateTime& today) override {
        auto asked = layout;
        if (asked.Control("imgLogo").visible)
            throw Error(Fault::PictureUnusable, "PrintReport", "The picture cannot be printed: it is cut");
        FakeReportPrinter::ShowModal(layout, rows, today);
    }
};

TEST(Print, AnUnusableLogoIsToldAndThePageHasItsTextAndTitle) {
    PrintingStation station;
    station.WriteFile("Logo.bmp", "no picture");
    NoPictures printer;
    ASSERT_TRUE(FillPrintTable(station.global, {}));
    ShowPrintReport(station.global, printer, {}, {});
    EXPECT_EQ(station.windows.Texts(),
              Texts{"CmdPrint: The picture cannot be printed: it is cut. The title stands in its place."});
    ASSERT_EQ(printer.shown.size(), 1U);
    EXPECT_TRUE(printer.shown.front().layout.Control("Label6").visible);
    EXPECT_EQ(printer.shown.front().rows.size(), 1U);
}

TEST(PrintTable, KeepsNoPatientOnceAnotherOnesReportIsOpen) {
    PrintingStation station;
    station.AddPatient("P2", "VERDI^LUIGI");
    station.AddStudy("1.9", "P2", station.Path("study"));
    station.AddReport({.seriesUid = "1.9.2", .studyUid = "1.9", .seriesDir = "verdi", .patientName = "VERDI^LUIGI"});
    station.editor.cmdPrint.Press();
    ASSERT_EQ(station.PrintTable().size(), 1U);
    station.automation.LoadSRSeries("1.9.2");
    EXPECT_EQ(station.PrintTable().size(), 0U);
}

TEST(PrintTable, KeepsNoPatientOnceTheProgramEnds) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    station.editor.cmdClose.Press();
    EXPECT_EQ(station.PrintTable().size(), 0U);
}

TEST(PrintTable, OfAnotherWorkstationIsLeftAlone) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    station.Execute("UPDATE Report SET PatientName = 'ANOTHER'");
    station.editor.cmdClose.Press();
    EXPECT_EQ(station.PrintTable().size(), 1U);
}

TEST(PrintTable, ThatCannotBeEmptiedIsLogged) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    station.Execute("DROP TABLE Report");
    station.process.log.clear();
    station.editor.cmdClose.Press();
    ASSERT_EQ(station.process.log.size(), 1U);
    EXPECT_TRUE(station.process.log[0].starts_with("The printed report stays in the print table: "));
}

TEST(Print, ReadsTheTableOnAConnectionOfItsOwn) {
    PrintingStation station;
    station.connectionTexts.clear();
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.connectionTexts, Texts{"DSN=DicomFDB"});
}

TEST(Print, AFailureWhileShowingIsToldAndTheNextPrintWorks) {
    PrintingStation station;
    station.printer.onModal = [] { throw Error(481, "PrintReport", "Out of paper"); };
    station.editor.cmdPrint.Press();
    station.printer.onModal = {};
    station.editor.cmdPrint.Press();
    ASSERT_EQ(station.windows.Texts(), Texts{"CmdPrint: Out of paper"});
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_EQ(station.printer.shown.size(), 2U);
}

/// The catalogue for everything but the page, which cannot connect.
TEST(Print, AConnectionThatFailsIsTold) {
    PrintingStation station;
    class Unreachable : public ForwardingDatabase {
    public:
        using ForwardingDatabase::ForwardingDatabase;
        std::unique_ptr<Connection> NewConnection() override { throw Error(1, "catalogue", "No catalogue"); }
    } unreachable(*station.database);
    Global global(station.PortsWith(unreachable));
    global.catalogue = std::move(station.global.catalogue);
    global.report->document = station.global.report->document;
    global.userInformation = std::move(station.global.userInformation);
    frmReport editor(global, station.serviceEvents, station.chooser, station.codeTables, station.printer,
                     station.draftTimer, station.reportWatch);
    editor.LoadDocs();
    editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{"CmdPrint: No catalogue"});
}

TEST(Print, WhileThePageIsShownOthersWriteTheCatalogue) {
    PrintingStation station;
    station.printer.onModal = [&] { station.AddPatient("P2", "VERDI^ANNA"); };
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
    EXPECT_EQ(station.Rows("Patient", {"ID"}).size(), 2U);
}

/// Another workstation prints between this one's fill and its reading.
class Interrupted : public ForwardingConnection {
public:
    Interrupted(std::unique_ptr<Connection> target, std::function<void()> interrupt)
        : ForwardingConnection(std::move(target)), interrupt_(std::move(interrupt)) {}
    void Commit() override {
        ForwardingConnection::Commit();
        interrupt_();
    }

private:
    std::function<void()> interrupt_;
};

TEST(Print, AnotherWorkstationsReportIsNeverShownAsOurs) {
    PrintingStation station;
    station.global.catalogue = std::make_unique<Interrupted>(
        std::move(station.global.catalogue), [&] { station.Execute("UPDATE Report SET PatientName='VERDI^ANNA'"); });
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.Texts(),
              Texts{"CmdPrint: Another workstation is printing at this moment. Please print again."});
    EXPECT_EQ(station.printer.shown.size(), 0U);
}

TEST(Print, NorIsItsRowBesideOurs) {
    PrintingStation station;
    station.global.catalogue = std::make_unique<Interrupted>(std::move(station.global.catalogue), [&] {
        station.Insert("Report", {{"PatientName", "VERDI^ANNA"}});
    });
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.messages.size(), 1U);
    EXPECT_EQ(station.printer.shown.size(), 0U);
}

TEST(Print, ATableThatAnotherWorkstationEmptiedIsToldToo) {
    PrintingStation station;
    station.global.catalogue = std::make_unique<Interrupted>(std::move(station.global.catalogue),
                                                             [&] { station.Execute("DELETE FROM Report"); });
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.messages.size(), 1U);
    EXPECT_EQ(station.printer.shown.size(), 0U);
}

/// The row as the engine gives it back, the report shown being "ROSSI^MARIA" without a study description.
struct ReadBack {
    std::string_view name, change;
    bool ours;

    friend void PrintTo(const ReadBack& readBack, std::ostream* out) { *out << readBack.name; }
};

class RowReadBack : public testing::TestWithParam<ReadBack> {};

TEST_P(RowReadBack, IsShownWhenItsTextsAreOurs) {
    PrintingStation station;
    station.editor.txtStDescription.Text("");
    station.global.catalogue = std::make_unique<Interrupted>(std::move(station.global.catalogue), [&] {
        station.Execute("UPDATE Report SET " + std::string(GetParam().change));
    });
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.printer.shown.size(), GetParam().ours ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(, RowReadBack,
                         testing::Values(ReadBack{"PaddedWithBlanks", "PatientName='ROSSI^MARIA   '", true},
                                         ReadBack{"NullForNothing", "StudyDescription=NULL", true},
                                         ReadBack{"AnotherFirstLetter", "PatientName='BOSSI^MARIA'", false},
                                         ReadBack{"AnotherLastLetter", "PatientName='ROSSI^MARIE'", false},
                                         ReadBack{"OneLetterMore", "PatientName='ROSSI^MARIAN'", false}),
                         testing::PrintToStringParamName());

TEST(Print, ARowOfAnotherWorkstationHasAnErrorNumberOfItsOwn) {
    PrintingStation station;
    const auto empty = station.global.catalogue->OpenResultSet("SELECT * FROM Report");
    EXPECT_THAT([&] { RequirePrintRow(*empty, {}); },
                testing::Throws<Error>(testing::Field(&Error::number, static_cast<int>(Fault::PrintedElsewhere))));
}

} // namespace
} // namespace tavrel::test
