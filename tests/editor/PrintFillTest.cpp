#include "platform/error.h"
#include "tests/editor/PrintingStation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

TEST(PrintFill, CopiesTheScreenIntoTheOneRowOfTheTable) {
    PrintingStation station;
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.PrintTable(),
              (std::vector<Texts>{{"ROSSI^MARIA", "20/05/1960", "66 y", "F", "P1", "14/11/2026", "Chest",
                                   "BIANCHI^ANNA", "Heading", "Chest radiograph", "Dr. Mario Rossi", "14/11/2026",
                                   "Dr. Mario Rossi", "14/11/2026", "Normal heart and lungs."}}));
    EXPECT_EQ(station.windows.Texts(), Texts{});
}

TEST(PrintFill, TakesWhatTheScreenShowsNotWhatTheDocumentHolds) {
    PrintingStation station;
    station.editor.txtPtName.Text("BIANCHI^LUCA");
    station.editor.cmbReportTitle.Text("Typed over");
    station.PrintReading("Other words.");
    EXPECT_EQ(station.Printed("PatientName"), "BIANCHI^LUCA");
    EXPECT_EQ(station.Printed("ReportHeading"), "Typed over");
    EXPECT_EQ(station.Printed("Reading"), "Other words.");
}

TEST(PrintFill, TwoPrintsInTurnLeaveOneRow) {
    PrintingStation station;
    station.PrintReading("First.");
    station.PrintReading("Second.");
    EXPECT_EQ(station.Rows("Report", {"Reading"}), std::vector<Texts>{{"Second."}});
}

TEST(PrintFill, AReportThatIsNotApprovedCannotBePrinted) {
    ReportingStation station;
    station.OpenReport();
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.printer.shown.size(), 0U);
    EXPECT_EQ(station.Rows("Report", {"Reading"}).size(), 0U);
}

struct Shown {
    std::string_view name, onScreen, printed;

    friend void PrintTo(const Shown& shown, std::ostream* out) { *out << shown.name; }
};

class PrintedDates : public testing::TestWithParam<Shown> {};

TEST_P(PrintedDates, HaveOneForm) {
    PrintingStation station;
    for (Label* date : {&station.editor.txtPtBirthDate, &station.editor.txtStDate, &station.editor.txtUpdateDate,
                        &station.editor.txtApprovalDate})
        date->Text(std::string(GetParam().onScreen));
    station.editor.cmdPrint.Press();
    for (const char* column : {"BirthDate", "StudyDate", "LastUpdated", "ApprovingDate"})
        EXPECT_EQ(station.Printed(column), GetParam().printed) << column;
}

INSTANTIATE_TEST_SUITE_P(, PrintedDates,
                         testing::Values(Shown{"InAnotherOrder", "1960-05-20", "20/05/1960"},
                                         Shown{"InAnotherOrderWithATime", "1960-05-20 08:05:09", "20/05/1960"},
                                         Shown{"InTheirOrder", "20/05/1960", "20/05/1960"},
                                         Shown{"InTheirOrderWithATime", "20/05/1960 08:05:09", "20/05/1960"},
                                         Shown{"None", "", ""}, //
                                         Shown{"NoDate", "unknown", "unknown"},
                                         Shown{"NoDayOfTheCalendar", "30/02/1960", "30/02/1960"}),
                         testing::PrintToStringParamName());

TEST(PrintFill, AReadingOf1024CharactersIsStoredWhole) {
    PrintingStation station;
    const auto reading = Repeated("è", 1024);
    station.PrintReading(reading);
    EXPECT_EQ(station.Printed("Reading"), reading);
    EXPECT_EQ(station.windows.Texts(), Texts{});
}

TEST(PrintFill, AReadingOf1025CharactersIsAnErrorAndNothingIsShown) {
    PrintingStation station;
    station.PrintReading(Repeated("è", 1025));
    ASSERT_EQ(station.windows.messages.size(), 1U);
    const auto& message = station.windows.messages[0];
    EXPECT_TRUE(message.text.starts_with("Format Report : "));
    EXPECT_TRUE(message.text.ends_with("-\"Reading\" has 1025 characters; at most 1024 can be stored."))
        << message.text;
    EXPECT_EQ(message.title, "");
    EXPECT_EQ(message.buttons, Buttons::Ok);
    EXPECT_EQ(station.printer.shown.size(), 0U);
}

TEST(PrintFill, ALineEndCountsAsTwoCharacters) {
    PrintingStation station;
    station.PrintReading(Repeated("x", 1023) + "\r\n");
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST(PrintFill, AnyOtherTextMayHave255Characters) {
    PrintingStation station;
    station.editor.txtReportTitle.Text(Repeated("à", 255));
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.Texts(), Texts{});
    station.editor.txtReportTitle.Text(Repeated("à", 256));
    station.editor.cmdPrint.Press();
    EXPECT_EQ(station.windows.messages.size(), 1U);
}

TEST(PrintFill, QuotesAndAccentsReachTheTableAsTheyAre) {
    PrintingStation station;
    const std::string reading = "L'opacità: \"densità\" più 50% € 😀; -- '); DROP TABLE Report\r\n\tfine";
    station.PrintReading(reading);
    EXPECT_EQ(station.Printed("Reading"), reading);
}

