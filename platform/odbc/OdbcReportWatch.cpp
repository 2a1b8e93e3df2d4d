#include "platform/odbc/OdbcReportWatch.h"

#include "platform/error.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/sql.h"

#include <charconv>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace tavrel {
namespace {

struct Found {
    WatchedReport report;
    std::string newest;
    bool operator==(const Found&) const = default;
};

int NumberIn(const ResultSet& row, std::string_view field) {
    const std::string_view text = row.Field(field).value_or("0");
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Nothing, too, in a catalogue that was made before there was an archive.
std::optional<int> Archived(Connection& connection, const std::string& seriesUid) try {
    const auto row = connection.OpenResultSet(
        "SELECT COUNT(*) AS Queued, COALESCE(SUM(CASE WHEN State='committed' THEN 1 ELSE 0 END), 0) AS Archived "
        "FROM Outgoing WHERE SeriesInstanceUID=" +
        Quoted(seriesUid));
    return NumberIn(*row, "Queued") == 0 ? std::nullopt : std::optional(NumberIn(*row, "Archived"));
} catch (const Error&) {
    return std::nullopt;
}

/// Nothing when there is none, or while the catalogue is away.
std::optional<Found> Ask(std::unique_ptr<Connection>& connection, const std::string& connectionText,
                         const std::string& seriesUid) try {
    if (!connection) {
        connection = OdbcDatabase().NewConnection();
        connection->Open(connectionText);
    }
    const auto row = connection->OpenResultSet(
        "SELECT COUNT(*) AS Versions, MAX(ImageID) AS Newest, MAX(ImageFile) AS LastFile FROM Image "
        "WHERE SeriesInstanceUID=" +
        Quoted(seriesUid));
    const auto text = [&](std::string_view field) { return std::string(row->Field(field).value_or("")); };
    Found found{{.versions = NumberIn(*row, "Versions"), .lastFile = text("LastFile")}, text("Newest")};
    if (found.report.lastFile.empty())
        return std::nullopt;
    found.report.archived = Archived(*connection, seriesUid);
    return found;
} catch (const Error&) {
    connection.reset();
    return std::nullopt;
}

} // namespace

struct OdbcReportWatch::Shared {
    const std::string connectionText;
    const Post post;
    const std::chrono::milliseconds pause;

    std::mutex guard; ///< of all that follows
    std::condition_variable changed;
    std::string seriesUid; ///< empty while nothing is watched
    int watch = 0;         ///< which it is; a former one's news are dropped
    Changed tell;
    bool ending = false;
    bool ended = false;
};

OdbcReportWatch::OdbcReportWatch(std::string connectionText, Post post, std::chrono::milliseconds pause)
    : shared_(new Shared{std::move(connectionText), std::move(post), pause, {}, {}, {}, 0, {}, false, false}) {}

OdbcReportWatch::~OdbcReportWatch() {
    constexpr std::chrono::seconds patience{1};
    std::unique_lock lock(shared_->guard);
    shared_->ending = true;
    ++shared_->watch;
    shared_->tell = {};
    shared_->changed.notify_all();
    if (running_)
        shared_->changed.wait_for(lock, patience, [this] { return shared_->ended; });
}

void OdbcReportWatch::Watch(const std::string& seriesUid, Changed changed) {
    const std::lock_guard lock(shared_->guard);
    ++shared_->watch;
    shared_->seriesUid = seriesUid;
    shared_->tell = std::move(changed);
    shared_->changed.notify_all();
    // Left alone at the end, as the drivers' calls are: a server that is silent keeps it.
    if (!std::exchange(running_, true))
        std::thread([shared = shared_] { Run(shared); }).detach();
}

void OdbcReportWatch::Stop() {
    Watch({}, {});
}

void OdbcReportWatch::Run(const std::shared_ptr<Shared>& shared) {
    std::unique_ptr<Connection> connection;
    std::optional<Found> known;
    int watch = -1;
    std::unique_lock lock(shared->guard);
    while (!shared->ending) {
        if (std::exchange(watch, shared->watch) != shared->watch)
            known.reset();
        if (const std::string seriesUid = shared->seriesUid; !seriesUid.empty()) {
            lock.unlock();
            const auto now = Ask(connection, shared->connectionText, seriesUid);
            lock.lock();
            if (now && watch == shared->watch && now != known) {
                known = now;
                shared->post([shared, watch, report = now->report] {
                    std::unique_lock guard(shared->guard);
                    if (watch != shared->watch)
                        return;
                    const auto tell = shared->tell; // it may end the watch
                    guard.unlock();
                    tell(report);
                });
            }
        }
        shared->changed.wait_for(lock, shared->pause, [&] { return shared->ending || watch != shared->watch; });
    }
    lock.unlock();
    connection.reset();
    lock.lock();
    shared->ended = true;
    shared->changed.notify_all();
}

} // namespace tavrel
