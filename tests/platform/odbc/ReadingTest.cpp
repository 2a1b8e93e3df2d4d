#include "tests/platform/odbc/EngineTest.h"

#include <clocale>

namespace tavrel {
namespace {

class Reading : public EngineTest {
protected:
    void AddTitle(std::string_view scheme, std::string_view code, std::string_view meaning) {
        database.Run("INSERT INTO StdTitles VALUES ('" + std::string(scheme) + "', '" + std::string(code) + "', '" +
                     std::string(meaning) + "')");
    }
    /// `value` as it comes back after it went in as a literal.
    std::string Returned(const std::string& value) {
        database.Run("INSERT INTO Report (Reading) VALUES ('" + value + "')");
        return connection->OpenResultSet("SELECT Reading FROM Report")->Text("Reading");
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Reading, AllEngines, EngineName);

TEST_P(Reading, RowsComeInTheirOrderUntilTheEnd) {
    AddTitle("99SS", "A", "First");
    AddTitle("99SS", "B", "Second");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles Order by CodeMeaning ");
    EXPECT_FALSE(titles->AtBeginning());
    EXPECT_EQ(titles->Text("CodeMeaning"), "First");
    titles->MoveNext();
    EXPECT_EQ(titles->Text("CodeMeaning"), "Second");
    titles->MoveNext();
    EXPECT_TRUE(titles->AtEnd());
    EXPECT_FALSE(titles->AtBeginning());
}

TEST_P(Reading, AnEmptyTableIsAtBothItsEnds) {
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    EXPECT_TRUE(titles->AtBeginning());
    EXPECT_TRUE(titles->AtEnd());
}

TEST_P(Reading, AFieldIsFoundInAnyLetterCase) {
    AddTitle("99SS", "A", "First");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    EXPECT_EQ(titles->Text("CODEMEANING"), "First");
    EXPECT_EQ(titles->Field("codemeaning"), "First");
}

TEST_P(Reading, AnAliasIsAFieldName) {
    database.Run("INSERT INTO Series (SeriesInstanceUID, SeriesNumber) VALUES ('1.2', 12)");
    const auto series = connection->OpenResultSet("SELECT Max(SeriesNumber) as SRCount From Series");
    EXPECT_EQ(series->Text("SRCount"), "12");
}

TEST_P(Reading, AnUnknownFieldIsAnErrorThatNamesIt) {
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    const Error error = ErrorOf([&] { titles->FieldIndex("Organization"); });
    EXPECT_EQ(error.number, static_cast<int>(OdbcFailure::UnknownField));
    EXPECT_EQ(error.description, "The result has no field \"Organization\".");
}

TEST_P(Reading, NullIsNotEmptyText) {
    database.Run("INSERT INTO Patient VALUES ('1', NULL)");
    database.Run("INSERT INTO Patient VALUES ('2', '')");
    const auto patients = connection->OpenResultSet("SELECT PatientName FROM Patient ORDER BY ID");
    EXPECT_EQ(patients->Field("PatientName"), std::nullopt);
    patients->MoveNext();
    EXPECT_EQ(patients->Field("PatientName"), "");
}

TEST_P(Reading, NullAsTextIsAnErrorThatNamesTheField) {
    database.Run("INSERT INTO SiteData VALUES ('1.2.3', NULL)");
    const auto site = connection->OpenResultSet("SELECT * FROM SiteData");
    const Error error = ErrorOf([&] { site->Text("Organization"); });
    EXPECT_EQ(error.number, static_cast<int>(OdbcFailure::NullField));
    EXPECT_EQ(error.description, "The field \"Organization\" holds no value (null).");
}

TEST_P(Reading, AnEmptyResultHasNoRowToRead) {
    const auto site = connection->OpenResultSet("SELECT * FROM SiteData");
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { site->Text("BaseUID"); });
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { site->MoveNext(); });
}

TEST_P(Reading, AfterTheLastRowThereIsNoneToRead) {
    AddTitle("99SS", "A", "First");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    titles->MoveNext();
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { titles->Text("CodeMeaning"); });
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { titles->MoveNext(); });
}

