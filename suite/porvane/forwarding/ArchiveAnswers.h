#pragma once

#include "platform/database.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace tavrel {

class ArchiveTls;

/// Hears what the archive answers in associations that it opens itself: N-EVENT-REPORT of storage commitment (DICOM
/// PS3.4, J.3.3) and verification, from the archive's title alone. Nothing else is served, few connections at once,
/// each for a short while and in bounded memory.
class ArchiveAnswers {
public:
    static constexpr int MostAtOnce = 4;
    static constexpr std::size_t MostBytes = 1024UL * 1024; ///< of a data set
    static constexpr std::chrono::seconds MostTime{60};     ///< of a connection

    /// "ADDRESS:PORT" of this machine.
    struct Place {
        std::string address;
        int port = 0;
    };
    static std::optional<Place> ReadPlace(std::string_view text);

    /// Listens. Throws std::runtime_error. `tls`: none for connections in the clear.
    ArchiveAnswers(const Place& place, ArchiveSetting archive, const ArchiveTls* tls, Database& database,
                   std::string dataSource);
    ~ArchiveAnswers();
    ArchiveAnswers(const ArchiveAnswers&) = delete;
    ArchiveAnswers& operator=(const ArchiveAnswers&) = delete;

    void GoOn();

    /// False when it could not be brought to the catalogue.
    using Settle = std::function<bool(const OutgoingQueue::Answer&)>;
    /// Serves one connection in the clear, which it takes over, to its end. Throws nothing.
    static void Serve(int socket, const ArchiveSetting& archive, const Settle& settle) noexcept;

private:
    struct Worker;

    void Run(const std::stop_token& stop);
    void Accept();
    bool Write(const OutgoingQueue::Answer& answer);

    ArchiveSetting archive_;
    const ArchiveTls* tls_;
    std::string dataSource_;
    int listener_;
    int wakeUp_;
    std::mutex writing_; ///< guards the next ones
    std::unique_ptr<Connection> connection_;
    std::optional<OutgoingQueue> queue_;
    std::list<std::unique_ptr<Worker>> workers_; ///< of the listening thread
    std::jthread thread_;
};

} // namespace tavrel
