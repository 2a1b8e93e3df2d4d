#include "editor/PrintReport.h"
#include "platform/error.h"
#include "tests/platform/odbc/EngineTest.h"
#include "tests/support/FakeReportPrinter.h"
#include "tests/support/Workstation.h"

#include <chrono>
#include <future>

namespace tavrel::test {
namespace {

/// Opens the engine under test, whatever entry is asked for.
class EngineCatalogue : public ForwardingDatabase {
public:
    explicit EngineCatalogue(const TestDatabase& database)
        : ForwardingDatabase(database.Adapter()), database_(database) {}

    std::unique_ptr<Connection> NewConnection() override {
        class Opened : public ForwardingConnection {
        public:
            Opened(std::unique_ptr<Connection> target, std::string text)
                : ForwardingConnection(std::move(target)), text_(std::move(text)) {}
            void Open(std::string_view, std::string_view user, std::string_view password) override {
                Target().Open(text_, user, password);
            }

        private:
            std::string text_;
        };
        return std::make_unique<Opened>(ForwardingDatabase::NewConnection(), database_.ConnectionText());
    }

private:
    const TestDatabase& database_;
};

/// A workstation of a site, whose catalogue is the engine under test.
class Station {
public:
    explicit Station(const TestDatabase& database) : catalogue_(database) { global.catalogue = database.Connect(); }

    bool Fill(const PrintRow& row) { return FillPrintTable(global, row); }
    /// Prints as the editor does; the rows that the page was filled from.
    auto Print(const PrintRow& row) {
        ShowPrintReport(global, printer, row, {});
        return printer.shown.back().rows;
    }
    std::vector<std::string> Messages() const { return outside_.windows.Texts(); }

private:
    Workstation outside_{Workstation::NotStarted};
    EngineCatalogue catalogue_;

public:
    Global global{outside_.PortsWith(catalogue_)};
    FakeReportPrinter printer;
};

PrintRow RowOf(const std::string& patient, const std::string& reading = "Normal.") {
    return {patient, "20/05/1960", "66 y",    "F",          "P1",       "14/11/2026", "Chest", "BIANCHI^ANNA",
            "CT",    "Chest CT",   "M Rossi", "14/11/2026", "M. Rossi", "14/11/2026", reading};
}

std::string Repeated(std::string_view character, int count) {
    std::string text;
    while (count-- > 0)
        text += character;
    return text;
}

class PrintTable : public EngineTest {
protected:
    Station station{database};

    std::string Patients() { return database.Value("SELECT COUNT(*) FROM Patient"); }
    std::vector<std::string> ReportPatients() {
        std::vector<std::string> names;
        for (const auto& row : database.Rows("SELECT PatientName FROM Report ORDER BY PatientName", 1))
            names.push_back(row[0].value_or("NULL"));
        return names;
    }
    using Names = std::vector<std::string>;
};
INSTANTIATE_TEST_SUITE_P(Engines, PrintTable, AllEngines, EngineName);

TEST_P(PrintTable, HoldsEveryTextAsItWas) {
    PrintRow row;
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = std::to_string(i) + " L'opacità \"è\" \\ \r\n\t€ 😀 ?;--";
    ASSERT_TRUE(station.Fill(row));
    const auto stored = database.Rows("SELECT * FROM Report", 15);
    ASSERT_EQ(stored.size(), 1U);
    for (std::size_t i = 0; i < row.size(); ++i)
        EXPECT_EQ(stored[0][i], row[i]);
    EXPECT_EQ(station.Print(row).size(), 1U);
}

TEST_P(PrintTable, TwoPrintsInTurnLeaveOneRow) {
    for (const char* patient : {"ROSSI", "VERDI"}) {
        ASSERT_TRUE(station.Fill(RowOf(patient)));
        EXPECT_EQ(station.Print(RowOf(patient)).at(0).at("PATIENTNAME"), patient);
    }
    EXPECT_EQ(ReportPatients(), Names{"VERDI"});
}

TEST_P(PrintTable, TakesAReadingOf1024CharactersWhole) {
    const auto reading = Repeated("è", 1024);
    ASSERT_TRUE(station.Fill(RowOf("ROSSI", reading)));
    EXPECT_EQ(station.Print(RowOf("ROSSI", reading)).at(0).at("READING"), reading);
}

TEST_P(PrintTable, AFailedFillLeavesTheFormerRowAndNobodyWaitsForIt) {
    ASSERT_TRUE(station.Fill(RowOf("ROSSI")));
    EXPECT_FALSE(station.Fill(RowOf("VERDI", Repeated("è", 1025))));
    ASSERT_EQ(station.Messages().size(), 1U);
    EXPECT_TRUE(station.Messages()[0].starts_with("Format Report : "));

    const auto start = std::chrono::steady_clock::now();
    database.Run("UPDATE Report SET PatientName='Theirs' WHERE PatientName='ROSSI'");
    database.Run("INSERT INTO Patient VALUES ('P2', 'NERI')");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_EQ(ReportPatients(), Names{"Theirs"});
}

TEST_P(PrintTable, TheNextFillAfterAFailedOneWorks) {
    EXPECT_FALSE(station.Fill(RowOf("ROSSI", Repeated("x", 1025))));
    EXPECT_TRUE(station.Fill(RowOf("VERDI")));
    EXPECT_EQ(ReportPatients(), Names{"VERDI"});
}

TEST_P(PrintTable, AMissingTableIsAnErrorAfterWhichOthersWrite) {
    database.Run("DROP TABLE Report");
    EXPECT_FALSE(station.Fill(RowOf("ROSSI")));
    database.Run("INSERT INTO Patient VALUES ('P2', 'NERI')");
    EXPECT_EQ(Patients(), "1");
}

TEST_P(PrintTable, APageOnTheScreenLocksNothing) {
    ASSERT_TRUE(station.Fill(RowOf("ROSSI")));
    station.printer.onModal = [&] { database.Run("DELETE FROM Report"); };
    EXPECT_EQ(station.Print(RowOf("ROSSI")).size(), 1U);
}

TEST_P(PrintTable, AStorageServiceThatWritesMeanwhileLosesNothing) {
    auto service = database.Connect();
    auto storing = std::async(std::launch::async, [&] {
        for (int i = 0; i < 100; ++i)
            service->OpenResultSet("INSERT INTO Patient VALUES ('" + std::to_string(i) + "', 'NERI')");
    });
    for (int i = 0; i < 20; ++i)
        station.Fill(RowOf("ROSSI", Repeated("x", i % 2 == 0 ? 10 : 1025)));
    EXPECT_NO_THROW(storing.get());
    EXPECT_EQ(Patients(), "100");
}

/// Two workstations whose fills overlap: the second one's starts right before the first one's commit.
class TwoAtOnce : public PrintTable {
protected:
    /// `second` fills while `first` is about to commit. True when the second fill succeeded.
    bool Overlap() {
        class AboutToCommit : public ForwardingConnection {
        public:
            AboutToCommit(std::unique_ptr<Connection> target, std::function<void()> before)
                : ForwardingConnection(std::move(target)), before_(std::move(before)) {}
            void Commit() override {
                before_();
                ForwardingConnection::Commit();
            }

        private:
            std::function<void()> before_;
        };
        std::future<bool> other;
        station.global.catalogue = std::make_unique<AboutToCommit>(std::move(station.global.catalogue), [&] {
            other = std::async(std::launch::async, [&] { return second.Fill(RowOf("VERDI")); });
            other.wait_for(std::chrono::milliseconds(200)); // done, or waiting for the first one's locks
        });
        EXPECT_TRUE(station.Fill(RowOf("ROSSI")));
        station.global.catalogue = database.Connect();
        return other.get();
    }
    /// Shows the page, or says why not.
    static std::string Show(Station& workstation, const std::string& patient) {
        try {
            std::string names;
            for (const auto& row : workstation.Print(RowOf(patient)))
                names += row.at("PATIENTNAME") + " ";
            return names;
        } catch (const Error& error) {
            return error.description;
        }
    }

