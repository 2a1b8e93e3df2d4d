#include "platform/odbc/OdbcDatabase.h"
#include "tests/platform/odbc/EngineTest.h"
#include "tests/support/InlineBackground.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

/// A process that keeps its connections and says nothing, until the end of its scope.
class Frozen {
public:
    explicit Frozen(int process) : process_(process) {
        EXPECT_EQ(kill(process_, SIGSTOP), 0);
        while (!Stopped())
            std::this_thread::sleep_for(1ms);
    }
    ~Frozen() { kill(process_, SIGCONT); }
    Frozen(const Frozen&) = delete;
    Frozen& operator=(const Frozen&) = delete;

private:
    /// Each thread stops when it comes to it.
    bool Stopped() const {
        const auto threads = std::filesystem::directory_iterator("/proc/" + std::to_string(process_) + "/task");
        return std::ranges::all_of(threads, [](const auto& thread) {
            std::ifstream file(thread.path() / "stat");
            const std::string stat{std::istreambuf_iterator(file), {}};
            return stat.find(") T ") != std::string::npos;
        });
    }

    int process_;
};

class FrozenServer : public EngineTest {
protected:
    void SetUp() override { impatient->Open(database.ConnectionText()); }

    static int ServersProcess() {
        const char* pid =
            std::getenv(GetParam() == TestDatabase::Engine::Postgresql ? "POSTGRESQL_PID" : "MARIADB_PID");
        return std::stoi(pid ? pid : "");
    }
    /// The process that answers on the connection under test.
    int AnsweringProcess() const {
        if (GetParam() == TestDatabase::Engine::Mariadb)
            return ServersProcess();
        return std::stoi(impatient->OpenResultSet("SELECT pg_backend_pid() AS Pid")->Text("Pid"));
    }
    void ExpectNoAnswer(std::string_view statement) const {
        const auto start = std::chrono::steady_clock::now();
        ExpectFailure(OdbcFailure::NoAnswer, [&] { impatient->OpenResultSet(statement); });
        EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
    }

    test::InlineBackground background;
    OdbcDatabase adapter{{.most = 1s, .meanwhile = &background}};
    std::unique_ptr<Connection> impatient = adapter.NewConnection();
};
INSTANTIATE_TEST_SUITE_P(Engines, FrozenServer,
                         testing::Values(TestDatabase::Engine::Postgresql, TestDatabase::Engine::Mariadb), EngineName);

TEST_P(FrozenServer, IsWaitedForNoLongerThanThePatience) {
    const Frozen server(AnsweringProcess());
    ExpectNoAnswer("SELECT * FROM Patient");
    EXPECT_FALSE(impatient->IsOpen());
}

TEST_P(FrozenServer, IsWaitedForInTheBackgroundWhichSaysSo) {
    const Frozen server(AnsweringProcess());
    ExpectNoAnswer("SELECT * FROM Patient");
    EXPECT_EQ(background.runs, std::vector<std::string>{"Waiting for the catalogue ..."});
}

TEST_P(FrozenServer, AnswersAgainOnceItGoesOn) {
    {
        const Frozen server(AnsweringProcess());
        ExpectNoAnswer("INSERT INTO Patient VALUES ('1', 'A')");
    }
    EXPECT_EQ(impatient->OpenResultSet("SELECT Count(*) AS Patients FROM Patient")->Text("Patients"), "0");
}

TEST_P(FrozenServer, LosesATransactionThatWasBegun) {
    impatient->BeginTransaction();
    impatient->OpenResultSet("INSERT INTO Patient VALUES ('1', 'A')");
    {
        const Frozen server(AnsweringProcess());
        ExpectNoAnswer("INSERT INTO Patient VALUES ('2', 'B')");
        EXPECT_THROW(impatient->Commit(), Error);
    }
    EXPECT_EQ(impatient->OpenResultSet("SELECT Count(*) AS Patients FROM Patient")->Text("Patients"), "0");
}

TEST_P(FrozenServer, TakesNoConnectionAndIsNotWaitedForEither) {
    const auto second = OdbcDatabase({.most = 2s}).NewConnection();
    const auto start = std::chrono::steady_clock::now();
    {
        const Frozen server(ServersProcess());
        ExpectFailure(OdbcFailure::NoAnswer, [&] { second->Open(database.ConnectionText()); });
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
    EXPECT_FALSE(second->IsOpen());
    EXPECT_NO_THROW(second->Open(database.ConnectionText()));
}

TEST_P(FrozenServer, LeavesAResultThatWasReadBeforeClosed) {
    impatient->OpenResultSet("INSERT INTO Patient VALUES ('1', 'A')");
    impatient->OpenResultSet("INSERT INTO Patient VALUES ('2', 'B')");
    const auto patients = impatient->OpenResultSet("SELECT * FROM Patient");
    const Frozen server(AnsweringProcess());
    ExpectNoAnswer("SELECT * FROM Patient");
    ExpectFailure(OdbcFailure::NotConnected, [&] { patients->MoveNext(); });
}

TEST_P(FrozenServer, AQuickAnswerNeedsNoBackground) {
    impatient->OpenResultSet("SELECT * FROM Patient");
    EXPECT_TRUE(background.runs.empty());
}

} // namespace
} // namespace tavrel
