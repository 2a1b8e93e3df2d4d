#include "tests/platform/odbc/EngineTest.h"

namespace tavrel {
namespace {

class Changing : public EngineTest {
protected:
    void SetUp() override { database.Run("INSERT INTO StdTitles VALUES ('99SS', 'X', 'Old')"); }
    std::unique_ptr<ResultSet> Find(const std::string& code) {
        return connection->OpenResultSet(" SELECT * from StdTitles WHERE CodeValue = '" + code + " ' ",
                                         Cursor::Dynamic);
    }
    std::string MeaningOf(const std::string& code) {
        return database.Value("SELECT CodeMeaning FROM StdTitles WHERE CodeValue = '" + code + "'");
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Changing, AllEngines, EngineName);

TEST_P(Changing, AChangeStatementYieldsAResultAtItsEnd) {
    const auto result = connection->OpenResultSet("UPDATE StdTitles SET CodeMeaning='New' WHERE CodeValue='X'");
    EXPECT_TRUE(result->AtEnd());
    EXPECT_TRUE(result->AtBeginning());
    EXPECT_EQ(MeaningOf("X"), "New");
}

TEST_P(Changing, NoRowToChangeIsNoError) {
    for (const char* statement : {"UPDATE StdTitles SET CodeMeaning='New' WHERE CodeValue='Y'",
                                  " DELETE from StdTitles WHERE CodeValue = 'Y ' ",
                                  "INSERT INTO StdTitles SELECT * FROM StdTitles WHERE CodeValue = 'Y'"})
        for (Cursor cursor : {Cursor::ForwardOnly, Cursor::Dynamic})
            EXPECT_TRUE(connection->OpenResultSet(statement, cursor)->AtEnd()) << statement;
}

TEST_P(Changing, ADeleteThroughADynamicResultRemovesTheRow) {
    connection->OpenResultSet(" DELETE from StdTitles WHERE CodeValue = 'X ' ", Cursor::Dynamic);
    EXPECT_EQ(database.Value("SELECT Count(*) FROM StdTitles"), "0");
}

TEST_P(Changing, ARowIsAddedThroughAnEmptyResult) {
    const auto titles = Find("N");
    ASSERT_TRUE(titles->AtBeginning() && titles->AtEnd());
    titles->AddNew();
    titles->SetField("CodeValue", "n'é€😀");
    titles->SetField("CodeScheme", "99SS");
    titles->SetField("CodeMeaning", "It's new");
    titles->Update();
    EXPECT_EQ(MeaningOf("n''é€😀"), "It's new");
}

TEST_P(Changing, AnAddedRowIsTheCurrentOne) {
    const auto titles = Find("N");
    titles->AddNew();
    titles->SetField("CodeValue", "N");
    titles->Update();
    EXPECT_EQ(titles->Text("CodeValue"), "N");
    EXPECT_EQ(titles->Field("CodeMeaning"), std::nullopt);
    titles->SetField("CodeMeaning", "Later");
    titles->Update();
    EXPECT_EQ(MeaningOf("N"), "Later");
}

TEST_P(Changing, ARowIsChanged) {
    const auto titles = Find("X");
    titles->SetField("CodeValue", "X");
    titles->SetField("CodeScheme", "");
    titles->SetField("CodeMeaning", "New");
    titles->Update();
    const std::vector<TestDatabase::Row> expected = {{"", "X", "New"}};
    EXPECT_EQ(database.Rows("SELECT * FROM StdTitles", 3), expected);
}

TEST_P(Changing, AChangeToTheSameValuesIsNoConflict) {
    const auto titles = Find("X");
    titles->SetField("CodeMeaning", "Old");
    EXPECT_NO_THROW(titles->Update());
}

TEST_P(Changing, ARowWithNullsAndNumbersIsChanged) {
    database.Run("INSERT INTO Series (SeriesInstanceUID, SeriesNumber) VALUES ('1.2', 7)");
    const auto series = connection->OpenResultSet("SELECT * FROM Series", Cursor::Dynamic);
    series->SetField("SeriesStatus", "VIEWED");
    series->SetField("SeriesNumber", "8");
    series->Update();
    const std::vector<TestDatabase::Row> expected = {{"VIEWED", "8", std::nullopt}};
    EXPECT_EQ(database.Rows("SELECT SeriesStatus, SeriesNumber, SeriesDir FROM Series", 3), expected);
}

TEST_P(Changing, OneRowOfSeveralIsChanged) {
    database.Run("INSERT INTO StdTitles VALUES ('99SS', 'Y', 'Other')");
    const auto titles = connection->OpenResultSet("SELECT * FROM StdTitles ORDER BY CodeValue", Cursor::Dynamic);
    titles->MoveNext();
    titles->SetField("CodeMeaning", "New");
    titles->Update();
    EXPECT_EQ(MeaningOf("X") + MeaningOf("Y"), "OldNew");
}

TEST_P(Changing, OneRowOfEqualOnesIsChangedAtATime) {
    database.Run("INSERT INTO StdTitles VALUES ('99SS', 'X', 'Old')");
    for (const char* expected : {"1", "2"}) {
        const auto titles =
            connection->OpenResultSet("SELECT * FROM StdTitles WHERE CodeMeaning='Old'", Cursor::Dynamic);
        titles->SetField("CodeMeaning", "New");
        titles->Update();
        EXPECT_EQ(database.Value("SELECT Count(*) FROM StdTitles WHERE CodeMeaning='New'"), expected);
    }
}

TEST_P(Changing, OneRowOfEqualOnesWithNullsIsChanged) {
    database.Run("UPDATE StdTitles SET CodeScheme=NULL");
    database.Run("INSERT INTO StdTitles VALUES (NULL, 'X', 'Old')");
    const auto titles = Find("X");
    titles->SetField("CodeMeaning", "New");
    titles->Update();
    EXPECT_EQ(database.Value("SELECT Count(*) FROM StdTitles WHERE CodeMeaning='New'"), "1");
}

TEST_P(Changing, ARowThatAnotherWriterChangedIsAnErrorAndStaysTheirs) {
    const auto titles = Find("X");
    database.Run("UPDATE StdTitles SET CodeMeaning='Theirs' WHERE CodeValue='X'");
    titles->SetField("CodeMeaning", "Mine");
    ExpectFailure(OdbcFailure::RowChangedMeanwhile, [&] { titles->Update(); });
    EXPECT_EQ(MeaningOf("X"), "Theirs");
}

TEST_P(Changing, ARowThatAnotherWriterSetToNullIsAnError) {
    const auto titles = Find("X");
    database.Run("UPDATE StdTitles SET CodeScheme=NULL");
    titles->SetField("CodeMeaning", "Mine");
    ExpectFailure(OdbcFailure::RowChangedMeanwhile, [&] { titles->Update(); });
}

TEST_P(Changing, ARowThatAnotherWriterDeletedIsAnError) {
    const auto titles = Find("X");
    database.Run("DELETE FROM StdTitles");
    titles->SetField("CodeMeaning", "Mine");
    ExpectFailure(OdbcFailure::RowChangedMeanwhile, [&] { titles->Update(); });
    EXPECT_EQ(database.Value("SELECT Count(*) FROM StdTitles"), "0");
}

TEST_P(Changing, ALongTextIsChanged) {
    database.Run("INSERT INTO Report (Reading) VALUES ('" + std::string(3000, 'x') + "')");
    const auto report = connection->OpenResultSet("SELECT * FROM Report", Cursor::Dynamic);
    const std::string text(20000, 'y');
    report->SetField("Reading", text);
    report->Update();
    EXPECT_EQ(database.Value("SELECT Reading FROM Report"), text);
}

TEST_P(Changing, AnOpenDynamicResultLocksNothing) {
    const auto titles = Find("X");
    EXPECT_NO_THROW(database.Run("DROP TABLE StdTitles"));
}

TEST_P(Changing, AValueThatTheColumnRefusesIsTheDriversError) {
    const auto ports = connection->OpenResultSet("SELECT * FROM Port", Cursor::Dynamic);
    database.Run("DROP TABLE Port");
    ports->AddNew();
    ports->SetField("Port", "104");
    EXPECT_THROW(ports->Update(), Error);
}

TEST_P(Changing, RowsOfTwoTablesCannotBeChanged) {
    database.Run("INSERT INTO SiteData VALUES ('1.2', 'Hospital')");
    const auto rows = connection->OpenResultSet("SELECT * FROM StdTitles, SiteData", Cursor::Dynamic);
    rows->SetField("CodeMeaning", "New");
    ExpectFailure(OdbcFailure::ReadOnly, [&] { rows->Update(); });
}

TEST_P(Changing, SettingAFieldWithoutARowIsAnError) {
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { Find("N")->SetField("CodeMeaning", "New"); });
}

TEST_P(Changing, StoringNothingIsAnError) {
    ExpectFailure(OdbcFailure::NoCurrentRow, [&] { Find("X")->Update(); });
}

} // namespace
} // namespace tavrel