    Station second{database};
    const std::string refusal = "Another workstation is printing at this moment. Please print again.";
};
INSTANTIATE_TEST_SUITE_P(Engines, TwoAtOnce, AllEngines, EngineName);

TEST_P(TwoAtOnce, NeitherShowsTheOthersPatient) {
    database.Run("INSERT INTO Report (PatientName) VALUES ('Before')");
    const bool secondFilled = Overlap();
    const auto firstShown = Show(station, "ROSSI");
    EXPECT_EQ(firstShown.find("VERDI"), std::string::npos);
    EXPECT_EQ(Show(second, "VERDI").find("ROSSI"), std::string::npos);
    EXPECT_EQ(firstShown == refusal, secondFilled) << firstShown;
}

TEST_P(TwoAtOnce, NorWhenTheTableWasEmpty) {
    Overlap();
    EXPECT_EQ(Show(station, "ROSSI").find("VERDI"), std::string::npos);
    EXPECT_EQ(Show(second, "VERDI").find("ROSSI"), std::string::npos);
}

TEST_P(TwoAtOnce, ThePrintAfterwardsLeavesOneRowAgain) {
    Overlap();
    ASSERT_TRUE(station.Fill(RowOf("ROSSI")));
    EXPECT_EQ(ReportPatients(), Names{"ROSSI"});
    EXPECT_EQ(Show(station, "ROSSI"), "ROSSI ");
}

/// What an engine without a lock on the whole table makes of it.
class TwoOnPostgresql : public TwoAtOnce {};
INSTANTIATE_TEST_SUITE_P(Engines, TwoOnPostgresql, testing::Values(TestDatabase::Engine::Postgresql), EngineName);

TEST_P(TwoOnPostgresql, TheSecondFillWaitsAndTakesBothRows) {
    database.Run("INSERT INTO Report (PatientName) VALUES ('Before')");
    EXPECT_TRUE(Overlap());
    EXPECT_EQ(ReportPatients(), (Names{"VERDI", "VERDI"}));
    EXPECT_EQ(Show(station, "ROSSI"), refusal);
}

TEST_P(TwoOnPostgresql, AnEmptyTableEndsWithARowOfEachAndNeitherIsShown) {
    EXPECT_TRUE(Overlap());
    EXPECT_EQ(ReportPatients(), (Names{"ROSSI", "VERDI"}));
    EXPECT_EQ(Show(station, "ROSSI"), refusal);
    EXPECT_EQ(Show(second, "VERDI"), refusal);
}

} // namespace
} // namespace tavrel::test
