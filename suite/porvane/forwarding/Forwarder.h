#pragma once

#include "platform/database.h"
#include "suite/porvane/forwarding/ArchiveLink.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace tavrel {

class ArchiveTls;

/// Sends what is queued to the archive and asks whether it keeps it, on a thread of its own, as long as the service
/// lives and whatever fails meanwhile. Of a report one version is under way at a time, in the order of their storing,
/// and none before the presentation states that it names; other reports go on while one is stuck. Services of a
/// department share the work (`OutgoingQueue`).
class Forwarder {
public:
    /// `tls`: none for connections in the clear. `answersComeElsewhere`: the archive answers in associations that it
    /// opens itself, so that its answer is not waited for.
    Forwarder(Database& database, std::string dataSource, ArchiveSetting archive, const ArchiveTls* tls,
              bool answersComeElsewhere);
    ~Forwarder();
    Forwarder(const Forwarder&) = delete;
    Forwarder& operator=(const Forwarder&) = delete;

    void GoOn();

private:
    using Clock = std::chrono::steady_clock;
    using Object = OutgoingQueue::Object;

    void Run(const std::stop_token& stop);
    bool Pass(const std::stop_token& stop);
    bool SendSeries(const std::string& seriesUid, const std::stop_token& stop);
    std::vector<Object> InTheirTurn(const std::string& seriesUid, std::vector<Object> objects);
    std::optional<std::filesystem::path> BeingStored(const std::string& seriesUid, const std::filesystem::path& folder);
    bool Send(ArchiveLink& link, const std::string& seriesUid, const Object& object);
    void NotNow(const std::string& seriesUid, const Object& object, const std::string& words,
                std::chrono::seconds pause);
    void NeverAgain(const std::string& seriesUid, const Object& object, const std::string& words);
    void Ask(const std::stop_token& stop);
    void Reached();
    void NotReached(const std::string& why);
    void Say(const std::string& words);

    std::unique_ptr<Connection> connection_;
    std::string dataSource_;
    ArchiveSetting archive_;
    const ArchiveTls* tls_;
    std::chrono::seconds answerWait_;
    std::string claimant_;
    std::optional<OutgoingQueue> queue_;
    int notReached_ = 0;
    Clock::time_point restsUntil_ = Clock::now();
    Clock::time_point busyUntil_ = Clock::now();
    std::string said_;
    int wakeUp_;
    std::jthread thread_;
};

} // namespace tavrel
