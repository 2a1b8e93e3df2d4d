#include "platform/error.h"
#include "suite/porvane/ObjectCatalogue.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>

namespace tavrel {
namespace {

/// A server that fails the storage service, each test on the servers of tests/support/engines.
class ServerOutage : public testing::TestWithParam<const char*> {
protected:
    bool OnPostgresql() const { return std::string(GetParam()) == "postgresql"; }
    std::string DataSource() const { return std::string("DicomFDB_") + GetParam(); }

    /// Every connection but the test's own is ended by the server, as a restart does.
    void EndConnections() {
        if (OnPostgresql())
            return room.Run("SELECT pg_terminate_backend(pid, 5000) FROM pg_stat_activity"
                            " WHERE pid <> pg_backend_pid() AND usename = current_user");
        for (const auto& id : room.Column("SELECT id FROM information_schema.processlist WHERE id <> connection_id()"))
            room.Run("KILL " + id);
    }

    SuiteRoom room{DataSource()};
};

TEST_P(ServerOutage, ARestartCostsTheServiceNoObject) {
    const auto service = room.StartService();
    EXPECT_EQ(TestObject().Numbered(1).Send(room), Stored);
    EndConnections();
    EXPECT_EQ(TestObject().Numbered(2).Send(room), Stored) << room.ServiceLog();
    EXPECT_EQ(room.Count("Image"), "2");
}

/// Lets every commit take some seconds.
class SlowCommits {
public:
    SlowCommits(SuiteRoom& room, bool postgresql) : room_(room), postgresql_(postgresql) {
        if (!postgresql_) {
            client_ = std::make_unique<Child>(
                std::vector<std::string>{
                    "bash", "-c", "exec " + Client("BACKUP STAGE START; BACKUP STAGE BLOCK_COMMIT; SELECT SLEEP(6)")},
                (room_.Folder() / "backup.log").string());
            Eventually([&] {
                return RunShell(Client("SELECT state FROM information_schema.processlist")).out.find("User sleep") !=
                       std::string::npos;
            });
            return;
        }
        room_.Run("CREATE FUNCTION Slowly() RETURNS trigger LANGUAGE plpgsql AS"
                  " $$ BEGIN PERFORM pg_sleep(6); RETURN NULL; END $$");
        room_.Run("CREATE CONSTRAINT TRIGGER Slow AFTER INSERT ON Image DEFERRABLE INITIALLY DEFERRED"
                  " FOR EACH ROW EXECUTE FUNCTION Slowly()");
    }
    ~SlowCommits() {
        if (postgresql_)
            room_.Run("DROP FUNCTION Slowly CASCADE");
    }
    SlowCommits(const SlowCommits&) = delete;
    SlowCommits& operator=(const SlowCommits&) = delete;

    bool UnderWay() {
        return room_.Value(postgresql_ ? "SELECT count(*) FROM pg_stat_activity WHERE wait_event = 'PgSleep'"
                                       : "SELECT count(*) FROM information_schema.processlist"
                                         " WHERE state LIKE 'Waiting for backup lock%'") != "0";
    }

private:
    /// Of the administrator.
    static std::string Client(const std::string& statements) {
        return "mariadb --no-defaults --user=root --socket=$ENGINES_FOLDER/mysql/socket -e \"" + statements + "\"";
    }

    SuiteRoom& room_;
    bool postgresql_;
    std::unique_ptr<Child> client_;
};

TEST_P(ServerOutage, ACommitThatOutlivesItsServiceLeavesNoRowWithoutItsFile) {
    auto service = room.StartService();
    {
        SlowCommits slow(room, OnPostgresql());
        auto sent = std::async(std::launch::async, [&] { return TestObject().Send(room); });
        ASSERT_TRUE(Eventually([&] { return slow.UnderWay(); }));
        service->Signal(SIGKILL);
        service->Wait();
        EXPECT_NE(sent.get(), Stored);
        service = room.StartService();
        ASSERT_TRUE(Listens(room.Port())) << room.ServiceLog();
        Eventually([&] { return !slow.UnderWay(); });
    }
    EXPECT_EQ(std::to_string(room.StoredFiles().size()), room.Count("Image"));
    EXPECT_EQ(TestObject().Send(room), Stored) << room.ServiceLog();
    EXPECT_EQ(room.Count("Image"), "1");
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

class FormerTransaction : public ServerOutage {
protected:
    void SetUp() override {
        former.OfArea(1);
        former.Open();
        header.patientId = "1";
        header.studyUid = "2.999.1";
        header.seriesUid = "2.999.2";
        header.sopInstanceUid = "2.999.3";
        former.Begin();
        former.Add(header, place, {}, 0);
    }
    /// Another service, or the same one again, which finds a note.
    bool Judge(std::uint32_t area) {
        ObjectCatalogue later(database, DataSource());
        later.OfArea(area);
        later.Open();
        later.EndFormerTransaction(area);
        return later.Holds(place);
    }

    OdbcDatabase database;
    ObjectCatalogue former{database, DataSource()};
    ObjectHeader header;
    ObjectPlace place{"\\studies\\2.999.1", "2.999.2", "img_000001.dcm"};
};

TEST_P(FormerTransaction, CanNoLongerBeCommittedOnceItsNoteWasJudged) {
    EXPECT_FALSE(Judge(1));
    EXPECT_THROW(former.Commit(), Error);
    EXPECT_EQ(room.Count("Image"), "0");
}

TEST_P(FormerTransaction, OfAnotherAreaIsLeftAlone) {
    EXPECT_FALSE(Judge(2));
    EXPECT_NO_THROW(former.Commit());
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_P(FormerTransaction, ThatWasCommittedIsFound) {
    former.Commit();
    EXPECT_TRUE(Judge(1));
}

INSTANTIATE_TEST_SUITE_P(Suite, ServerOutage, testing::Values("postgresql", "mariadb"), EngineName);
INSTANTIATE_TEST_SUITE_P(Suite, FormerTransaction, testing::Values("postgresql", "mariadb"), EngineName);

} // namespace
} // namespace tavrel
