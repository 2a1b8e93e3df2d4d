#include "suite/porvane/forwarding/OutgoingQueue.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/paths.h"
#include "platform/sql.h"
#include "platform/text.h"
#include "suite/catalogue/Rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace tavrel {
namespace {

using std::chrono::seconds;

constexpr seconds FirstPause{2};
constexpr seconds LongestPause{300};

/// A report's own order and who comes before whom, by the SOP class.
constexpr std::string_view Turn = "CASE WHEN Image.SOPClassUID LIKE '1.2.840.10008.5.1.4.1.1.11.%' THEN 0"
                                  " WHEN Image.SOPClassUID='1.2.840.10008.5.1.4.1.1.88.11' THEN 1 ELSE 2 END";
constexpr std::string_view NoImage = " AND (Image.SOPClassUID LIKE '1.2.840.10008.5.1.4.1.1.11.%'"
                                     " OR Image.SOPClassUID='1.2.840.10008.5.1.4.1.1.88.11')";
constexpr std::string_view NotQueued = " NOT EXISTS (SELECT 1 FROM Outgoing WHERE Outgoing.ImageID=Image.ImageID)";

std::string NowOf(Engine engine) {
    switch (engine) {
    case Engine::Sqlite:
        return "CAST(strftime('%s','now') AS INTEGER)";
    case Engine::PostgreSql:
        return "CAST(floor(EXTRACT(EPOCH FROM clock_timestamp())) AS BIGINT)";
    case Engine::MariaDb:
        break;
    }
    return "UNIX_TIMESTAMP()";
}

/// Makes rows of those of `Image`.
std::string Queueing(Engine engine, std::string_view which, bool images) {
    const std::string now = NowOf(engine);
    return "INSERT INTO Outgoing (ImageID, SeriesInstanceUID, SOPClassUID, SOPInstanceUID, Turn, State, Attempts,"
           " QueuedTime, NextTime, LastWords)"
           " SELECT Image.ImageID, Image.SeriesInstanceUID, Image.SOPClassUID, Image.SOPInstanceUID, " +
           std::string(Turn) + ", 'waiting', 0, " + now + ", " + now + ", '' FROM Image WHERE" + std::string(which) +
           (images ? std::string() : std::string(NoImage));
}

std::string After(const std::string& now, seconds time) {
    return now + "+" + std::to_string(time.count());
}

std::string Words(const std::string& text) {
    return std::string(FirstCharacters(text, longest::TextColumn));
}

std::int64_t Integer(std::optional<std::string_view> text) {
    std::int64_t number = 0;
    if (text)
        std::from_chars(text->data(), text->data() + text->size(), number);
    return number;
}

std::string Hexadecimal(std::uint16_t number) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04XH", static_cast<unsigned>(number));
    return text.data();
}

/// DICOM PS3.3, C.14.1.1.
std::string ReasonWords(std::uint16_t reason) {
    switch (reason) {
    case 0x0110:
        return "it failed to process it";
    case 0x0112:
        return "it does not have it";
    case 0x0119:
        return "it has it as another class";
    case 0x0122:
        return "it does not take this class";
    case 0x0131:
        return "the question was asked before";
    case 0x0213:
        return "it is out of resources";
    default:
        return "it does not answer for it";
    }
}

} // namespace

void QueueStoredObject(Connection& connection, Engine engine, const std::string& seriesUid,
                       const std::string& imageFile, bool images) {
    RunChange(connection,
              Queueing(engine, " Image.SeriesInstanceUID=? AND Image.ImageFile=? AND" + std::string(NotQueued), images),
              std::array{seriesUid, imageFile});
}

bool OutgoingQueue::IsThere(Connection& connection) try {
    for (const char* table : {"Archive", "Outgoing", "OutgoingClaim"})
        connection.OpenResultSet(std::string("SELECT * FROM ") + table + " WHERE 1=0");
    return true;
} catch (const Error&) {
    if (!connection.IsOpen())
        throw; // it is not known
    return false;
}

OutgoingQueue::OutgoingQueue(Connection& connection, Engine engine, std::string claimant)
    : connection_(connection), engine_(engine), claimant_(std::move(claimant)) {}

std::string OutgoingQueue::Now() const {
    return NowOf(engine_);
}

