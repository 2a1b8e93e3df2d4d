#pragma once

#include "platform/database.h"
#include "suite/catalogue/Schema.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The states of an object on its way to the archive, as the catalogue writes them.
namespace outgoing {
inline constexpr std::string_view Waiting = "waiting";
inline constexpr std::string_view Sent = "sent";           ///< the archive answered that it took it
inline constexpr std::string_view Committed = "committed"; ///< the archive took the responsibility for it
inline constexpr std::string_view Refused = "refused";     ///< for good, until a person has it tried again
} // namespace outgoing

/// Queues the stored object of that file, in the transaction that made its row in `Image`. Without `images` nothing
/// but reports and presentation states is queued.
void QueueStoredObject(Connection& connection, Engine engine, const std::string& seriesUid,
                       const std::string& imageFile, bool images);

/// What goes to the archive and how far it is: table `Outgoing`. Any number of services of a department work on it at
/// once, each through a connection of its own; who sends of a series holds a claim on it, which runs out. All times
/// are those of the catalogue's clock. Errors are the database's own; one in a moment when two services meet (a
/// cluster's conflict) is mended by the next try.
class OutgoingQueue {
public:
    /// Whether the catalogue has the tables, and this role may read them.
    static bool IsThere(Connection& connection);

    /// `claimant`: who works on it through this connection; no two are called the same.
    OutgoingQueue(Connection& connection, Engine engine, std::string claimant);

    /// Queues what was stored before there was an archive. How much that was.
    int QueueAll(bool images);
    /// Lets what was refused be tried again. How much that was.
    int RetryRefused();

    struct Object {
        std::int64_t imageId = 0;
        std::string sopClassUid;
        std::string sopInstanceUid;
        std::filesystem::path file;
        int turn = 0; ///< 0 presentation states, 1 reports, 2 all else
        bool refused = false;
        std::chrono::seconds dueIn{0};
        int attempts = 0;
    };

    /// The series of which something is due and that nobody works on: presentation states first, then reports.
    std::vector<std::string> DueSeries(int most);
    /// False when another one works on the series.
    bool Claim(const std::string& seriesUid, std::chrono::seconds time);
    void Release(const std::string& seriesUid);
    /// What of a claimed series waits, in the order of its storing; of reports also what was refused and what was
    /// stored before there was an archive.
    std::vector<Object> NotTaken(const std::string& seriesUid);
    /// The names of the files of a series that are stored.
    std::set<std::string> StoredFiles(const std::string& seriesUid);
    /// Whether one of these instances is on its way and was not taken yet.
    bool AnyNotTaken(const std::vector<std::string>& instances);
    /// Whether an object that was stored earlier has the same UID: an archive holds one of them.
    bool IsSecondOfItsUid(const Object& object);

    void Taken(const Object& object);
    /// Nothing of the series is due before that time.
    void PutOff(const std::string& seriesUid, std::chrono::seconds time);
    void Failed(const Object& object, const std::string& words, std::chrono::seconds retryIn);
    void Refuse(const Object& object, const std::string& words);

    struct Reference {
        std::string sopClassUid;
        std::string sopInstanceUid;
    };
    /// The objects for which storage commitment is to be asked now; they are this one's until the answer is overdue.
    std::vector<Reference> ClaimQuestion(const std::string& transactionUid, int most);
    /// The archive did not even take the question.
    void NotAsked(const std::string& transactionUid, const std::string& words);

    struct Failure {
        std::string sopInstanceUid;
        std::uint16_t reason = 0;
    };
    struct Answer {
        std::string transactionUid;
        std::vector<std::string> committed; ///< SOP Instance UIDs
        std::vector<Failure> failed;
    };
    /// What the archive said of a transaction; of one that is not known, or no longer, nothing is taken. How many
    /// objects were meant.
    int Settle(const Answer& answer);

    struct State {
        int count = 0;
        std::optional<std::chrono::seconds> oldest; ///< ago
        std::string lastWords;                      ///< of the oldest
    };
    /// By the names of the states; without those that nothing is in.
    std::map<std::string, State> States();
    /// The reports and presentation states that were never queued.
    int NeverQueued();

    /// How long to wait after so many failures.
    static std::chrono::seconds Pause(int attempts);

private:
    std::string Now() const;
    int Number(const std::string& query);

    Connection& connection_;
    Engine engine_;
    std::string claimant_;
};

} // namespace tavrel
