#include "tests/platform/odbc/EngineTest.h"

#include <chrono>
#include <future>
#include <thread>

namespace tavrel {
namespace {

/// Every connection but the test's own is ended by its server, as a restart does.
class Reconnecting : public EngineTest {
protected:
    void SetUp() override { database.Run("INSERT INTO Patient VALUES ('1', 'Before')"); }

    void EndConnections() const {
        if (GetParam() == TestDatabase::Engine::Postgresql) {
            database.Run("SELECT pg_terminate_backend(pid, 5000) FROM pg_stat_activity"
                         " WHERE pid <> pg_backend_pid() AND usename = current_user");
            return;
        }
        for (const auto& row :
             database.Rows("SELECT id FROM information_schema.processlist WHERE id <> connection_id()", 1))
            database.Run("KILL " + *row[0]);
    }
    void Rename(const std::string& name) { connection->OpenResultSet("UPDATE Patient SET PatientName='" + name + "'"); }
    std::string Name() const { return database.Value("SELECT PatientName FROM Patient"); }
};
INSTANTIATE_TEST_SUITE_P(Engines, Reconnecting,
                         testing::Values(TestDatabase::Engine::Postgresql, TestDatabase::Engine::Mariadb), EngineName);

TEST_P(Reconnecting, AQueryIsAnsweredAsIfNothingHadBeen) {
    EndConnections();
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
    EndConnections();
    EXPECT_EQ(connection->OpenResultSet(" select * FROM Patient")->Text("PatientName"), "Before");
}

TEST_P(Reconnecting, AChangeIsMade) {
    EndConnections();
    connection->OpenResultSet("INSERT INTO Patient VALUES ('2', 'New')");
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "2");
}

TEST_P(Reconnecting, ACommandIsRun) {
    const auto command = connection->NewCommand();
    command->Text("UPDATE Patient SET PatientName=?");
    command->Append({"PatientName", ParameterType::VariableCharacter, 10, "After"});
    EndConnections();
    command->Execute();
    EXPECT_EQ(Name(), "After");
}

TEST_P(Reconnecting, ATransactionBeginsOnANewConnection) {
    EndConnections();
    connection->BeginTransaction();
    Rename("After");
    connection->Commit();
    EXPECT_EQ(Name(), "After");
}

TEST_P(Reconnecting, ARowThatWasReadBeforeIsStored) {
    const auto patient = connection->OpenResultSet("SELECT * FROM Patient", Cursor::Dynamic);
    EndConnections();
    patient->SetField("PatientName", "After");
    patient->Update();
    EXPECT_EQ(Name(), "After");
}

TEST_P(Reconnecting, ATransactionThatWasBegunIsLostAndSaysSo) {
    connection->BeginTransaction();
    Rename("Lost");
    EndConnections();
    EXPECT_THROW(connection->OpenResultSet("SELECT * FROM Patient"), Error);
    EXPECT_THROW(connection->Commit(), Error);
    EXPECT_EQ(Name(), "Before");
}

TEST_P(Reconnecting, AChangeThatWasUnderWayIsNotMadeAgain) {
    const std::string slowly =
        GetParam() == TestDatabase::Engine::Postgresql ? "pg_sleep(2) IS NOT NULL" : "SLEEP(2) = 0";
    auto change = std::async(std::launch::async, [&] {
        connection->OpenResultSet("UPDATE Patient SET PatientName='Changed' WHERE " + slowly);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EndConnections();
    EXPECT_THROW(change.get(), Error);
    EXPECT_EQ(Name(), "Before");
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
}

TEST_P(Reconnecting, AConnectionThatWasClosedStaysClosed) {
    connection->Close();
    ExpectFailure(OdbcFailure::NotConnected, [&] { connection->OpenResultSet("SELECT * FROM Patient"); });
}

} // namespace
} // namespace tavrel