TEST_P(Reading, AClosedResultHasNoRowToRead) {
    AddTitle("99SS", "A", "First");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    titles->Close();
    EXPECT_TRUE(titles->AtEnd());
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { titles->Text("CodeMeaning"); });
}

TEST_P(Reading, LettersOfAnyWidthComeBack) {
    EXPECT_EQ(Returned("Età ü € 漢 😀 ß"), "Età ü € 漢 😀 ß");
}

TEST_P(Reading, LettersComeBackInAProcessThatHasSetItsLocale) {
    std::setlocale(LC_ALL, "C.UTF-8"); // as the window toolkit does
    connection = database.Connect();
    EXPECT_EQ(Returned("Età ü € 漢 😀 ß"), "Età ü € 漢 😀 ß");
    std::setlocale(LC_ALL, "C");
}

TEST_P(Reading, LineEndsAndTabsComeBack) {
    EXPECT_EQ(Returned("one\r\ntwo\nthree\ttab"), "one\r\ntwo\nthree\ttab");
}

TEST_P(Reading, BackslashesAreOrdinaryCharacters) {
    EXPECT_EQ(Returned("C:\\studies\\new\\table\\"), "C:\\studies\\new\\table\\");
}

TEST_P(Reading, QuestionMarksBracesAndDoubleQuotesInALiteralStay) {
    EXPECT_EQ(Returned("why? {d} {fn x} \"so\" `well` -- ; /* x */"), "why? {d} {fn x} \"so\" `well` -- ; /* x */");
}

TEST_P(Reading, ADoubledQuoteInALiteralIsOne) {
    database.Run("INSERT INTO Report (Reading) VALUES ('it''s')");
    EXPECT_EQ(database.Value("SELECT Reading FROM Report"), "it's");
}

TEST_P(Reading, TwentyThousandCharactersComeWhole) {
    std::string text;
    for (int index = 0; index < 5000; ++index)
        text += "a€é😀";
    EXPECT_EQ(Returned(text), text);
}

TEST_P(Reading, ValuesAroundTheBuffersSizeComeWhole) {
    for (const std::size_t size : {253U, 254U, 255U, 256U, 257U, 32767U, 32768U, 65535U}) {
        database.Run("DELETE FROM Report");
        const std::string text = std::string(size - 2, 'x') + "é";
        EXPECT_EQ(Returned(text), text) << size;
    }
}

TEST_P(Reading, ARowAfterALongOneIsItsOwn) {
    const std::string longText(5000, 'x');
    for (const std::string& reading : {longText, std::string("short"), longText + "y"})
        database.Run("INSERT INTO Report (Age, Reading) VALUES ('" + std::to_string(reading.size()) + "', '" + reading +
                     "')");
    database.Run("INSERT INTO Report (Age, Reading) VALUES ('9', NULL)");
    const auto rows = database.Rows("SELECT Reading, Age FROM Report ORDER BY Age", 2);
    const std::vector<TestDatabase::Row> expected = {
        {"short", "5"}, {longText, "5000"}, {longText + "y", "5001"}, {std::nullopt, "9"}};
    EXPECT_EQ(rows, expected);
}

TEST_P(Reading, PaddingOfAFixedWidthColumnIsDropped) {
    AddTitle("99SS", "CODE", "Meaning");
    EXPECT_EQ(database.Value("SELECT CodeValue FROM StdTitles"), "CODE");
}

TEST_P(Reading, BlanksStoredInAFixedWidthColumnAreDropped) {
    AddTitle("99SS", "CODE  ", "Meaning");
    EXPECT_EQ(database.Value("SELECT CodeValue FROM StdTitles"), GetParam() == TestDatabase::Engine::Mariadb
                                                                     ? "CODE  " // no fixed width there
                                                                     : "CODE");
}

