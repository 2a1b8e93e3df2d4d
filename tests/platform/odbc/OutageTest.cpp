#include "tests/platform/odbc/EngineTest.h"

#include <csignal>
#include <cstdlib>
#include <string>

namespace tavrel {
namespace {

// These stop a server for good: they run last, in a process of their own.

void Stop(TestDatabase::Engine engine) {
    const char* pid = std::getenv(engine == TestDatabase::Engine::Postgresql ? "POSTGRESQL_PID" : "MARIADB_PID");
    ASSERT_NE(pid, nullptr);
    ASSERT_EQ(kill(std::stoi(pid), engine == TestDatabase::Engine::Postgresql ? SIGQUIT : SIGKILL), 0);
}

class Outage : public EngineTest {};
INSTANTIATE_TEST_SUITE_P(Engines, Outage,
                         testing::Values(TestDatabase::Engine::Postgresql, TestDatabase::Engine::Mariadb), EngineName);

TEST_P(Outage, EveryCallIsAClearErrorAndTheConnectionIsClosed) {
    database.Run("INSERT INTO Patient VALUES ('1', 'A')");
    const auto patients = connection->OpenResultSet("SELECT * FROM Patient", Cursor::Dynamic);
    const auto inTransaction = database.Connect();
    inTransaction->BeginTransaction();
    inTransaction->OpenResultSet("UPDATE Patient SET PatientName='B'");
    Stop(GetParam());

    const Error first = ErrorOf([&] {
        for (int attempt = 0; attempt < 100; ++attempt) // until the stop has taken effect
            connection->OpenResultSet("SELECT * FROM Patient");
    });
    EXPECT_GT(first.description.size(), 20U);
    EXPECT_FALSE(connection->IsOpen());
    const Error second = ErrorOf([&] { connection->OpenResultSet("SELECT * FROM Patient"); });
    EXPECT_NE(second.description.find("(DSN=DicomFDB_"), std::string::npos) << second.description;

    patients->SetField("PatientName", "C");
    EXPECT_THROW(patients->Update(), Error);
    EXPECT_THROW(inTransaction->OpenResultSet("UPDATE Patient SET PatientName='B'"), Error);
    EXPECT_THROW(inTransaction->Commit(), Error);
    EXPECT_THROW(connection->Open(database.ConnectionText()), Error);
    EXPECT_FALSE(connection->IsOpen());
}

} // namespace
} // namespace tavrel
