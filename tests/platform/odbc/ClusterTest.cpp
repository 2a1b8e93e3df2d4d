#include "tests/platform/odbc/EngineTest.h"
#include "tests/support/Shell.h"

#include <chrono>
#include <future>
#include <thread>

namespace tavrel {
namespace {

/// Beside tests/support/clusters. Each test ends with all nodes at work again.
class Cluster : public EngineTest {
protected:
    void SetUp() override { database.Run("INSERT INTO Patient VALUES ('1', 'Before')"); }

    bool OnPostgresql() const { return GetParam() == TestDatabase::Engine::Postgresql; }

    static void Node(const std::string& action, const std::string& name) {
        const Outcome outcome = RunShell("$CLUSTER_NODE " + action + " " + name);
        ASSERT_EQ(outcome.status, 0) << action << " " << name << ": " << outcome.err;
    }

    /// The node that everybody asks.
    std::string First() {
        if (!OnPostgresql())
            return database.Value("SELECT @@wsrep_node_name");
        return database.Value("SELECT host(inet_server_addr())") == "127.0.0.21" ? "postgresql-1" : "postgresql-2";
    }

    /// The node is gone; its successor on PostgreSQL is told so, as what watches over a site's cluster does.
    void Kill(const std::string& node) {
        gone_ = node;
        Node("kill", node);
        if (OnPostgresql())
            Node("promote", node == "postgresql-1" ? "postgresql-2" : "postgresql-1");
    }

    void TearDown() override {
        if (!gone_.empty())
            Node("start", gone_);
    }

    void Rename(const std::string& name) { connection->OpenResultSet("UPDATE Patient SET PatientName='" + name + "'"); }
    std::string Name() const { return database.Value("SELECT PatientName FROM Patient"); }

private:
    std::string gone_;
};
INSTANTIATE_TEST_SUITE_P(Engines, Cluster,
                         testing::Values(TestDatabase::Engine::Postgresql, TestDatabase::Engine::Mariadb), EngineName);

TEST_P(Cluster, AnswersAQueryThoughItsFirstNodeIsKilled) {
    const std::string first = First();
    Kill(first);
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
    EXPECT_NE(First(), first);
}

TEST_P(Cluster, KeepsEveryChangeThatItsFirstNodeHasAnswered) {
    for (int patient = 2; patient <= 50; ++patient)
        connection->OpenResultSet("INSERT INTO Patient VALUES ('" + std::to_string(patient) + "', 'Answered')");
    Kill(First());
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "50");
}

TEST_P(Cluster, MakesAChangeOnceAfterItsFirstNodeIsKilled) {
    Kill(First());
    connection->OpenResultSet("INSERT INTO Patient VALUES ('2', 'New')");
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "2");
}

TEST_P(Cluster, LosesATransactionWithItsFirstNodeAndBeginsAnother) {
    connection->BeginTransaction();
    Rename("Lost");
    Kill(First());
    EXPECT_THROW(connection->Commit(), Error);
    connection->BeginTransaction();
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
    Rename("After");
    connection->Commit();
    EXPECT_EQ(Name(), "After");
}

TEST_P(Cluster, AnswersThoughItsFirstNodeIsFrozen) {
    const std::string first = First();
    Node("freeze", first);
    if (OnPostgresql())
        Kill(first); // which is what takes its changes from a primary that hangs
    EXPECT_EQ(connection->OpenResultSet("SELECT * FROM Patient")->Text("PatientName"), "Before");
    Node("go-on", first);
}

TEST(StandbyOfPostgresql, IsLeftForTheNodeThatTakesChanges) {
    const TestDatabase database(TestDatabase::Engine::Postgresql);
    const auto connection = database.Connect();
    connection->OpenResultSet("SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY"); // as a former primary says
    connection->OpenResultSet("INSERT INTO Patient VALUES ('2', 'New')");
    EXPECT_EQ(database.Value("SELECT Count(*) FROM Patient"), "1");
}

class Galera : public Cluster {
protected:
    /// A connection to a node that is not the one which everybody asks.
    std::unique_ptr<Connection> Elsewhere() {
        auto elsewhere = database.Adapter().NewConnection();
        elsewhere->Open(First() == "galera-2" ? "DSN=DicomFDB_galera-3" : "DSN=DicomFDB_galera-2");
        return elsewhere;
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, Galera, testing::Values(TestDatabase::Engine::Mariadb), EngineName);

TEST_P(Galera, AnswersElsewhereWithAllThatWasCommitted) {
    const auto elsewhere = Elsewhere();
    for (int patient = 2; patient <= 200; ++patient) {
        connection->OpenResultSet("INSERT INTO Patient VALUES ('" + std::to_string(patient) + "', 'New')");
        ASSERT_EQ(elsewhere->OpenResultSet("SELECT Count(*) AS Found FROM Patient")->Text("Found"),
                  std::to_string(patient));
    }
}

TEST_P(Galera, MakesAChangeThatGaveWayToAnotherNodes) {
    auto slow = std::async(std::launch::async, [&] {
        connection->OpenResultSet("UPDATE Patient SET PatientName=CONCAT(PatientName, ' and slow') WHERE SLEEP(2)=0");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    Elsewhere()->OpenResultSet("UPDATE Patient SET PatientName='Quick'");
    EXPECT_NO_THROW(slow.get());
    EXPECT_EQ(Name(), "Quick and slow");
}

TEST_P(Galera, SaysThatATransactionGaveWayToAnotherNodes) {
    connection->BeginTransaction();
    Rename("Slow");
    Elsewhere()->OpenResultSet("UPDATE Patient SET PatientName='Quick'");
    EXPECT_EQ(ErrorOf([&] { connection->Commit(); }).number, 1213);
    EXPECT_EQ(Name(), "Quick");
}

TEST_P(Galera, WaitsForAMajority) {
    const std::string first = First();
    const std::string second = first == "galera-2" ? "galera-1" : "galera-2";
    const std::string third = first == "galera-3" ? "galera-1" : "galera-3";
    Node("kill", second);
    Node("kill", third);
    auto back = std::async(std::launch::async, [&] {
        std::this_thread::sleep_for(std::chrono::seconds(5));
        auto other = std::async(std::launch::async, [&] { Node("start", second); });
        Node("start", third); // neither has a majority without the other
    });
    std::this_thread::sleep_for(std::chrono::seconds(4)); // until the first one knows itself alone
    Rename("After");
    back.get();
    EXPECT_EQ(Name(), "After");
}

} // namespace
} // namespace tavrel