TEST_P(Reading, TrailingBlanksOfAVariableColumnAreData) {
    AddTitle("99SS", "CODE", "Meaning  ");
    EXPECT_EQ(database.Value("SELECT CodeMeaning FROM StdTitles"), "Meaning  ");
}

TEST_P(Reading, ALiteralWithATrailingBlankFindsTheCode) {
    AddTitle("99SS", "X", "Meaning");
    EXPECT_EQ(database.Value(" SELECT CodeMeaning from StdTitles WHERE CodeValue = 'X ' "), "Meaning");
}

TEST_P(Reading, ACodeInAnotherLetterCaseIsAnotherCode) {
    AddTitle("99SS", "x", "Meaning");
    EXPECT_TRUE(connection->OpenResultSet(" SELECT * from StdTitles WHERE CodeValue = 'X ' ")->AtEnd());
}

TEST_P(Reading, ANumberReadsAsItsDigits) {
    database.Run("INSERT INTO Port VALUES (104, 'PORVANE')");
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Port")->Text("Port"), "104");
}

TEST_P(Reading, SeveralResultsAreReadSideBySideWhileRowsAreWritten) {
    for (int index = 100; index < 300; ++index)
        AddTitle("99SS", std::to_string(index), "Meaning");
    const auto outer = connection->OpenResultSet("SELECT CodeValue FROM StdTitles ORDER BY CodeValue");
    const auto inner = connection->OpenResultSet("SELECT CodeValue FROM StdTitles ORDER BY CodeValue DESC");
    for (int index = 100; index < 300; ++index) {
        ASSERT_EQ(outer->Text("CodeValue"), std::to_string(index));
        ASSERT_EQ(inner->Text("CodeValue"), std::to_string(399 - index));
        connection->OpenResultSet("INSERT INTO Patient (ID) VALUES ('" + std::to_string(index) + "')");
        outer->MoveNext();
        inner->MoveNext();
    }
    EXPECT_TRUE(outer->AtEnd() && inner->AtEnd());
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "200");
}

TEST_P(Reading, AResultAtItsEndLetsOthersWriteAndDropTheTable) {
    AddTitle("99SS", "A", "First");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    titles->MoveNext();
    EXPECT_NO_THROW(database.Run("DROP TABLE StdTitles"));
}

TEST_P(Reading, AFailingStatementBringsTheDriversOwnNumberAndText) {
    const Error error = ErrorOf([&] { connection->OpenResultSet("SELECT * FROM Nowhere"); });
    const int expected = GetParam() == TestDatabase::Engine::Mariadb ? 1146 : 1;
    EXPECT_EQ(error.number, expected) << error.description;
    EXPECT_NE(error.description.find("owhere"), std::string::npos) << error.description;
    EXPECT_EQ(error.description.find('\n'), std::string::npos) << error.description;
}

TEST_P(Reading, AQuoteInAValueFailsTheStatement) {
    EXPECT_THROW(connection->OpenResultSet("SELECT * FROM Patient WHERE PatientName='D'ANGELO'"), Error);
    EXPECT_NO_THROW(connection->OpenResultSet("SELECT * FROM Patient"));
}

TEST_P(Reading, ASecondStatementIsNotRun) {
    AddTitle("99SS", "A", "First");
    ExpectFailure(OdbcFailure::SecondStatement,
                  [&] { connection->OpenResultSet("SELECT * FROM StdTitles; DELETE FROM StdTitles"); });
    EXPECT_EQ(database.Value("SELECT Count(*) FROM StdTitles"), "1");
}

TEST_P(Reading, AReadOnlyResultRefusesChanges) {
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles");
    ExpectFailure(OdbcFailure::ReadOnly, [&] { titles->AddNew(); });
    ExpectFailure(OdbcFailure::ReadOnly, [&] { titles->SetField("CodeValue", "A"); });
    ExpectFailure(OdbcFailure::ReadOnly, [&] { titles->Update(); });
}

} // namespace
} // namespace tavrel
