#include "platform/odbc/OdbcReportWatch.h"

#include "tests/platform/odbc/EngineTest.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tavrel {
namespace {

using std::chrono::milliseconds;
using Files = std::vector<std::string>;

/// The user-interface thread, which does what it is given when a test says so.
class Desk {
public:
    OdbcReportWatch::Post Post() {
        return [this](std::function<void()> act) {
            const std::lock_guard lock(guard_);
            acts_.push_back(std::move(act));
            came_.notify_all();
        };
    }
    /// Whether there was something to do within that time.
    bool DoNext(milliseconds patience) {
        std::unique_lock lock(guard_);
        if (!came_.wait_for(lock, patience, [this] { return !acts_.empty(); }))
            return false;
        const auto act = std::move(acts_.front());
        acts_.pop_front();
        lock.unlock();
        act();
        return true;
    }

private:
    std::mutex guard_;
    std::condition_variable came_;
    std::deque<std::function<void()>> acts_;
};

/// A catalogue with one version of the report "1.2.3".
class AWatchedReport : public EngineTest {
protected:
    void SetUp() override {
        const char* number = GetParam() == TestDatabase::Engine::Sqlite       ? "INTEGER PRIMARY KEY"
                             : GetParam() == TestDatabase::Engine::Postgresql ? "SERIAL PRIMARY KEY"
                                                                              : "INTEGER AUTO_INCREMENT PRIMARY KEY";
        database.Run("DROP TABLE IF EXISTS Image");
        database.Run(std::string("CREATE TABLE Image (ImageID ") + number +
                     ", SeriesInstanceUID VARCHAR(64), ImageFile VARCHAR(255))");
        Store("img_000001.dcm");
    }
    void TearDown() override {
        database.Run("DROP TABLE IF EXISTS Image");
        database.Run("DROP TABLE IF EXISTS Outgoing");
    }

    void Queue(const std::string& state) const {
        database.Run("CREATE TABLE IF NOT EXISTS Outgoing (SeriesInstanceUID VARCHAR(64), State VARCHAR(16))");
        database.Run("INSERT INTO Outgoing (SeriesInstanceUID, State) VALUES ('1.2.3', '" + state + "')");
    }

    void Store(const std::string& file, const std::string& series = "1.2.3") const {
        database.Run("INSERT INTO Image (SeriesInstanceUID, ImageFile) VALUES ('" + series + "', '" + file + "')");
    }
    void Watch(const std::string& series = "1.2.3") {
        watch.Watch(series, [this](const WatchedReport& report) {
            told.push_back(report.lastFile);
            last = report;
        });
    }

    Desk desk;
    Files told;
    WatchedReport last;
    OdbcReportWatch watch{database.ConnectionText(), desk.Post(), milliseconds(20)};
    static constexpr milliseconds Soon{5000}, AWhile{200};
};
INSTANTIATE_TEST_SUITE_P(Engines, AWatchedReport, AllEngines, EngineName);

TEST_P(AWatchedReport, IsToldAtFirstAndWhenAVersionCame) {
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    Store("img_000002.dcm");
    ASSERT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(told, (Files{"img_000001.dcm", "img_000002.dcm"}));
}

TEST_P(AWatchedReport, IsNotSaidToBeArchivedWhereThereIsNoQueue) {
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(last, (WatchedReport{.versions = 1, .lastFile = "img_000001.dcm"}));
}

TEST_P(AWatchedReport, IsToldHowManyVersionsAreArchived) {
    Store("img_000002.dcm");
    Queue("committed");
    Queue("sent"); // which is not archived yet
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(last.archived, 1);
    database.Run("UPDATE Outgoing SET State='committed'");
    ASSERT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(last, (WatchedReport{.versions = 2, .lastFile = "img_000002.dcm", .archived = 2}));
}

TEST_P(AWatchedReport, IsToldNothingWhileNothingChanges) {
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    Store("img_000001.dcm", "1.2.4");
    EXPECT_FALSE(desk.DoNext(AWhile));
}

TEST_P(AWatchedReport, IsToldNothingWhileItHasNoVersion) {
    Watch("1.2.5");
    EXPECT_FALSE(desk.DoNext(AWhile));
    Store("img_000001.dcm", "1.2.5");
    EXPECT_TRUE(desk.DoNext(Soon));
}

TEST_P(AWatchedReport, IsToldNoMoreOfTheOneBefore) {
    Watch("1.2.3");
    ASSERT_TRUE(desk.DoNext(Soon));
    Store("img_000002.dcm");
    std::this_thread::sleep_for(AWhile); // posted, and not yet done
    Watch("1.2.4");
    desk.DoNext(AWhile);
    EXPECT_EQ(told, Files{"img_000001.dcm"});
}

TEST_P(AWatchedReport, IsToldNothingOnceTheWatchStops) {
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    watch.Stop();
    Store("img_000002.dcm");
    EXPECT_FALSE(desk.DoNext(AWhile));
}

TEST_P(AWatchedReport, IsToldAgainOnceTheCatalogueIsBack) {
    Watch();
    ASSERT_TRUE(desk.DoNext(Soon));
    database.Run("ALTER TABLE Image RENAME TO Away");
    EXPECT_FALSE(desk.DoNext(AWhile));
    database.Run("ALTER TABLE Away RENAME TO Image");
    Store("img_000002.dcm");
    ASSERT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(told.back(), "img_000002.dcm");
}

TEST_P(AWatchedReport, ToldWhileItIsNoLongerWatchedDoesNothing) {
    {
        OdbcReportWatch gone(database.ConnectionText(), desk.Post(), milliseconds(20));
        gone.Watch("1.2.3", [this](const WatchedReport& report) { told.push_back(report.lastFile); });
        std::this_thread::sleep_for(AWhile);
    }
    EXPECT_TRUE(desk.DoNext(Soon));
    EXPECT_EQ(told, Files{});
}

} // namespace
} // namespace tavrel