TEST(PrintFill, AFailedFillLeavesTheFormerRow) {
    PrintingStation station;
    station.PrintReading("Before.");
    station.PrintReading(Repeated("x", 1025));
    EXPECT_EQ(station.Rows("Report", {"Reading"}), std::vector<Texts>{{"Before."}});
}

TEST(PrintFill, OthersWriteTheCatalogueRightAfterAFailedFill) {
    PrintingStation station;
    station.PrintReading(Repeated("x", 1025));
    EXPECT_NO_THROW(station.AddPatient("P2", "VERDI^ANNA")); // as the storage service would
    EXPECT_EQ(station.Rows("Patient", {"ID"}).size(), 2U);
}

TEST(PrintFill, TheNextPrintAfterAFailedFillWorks) {
    PrintingStation station;
    station.PrintReading(Repeated("x", 1025));
    station.PrintReading("Shorter.");
    EXPECT_EQ(station.windows.messages.size(), 1U);
    EXPECT_EQ(station.Rows("Report", {"Reading"}), std::vector<Texts>{{"Shorter."}});
    EXPECT_EQ(station.printer.shown.size(), 1U);
}

TEST(PrintFill, AnAuditRowWrittenAfterAFailedFillStays) {
    PrintingStation station;
    station.PrintReading(Repeated("x", 1025));
    const auto before = station.HistoryCount();
    station.automation.LoadForImgSeries(station.ImageSeries());
    EXPECT_EQ(station.HistoryCount(), before + 1);
}

TEST(PrintFill, AMissingTableIsAnErrorWithTheDriversNumberAndWords) {
    PrintingStation station;
    station.Execute("DROP TABLE Report");
    station.editor.cmdPrint.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Format Report : 1-")) << station.windows.messages[0].text;
    EXPECT_NE(station.windows.messages[0].text.find("no such table: Report"), std::string::npos);
}

TEST(PrintFill, WithoutACatalogueIsAnErrorAndNothingIsShown) {
    PrintingStation station;
    station.global.catalogue.reset();
    station.editor.cmdPrint.Press();
    ASSERT_EQ(station.windows.messages.size(), 1U);
    EXPECT_TRUE(station.windows.messages[0].text.starts_with("Format Report : "));
    EXPECT_EQ(station.printer.shown.size(), 0U);
}

/// Writes down what the program asks of the catalogue.
class WrittenDown : public ForwardingConnection {
public:
    WrittenDown(std::unique_ptr<Connection> target, Texts& calls)
        : ForwardingConnection(std::move(target)), calls_(calls) {}

    void BeginTransaction() override { calls_.emplace_back("Begin"); }
    void Commit() override { calls_.emplace_back("Commit"); }
    std::unique_ptr<Command> NewCommand() override {
        class Written : public Command {
        public:
            explicit Written(Texts& calls) : calls_(calls) {}
            void Text(std::string_view statement) override { calls_.emplace_back(statement); }
            void Append(Parameter parameter) override {
                calls_.push_back(parameter.name + " " + std::to_string(static_cast<int>(parameter.type)) + " " +
                                 std::to_string(parameter.size) + " " + parameter.value);
            }
            void Delete(int index) override { calls_.push_back("Delete " + std::to_string(index)); }
            void Execute() override { calls_.emplace_back("Execute"); }

        private:
            Texts& calls_;
        };
        return std::make_unique<Written>(calls_);
    }

private:
    Texts& calls_;
};

TEST(PrintFill, RunsItsStatementsInOneTransactionWithTypedParameters) {
    PrintingStation station;
    Texts calls;
    station.global.catalogue = std::make_unique<WrittenDown>(std::move(station.global.catalogue), calls);
    PrintRow row;
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = std::string(1, static_cast<char>('a' + i));
    EXPECT_TRUE(FillPrintTable(station.global, row));
    EXPECT_EQ(calls, (Texts{"Begin",
                            "Delete from Report",
                            "Execute",
                            "Insert Into Report (PatientName) Values (?)",
                            "PatientName 200 255 a",
                            "Execute",
                            "Delete 0",
                            " Update Report Set PatientName=?,  BirthDate=?, Age=?, Sex=?, "
                            "                               PatientID=?, StudyDate=?, "
                            "                               StudyDescription=?, StudyPhysician=?, "
                            "                               ReportHeading=?, ReportTitle=?, "
                            "                               ReadingPhysician=?, LastUpdated=?, "
                            "                               ApprovingPhysician=?, ApprovingDate=?, Reading=? ",
                            "PatientName 200 255 a",
                            "BirthDate 200 255 b",
                            "Age 200 255 c",
                            "Sex 200 255 d",
                            "PatientID 200 255 e",
                            "StudyDate 200 255 f",
                            "StudyDescription 200 255 g",
                            "StudyPhysician 200 255 h",
                            "ReportHeading 200 255 i",
                            "ReportTitle 200 255 j",
                            "ReadingPhysician 200 255 k",
                            "LastUpdated 200 255 l",
                            "ApprovingPhysician 200 255 m",
                            "ApprovingDate 200 255 n",
                            "Reading 201 1024 o",
                            "Execute",
                            "Commit"}));
}

} // namespace
} // namespace tavrel::test
