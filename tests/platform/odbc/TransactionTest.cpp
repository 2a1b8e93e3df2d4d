#include "tests/platform/odbc/EngineTest.h"

#include <chrono>

namespace tavrel {
namespace {

class Transactions : public EngineTest {
protected:
    void SetUp() override { database.Run("INSERT INTO Patient VALUES ('1', 'Before')"); }
    void Rename(const std::string& name) { connection->OpenResultSet("UPDATE Patient SET PatientName='" + name + "'"); }
    void FailAStatement() { EXPECT_THROW(connection->OpenResultSet("INSERT INTO Nowhere VALUES (1)"), Error); }
    /// As every other connection sees it.
    std::string Name() { return database.Value("SELECT PatientName FROM Patient"); }
};
INSTANTIATE_TEST_SUITE_P(Engines, Transactions, AllEngines, EngineName);

TEST_P(Transactions, OthersSeeTheChangesAfterTheCommit) {
    connection->BeginTransaction();
    Rename("After");
    EXPECT_EQ(Name(), "Before");
    connection->Commit();
    EXPECT_EQ(Name(), "After");
}

TEST_P(Transactions, WithoutOneEveryStatementCountsAtOnce) {
    Rename("After");
    EXPECT_EQ(Name(), "After");
}

TEST_P(Transactions, AfterTheCommitEveryStatementCountsAtOnce) {
    connection->BeginTransaction();
    connection->Commit();
    Rename("After");
    EXPECT_EQ(Name(), "After");
}

TEST_P(Transactions, AFailedStatementDropsItsTransactionAndItsLocks) {
    connection->BeginTransaction();
    Rename("Lost");
    FailAStatement();
    EXPECT_NO_THROW(database.Run("UPDATE Patient SET PatientName='Theirs' WHERE PatientName='Before'"));
    EXPECT_EQ(Name(), "Theirs");
}

TEST_P(Transactions, AfterAFailedStatementTheNextOneCountsAtOnce) {
    connection->BeginTransaction();
    FailAStatement();
    Rename("After");
    EXPECT_EQ(Name(), "After");
}

TEST_P(Transactions, AfterAFailedStatementTheCommitIsAnError) {
    connection->BeginTransaction();
    Rename("Lost");
    FailAStatement();
    ExpectFailure(OdbcFailure::NoTransaction, [&] { connection->Commit(); });
    EXPECT_EQ(Name(), "Before");
}

TEST_P(Transactions, ATooLongParameterDropsTheTransactionToo) {
    connection->BeginTransaction();
    Rename("Lost");
    const auto command = connection->NewCommand();
    command->Text("UPDATE Patient SET PatientName=?");
    command->Append({"PatientName", ParameterType::VariableCharacter, 2, "abc"});
    EXPECT_THROW(command->Execute(), Error);
    EXPECT_NO_THROW(database.Run("UPDATE Patient SET PatientName='Theirs'"));
}

TEST_P(Transactions, ALostConflictDropsTheTransactionToo) {
    const auto patient = connection->OpenResultSet("SELECT * FROM Patient", Cursor::Dynamic);
    database.Run("UPDATE Patient SET PatientName='Theirs'");
    connection->BeginTransaction();
    patient->SetField("PatientName", "Mine");
    ExpectFailure(OdbcFailure::RowChangedMeanwhile, [&] { patient->Update(); });
    ExpectFailure(OdbcFailure::NoTransaction, [&] { connection->Commit(); });
}

TEST_P(Transactions, ANewOneDropsTheOneThatWasLeftOpen) {
    connection->BeginTransaction();
    Rename("Lost");
    connection->BeginTransaction();
    connection->OpenResultSet("UPDATE Patient SET ID='2'");
    connection->Commit();
    const std::vector<TestDatabase::Row> expected = {{"2", "Before"}};
    EXPECT_EQ(database.Rows("SELECT * FROM Patient", 2), expected);
}

TEST_P(Transactions, ClosingDropsTheOneThatWasLeftOpen) {
    connection->BeginTransaction();
    Rename("Lost");
    connection->Close();
    EXPECT_NO_THROW(database.Run("UPDATE Patient SET PatientName='Theirs' WHERE PatientName='Before'"));
    EXPECT_EQ(Name(), "Theirs");
}

TEST_P(Transactions, CommittingNothingIsAnError) {
    ExpectFailure(OdbcFailure::NoTransaction, [&] { connection->Commit(); });
}

TEST_P(Transactions, ReadingFirstAndWritingLaterSucceedsBesideAnotherWriter) {
    connection->BeginTransaction();
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
    if (GetParam() != TestDatabase::Engine::Sqlite) // there the other one waits for its turn
        database.Run("INSERT INTO Patient VALUES ('2', 'Theirs')");
    EXPECT_NO_THROW(connection->OpenResultSet("INSERT INTO Patient VALUES ('3', 'Mine')"));
    EXPECT_NO_THROW(connection->Commit());
}

TEST(SqliteTransactions, AnotherWritersLockIsWaitedForAndThenAClearError) {
    const TestDatabase database;
    const auto writer = database.Connect();
    writer->BeginTransaction();
    const auto start = std::chrono::steady_clock::now();
    const Error error = ErrorOf([&] { database.Run("INSERT INTO Patient VALUES ('1', 'Late')"); });
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(error.number, 5);
    EXPECT_NE(error.description.find("database is locked"), std::string::npos) << error.description;
    EXPECT_GE(waited, std::chrono::milliseconds(300));
    EXPECT_LE(waited, std::chrono::seconds(5));
}

TEST(SqliteTransactions, ASecondWriterThatCannotBeginGoesOnWithoutATransaction) {
    const TestDatabase database;
    const auto first = database.Connect();
    const auto second = database.Connect();
    first->BeginTransaction();
    EXPECT_THROW(second->BeginTransaction(), Error);
    first->Commit();
    EXPECT_NO_THROW(second->OpenResultSet("INSERT INTO Patient VALUES ('1', 'Late')"));
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "1");
}

} // namespace
} // namespace tavrel