int OutgoingQueue::Number(const std::string& query) {
    const auto rows = connection_.OpenResultSet(query);
    return rows->AtEnd() ? 0 : static_cast<int>(Integer(rows->Field(0)));
}

int OutgoingQueue::QueueAll(bool images) {
    const std::string all = "SELECT count(*) FROM Outgoing";
    connection_.BeginTransaction();
    const int before = Number(all);
    RunChange(connection_, Queueing(engine_, NotQueued, images), {});
    const int after = Number(all);
    connection_.Commit();
    return after - before;
}

int OutgoingQueue::RetryRefused() {
    const int refused = Number("SELECT count(*) FROM Outgoing WHERE State='refused'");
    RunChange(connection_,
              "UPDATE Outgoing SET State='waiting', Attempts=0, NextTime=" + Now() + " WHERE State='refused'", {});
    // What waited behind them need not go on waiting.
    RunChange(connection_, "UPDATE Outgoing SET NextTime=" + Now() + " WHERE State='waiting'", {});
    return refused;
}

std::vector<std::string> OutgoingQueue::DueSeries(int most) {
    std::vector<std::string> due;
    const auto rows = connection_.OpenResultSet(
        "SELECT Outgoing.SeriesInstanceUID, MIN(Outgoing.Turn) AS FirstTurn, MIN(Outgoing.NextTime) AS FirstTime"
        " FROM Outgoing WHERE Outgoing.State='waiting' AND Outgoing.NextTime<=" +
        Now() +
        " AND NOT EXISTS (SELECT 1 FROM OutgoingClaim WHERE OutgoingClaim.SeriesInstanceUID=Outgoing.SeriesInstanceUID"
        " AND OutgoingClaim.ClaimedUntil>" +
        Now() + ") GROUP BY Outgoing.SeriesInstanceUID ORDER BY FirstTurn, FirstTime LIMIT " + std::to_string(most));
    for (; !rows->AtEnd(); rows->MoveNext())
        due.push_back(rows->Text("SeriesInstanceUID"));
    return due;
}

/// One of several who try at once has it: the row's key decides who makes it, the row's lock who takes it over.
bool OutgoingQueue::Claim(const std::string& seriesUid, seconds time) {
    const auto holder = [&]() -> std::optional<std::string> {
        const auto rows = connection_.OpenResultSet("SELECT Claimant FROM OutgoingClaim WHERE SeriesInstanceUID=" +
                                                    Quoted(seriesUid));
        return rows->AtEnd() ? std::nullopt : std::optional(std::string(rows->Field(0).value_or("")));
    };
    RunChange(connection_,
              "UPDATE OutgoingClaim SET Claimant=?, ClaimedUntil=" + After(Now(), time) +
                  " WHERE SeriesInstanceUID=? AND (Claimant=? OR ClaimedUntil<=" + Now() + ")",
              std::array{claimant_, seriesUid, claimant_});
    if (!holder())
        try {
            RunChange(connection_,
                      "INSERT INTO OutgoingClaim (SeriesInstanceUID, Claimant, ClaimedUntil) VALUES (?, ?, " +
                          After(Now(), time) + ")",
                      std::array{seriesUid, claimant_});
        } catch (const Error&) {
            return false; // another one was quicker
        }
    return holder() == claimant_;
}

void OutgoingQueue::Release(const std::string& seriesUid) {
    RunChange(connection_, "DELETE FROM OutgoingClaim WHERE SeriesInstanceUID=? AND Claimant=?",
              std::array{seriesUid, claimant_});
}

