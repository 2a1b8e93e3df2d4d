#pragma once

#include "platform/database.h"
#include "suite/porvane/forwarding/ArchiveSetting.h"
#include "suite/porvane/forwarding/ArchiveTls.h"

#include <memory>
#include <optional>
#include <string>

namespace tavrel {

class ArchiveAnswers;
class Forwarder;

/// All that a storage service does for the archive behind.
class Forwarding {
public:
    /// What the person who started the service said; what is empty is as the department has it.
    struct Options {
        std::string address; ///< "AET@HOST:PORT"
        std::string callingAe;
        bool images = false;
        std::string answers; ///< "ADDRESS:PORT"
        bool tls = false;
        ArchiveTls::Files files;
    };

    /// `serviceAe` is what the service calls itself where nothing else is said. A service that cannot speak with the
    /// archive stores and queues all the same, and says why in the log. Throws std::runtime_error with words for the
    /// person who started the service where nothing can be queued.
    Forwarding(Database& database, const std::string& dataSource, const std::string& serviceAe, const Options& options);
    ~Forwarding();
    Forwarding(const Forwarding&) = delete;
    Forwarding& operator=(const Forwarding&) = delete;

    /// Where it sends to; nothing where there is no archive.
    const std::optional<ArchiveSetting>& Archive() const { return archive_; }

    void GoOn();

private:
    std::optional<ArchiveSetting> archive_;
    std::unique_ptr<ArchiveTls> tls_;
    std::unique_ptr<ArchiveAnswers> answers_;
    std::unique_ptr<Forwarder> forwarder_;
};

} // namespace tavrel
