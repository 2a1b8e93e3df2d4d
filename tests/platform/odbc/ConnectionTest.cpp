#include "platform/odbc/OdbcConnection.h"
#include "tests/platform/odbc/EngineTest.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

class Connections : public EngineTest {};
INSTANTIATE_TEST_SUITE_P(Engines, Connections, AllEngines, EngineName);

TEST_P(Connections, AnOpenConnectionSaysSo) {
    EXPECT_TRUE(connection->IsOpen());
    connection->Close();
    EXPECT_FALSE(connection->IsOpen());
}

TEST_P(Connections, AConnectionOpensAgain) {
    connection->Close();
    connection->Open(database.ConnectionText());
    EXPECT_NO_THROW(connection->OpenResultSet("SELECT * FROM SiteData"));
}

TEST_P(Connections, OpeningAnOpenOneIsAnError) {
    ExpectFailure(OdbcFailure::AlreadyConnected, [&] { connection->Open(database.ConnectionText()); });
    EXPECT_TRUE(connection->IsOpen());
}

TEST_P(Connections, OneThatWasBegunAheadIsOpenedByItsOpening) {
    OdbcConnection begun{OdbcPatience{}};
    begun.OpenAhead(database.ConnectionText());
    EXPECT_FALSE(begun.IsOpen());
    begun.Open(database.ConnectionText());
    EXPECT_NO_THROW(begun.OpenResultSet("SELECT * FROM SiteData"));
}

TEST_P(Connections, WhatWasBegunInVainKeepsNoneFromOpening) {
    OdbcConnection begun{OdbcPatience{}};
    begun.OpenAhead("DSN=NoSuchEntry");
    EXPECT_THROW(begun.Open("DSN=NoSuchEntry"), Error);
    begun.OpenAhead("DSN=NoSuchEntry");
    begun.Open(database.ConnectionText());
    EXPECT_NO_THROW(begun.OpenResultSet("SELECT * FROM SiteData"));
}

TEST_P(Connections, OnAClosedOneEveryCallIsAnError) {
    const auto command = connection->NewCommand();
    command->Text("Delete from Report");
    connection->Close();
    ExpectFailure(OdbcFailure::NotConnected, [&] { connection->OpenResultSet("SELECT * FROM SiteData"); });
    ExpectFailure(OdbcFailure::NotConnected, [&] { connection->BeginTransaction(); });
    ExpectFailure(OdbcFailure::NotConnected, [&] { connection->Commit(); });
    ExpectFailure(OdbcFailure::NotConnected, [&] { command->Execute(); });
    EXPECT_NO_THROW(connection->Close());
}

TEST_P(Connections, AResultOfAClosedOneCannotBeReadOn) {
    database.Run("INSERT INTO Patient VALUES ('1', 'A')");
    database.Run("INSERT INTO Patient VALUES ('2', 'B')");
    const auto patients = connection->OpenResultSet("SELECT * FROM Patient");
    connection->Close();
    ExpectFailure(OdbcFailure::NotConnected, [&] { patients->MoveNext(); });
    connection->Open(database.ConnectionText());
    EXPECT_NO_THROW(patients->Close());
}

TEST_P(Connections, AResultOutlivesItsConnection) {
    database.Run("INSERT INTO Patient VALUES ('1', 'A')");
    const auto patients = connection->OpenResultSet("SELECT * FROM Patient");
    connection.reset();
    EXPECT_NO_THROW(patients->MoveNext());
}

TEST_P(Connections, UserAndPasswordOfTheCallAreTaken) {
    connection->Close();
    connection->Open(database.ConnectionText(), "orbenta", "orbenta");
    EXPECT_TRUE(connection->IsOpen());
}

TEST_P(Connections, SeveralThreadsWriteEachOnAConnectionOfItsOwn) {
    constexpr int threads = 4;
    constexpr int rows = 25;
    std::vector<std::jthread> writers;
    writers.reserve(threads);
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back([&, thread] {
            try {
                const auto own = database.Connect();
                for (int row = 0; row < rows; ++row)
                    own->OpenResultSet("INSERT INTO Patient VALUES ('" + std::to_string(thread * rows + row) +
                                       "', 'A')");
            } catch (const Error& error) {
                ADD_FAILURE() << error.description;
            }
        });
    writers.clear();
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), std::to_string(threads * rows));
}

TEST(BegunAhead, IsNoConnectionOfTheServerAnyMoreOnceItIsGivenBack) {
    const TestDatabase database(TestDatabase::Engine::Postgresql);
    const std::string since = database.Value("SELECT CAST(clock_timestamp() AS Varchar)");
    const auto become = [&](const std::string& count) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        const auto later =
            "SELECT Count(*) FROM pg_stat_activity WHERE usename = current_user AND backend_start > '" + since + "'";
        while (database.Value(later) != count && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return database.Value(later) == count;
    };
    OdbcConnection begun{OdbcPatience{}};
    begun.OpenAhead(database.ConnectionText());
    ASSERT_TRUE(become("1"));
    begun.LeaveAhead();
    EXPECT_TRUE(become("0"));
    begun.Open(database.ConnectionText());
    EXPECT_NO_THROW(begun.OpenResultSet("SELECT * FROM SiteData"));
}

TEST(UnknownEntry, IsAnErrorThatNamesIt) {
    const TestDatabase database;
    const auto connection = database.Adapter().NewConnection();
    const Error error = ErrorOf([&] { connection->Open("DSN=Nowhere", "user", "secret"); });
    EXPECT_NE(error.description.find("this account has no ODBC entry \"Nowhere\""), std::string::npos)
        << error.description;
    EXPECT_EQ(error.description.find("secret"), std::string::npos) << error.description;
    EXPECT_FALSE(connection->IsOpen());
}

TEST(DriverThatIsNotThere, IsNamed) {
    const TestDatabase database;
    const auto connection = database.Adapter().NewConnection();
    const Error error = ErrorOf([&] { connection->Open("DRIVER=/lib/nothing.so"); });
    EXPECT_TRUE(error.description.starts_with("The database cannot be opened: ")) << error.description;
    EXPECT_NE(error.description.find("Can't open lib '/lib/nothing.so'"), std::string::npos) << error.description;
}

TEST(WrongPassword, IsTheServersOwnError) {
    const TestDatabase database;
    const auto connection = database.Adapter().NewConnection();
    const Error error = ErrorOf([&] { connection->Open("DSN=DicomFDB_mariadb", "orbenta", "wrong;PORT={1}="); });
    EXPECT_EQ(error.number, 1045);
    EXPECT_NE(error.description.find("Access denied"), std::string::npos) << error.description;
}

} // namespace
} // namespace tavrel