std::vector<OutgoingQueue::Object> OutgoingQueue::NotTaken(const std::string& seriesUid) {
    constexpr int most = 100;
    RunChange(connection_, Queueing(engine_, " Image.SeriesInstanceUID=? AND" + std::string(NotQueued), false),
              std::array{seriesUid});
    // A row whose object was taken out of the catalogue.
    RunChange(connection_,
              "DELETE FROM Outgoing WHERE SeriesInstanceUID=? AND State='waiting'"
              " AND NOT EXISTS (SELECT 1 FROM Image WHERE Image.ImageID=Outgoing.ImageID)",
              std::array{seriesUid});
    std::vector<Object> objects;
    const auto rows = connection_.OpenResultSet(
        "SELECT Outgoing.ImageID, Outgoing.SOPClassUID, Outgoing.SOPInstanceUID, Outgoing.Turn, Outgoing.State,"
        " Outgoing.Attempts, Outgoing.NextTime-" +
        Now() +
        " AS DueIn, Study.StudyPath, Series.SeriesDir, Image.ImageFile"
        " FROM Outgoing, Image, Series, Study WHERE Outgoing.SeriesInstanceUID=" +
        Quoted(seriesUid) +
        " AND (Outgoing.State='waiting' OR (Outgoing.State='refused' AND Outgoing.Turn=1))"
        " AND Image.ImageID=Outgoing.ImageID"
        " AND Series.SeriesInstanceUID=Image.SeriesInstanceUID AND Study.StudyInstanceUID=Series.StudyInstanceUID"
        " ORDER BY length(Image.ImageFile), Image.ImageFile LIMIT " +
        std::to_string(most));
    for (; !rows->AtEnd(); rows->MoveNext())
        objects.push_back({.imageId = Integer(rows->Field("ImageID")),
                           .sopClassUid = rows->Text("SOPClassUID"),
                           .sopInstanceUid = rows->Text("SOPInstanceUID"),
                           .file = NativePath(rows->Text("StudyPath") + "\\" + rows->Text("SeriesDir") + "\\" +
                                              rows->Text("ImageFile")),
                           .turn = static_cast<int>(Integer(rows->Field("Turn"))),
                           .refused = rows->Text("State") == outgoing::Refused,
                           .dueIn = seconds(Integer(rows->Field("DueIn"))),
                           .attempts = static_cast<int>(Integer(rows->Field("Attempts")))});
    return objects;
}

std::set<std::string> OutgoingQueue::StoredFiles(const std::string& seriesUid) {
    std::set<std::string> names;
    for (const auto rows =
             connection_.OpenResultSet("SELECT ImageFile FROM Image WHERE SeriesInstanceUID=" + Quoted(seriesUid));
         !rows->AtEnd(); rows->MoveNext())
        names.insert(rows->Text("ImageFile"));
    return names;
}

bool OutgoingQueue::AnyNotTaken(const std::vector<std::string>& instances) {
    return std::ranges::any_of(instances, [this](const std::string& uid) {
        return Number("SELECT CASE WHEN SUM(CASE WHEN State<>'waiting' THEN 1 ELSE 0 END)=0 THEN 1 ELSE 0"
                      " END FROM Outgoing WHERE SOPInstanceUID=" +
                      Quoted(uid)) > 0;
    });
}

bool OutgoingQueue::IsSecondOfItsUid(const Object& object) {
    return Number("SELECT count(*) FROM Image WHERE ImageID<" + std::to_string(object.imageId) +
                  " AND SOPInstanceUID=" + Quoted(object.sopInstanceUid)) > 0;
}

void OutgoingQueue::Taken(const Object& object) {
    RunChange(connection_,
              "UPDATE Outgoing SET State='sent', LastWords='', TransactionUID=NULL, NextTime=" + Now() +
                  " WHERE ImageID=" + std::to_string(object.imageId),
              {});
}

void OutgoingQueue::PutOff(const std::string& seriesUid, seconds time) {
    RunChange(connection_,
              "UPDATE Outgoing SET NextTime=" + After(Now(), time) +
                  " WHERE SeriesInstanceUID=? AND State='waiting' AND NextTime<" + After(Now(), time),
              std::array{seriesUid});
}

void OutgoingQueue::Failed(const Object& object, const std::string& words, seconds retryIn) {
    RunChange(connection_,
              "UPDATE Outgoing SET Attempts=Attempts+1, LastWords=?, NextTime=" + After(Now(), retryIn) +
                  " WHERE ImageID=" + std::to_string(object.imageId),
              std::array{Words(words)});
}

void OutgoingQueue::Refuse(const Object& object, const std::string& words) {
    RunChange(connection_,
              "UPDATE Outgoing SET State='refused', Attempts=Attempts+1, LastWords=? WHERE ImageID=" +
                  std::to_string(object.imageId),
              std::array{Words(words)});
}

std::vector<OutgoingQueue::Reference> OutgoingQueue::ClaimQuestion(const std::string& transactionUid, int most) {
    std::string ids;
    for (const auto rows =
             connection_.OpenResultSet("SELECT ImageID FROM Outgoing WHERE State='sent' AND NextTime<=" + Now() +
                                       " ORDER BY NextTime, ImageID LIMIT " + std::to_string(most));
         !rows->AtEnd(); rows->MoveNext())
        ids += (ids.empty() ? "" : ", ") + rows->Text("ImageID");
    if (ids.empty())
        return {};
    // An answer takes an archive seconds or, from a tape, an hour: asked again after 30 s, 2 min, 4.5 min ...
    RunChange(connection_,
              "UPDATE Outgoing SET TransactionUID=?, LastWords='it has not answered yet', NextTime=" + Now() +
                  "+CASE WHEN Attempts>=10 THEN 3600 ELSE 30*(Attempts+1)*(Attempts+1) END, Attempts=Attempts+1"
                  " WHERE State='sent' AND NextTime<=" +
                  Now() + " AND ImageID IN (" + ids + ")",
              std::array{transactionUid});
    std::vector<Reference> references;
    for (const auto rows = connection_.OpenResultSet(
             "SELECT SOPClassUID, SOPInstanceUID FROM Outgoing WHERE State='sent' AND TransactionUID=" +
             Quoted(transactionUid) + " ORDER BY ImageID");
         !rows->AtEnd(); rows->MoveNext())
        references.push_back({rows->Text("SOPClassUID"), rows->Text("SOPInstanceUID")});
    return references;
}

void OutgoingQueue::NotAsked(const std::string& transactionUid, const std::string& words) {
    RunChange(connection_, "UPDATE Outgoing SET LastWords=? WHERE State='sent' AND TransactionUID=?",
              std::array{Words(words), transactionUid});
}

int OutgoingQueue::Settle(const Answer& answer) {
    const std::string ofTransaction = "State='sent' AND TransactionUID=" + Quoted(answer.transactionUid);
    int meant = 0;
    connection_.BeginTransaction();
    const auto settle = [&](const std::string& uid, const std::string& change, std::span<const std::string> texts) {
        const std::string which = " WHERE " + ofTransaction + " AND SOPInstanceUID=" + Quoted(uid);
        const int attempts = Number("SELECT COALESCE(MAX(Attempts), -1) FROM Outgoing" + which);
        if (attempts < 0)
            return;
        ++meant;
        RunChange(connection_, "UPDATE Outgoing SET " + change + After(Now(), Pause(attempts)) + which, texts);
    };
    // An archive that says both of an object has not made itself responsible for it.
    for (const Failure& failure : answer.failed)
        settle(failure.sopInstanceUid, "State='waiting', LastWords=?, NextTime=",
               std::array{"asked whether it keeps it, " + ReasonWords(failure.reason) + " (" +
                          Hexadecimal(failure.reason) + ")"});
    for (const std::string& uid : answer.committed)
        settle(uid, "State='committed', LastWords='', NextTime=", {});
    connection_.Commit();
    return meant;
}

std::map<std::string, OutgoingQueue::State> OutgoingQueue::States() {
    std::map<std::string, State> states;
    for (const auto rows = connection_.OpenResultSet(
             "SELECT State, count(*) AS Objects, " + Now() +
             "-MIN(QueuedTime) AS Age, MIN(QueuedTime) AS Since FROM Outgoing GROUP BY State");
         !rows->AtEnd(); rows->MoveNext())
        states[rows->Text("State")] = {.count = static_cast<int>(Integer(rows->Field("Objects"))),
                                       .oldest = seconds(Integer(rows->Field("Age"))),
                                       .lastWords = {}};
    for (auto& [name, state] : states) {
        const auto rows = connection_.OpenResultSet("SELECT LastWords FROM Outgoing WHERE State=" + Quoted(name) +
                                                    " ORDER BY QueuedTime, ImageID LIMIT 1");
        if (!rows->AtEnd())
            state.lastWords = rows->Field(0).value_or("");
    }
    return states;
}

int OutgoingQueue::NeverQueued() {
    return Number("SELECT count(*) FROM Image WHERE" + std::string(NotQueued) + std::string(NoImage));
}

seconds OutgoingQueue::Pause(int attempts) {
    constexpr int mostDoublings = 10;
    return std::min(FirstPause * (1 << std::clamp(attempts, 0, mostDoublings)), LongestPause);
}

} // namespace tavrel
