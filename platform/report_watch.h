#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tavrel {

/// What the catalogue has of a report.
struct WatchedReport {
    int versions = 0;
    std::string lastFile{}; ///< the name of the last version's file
    /// Of how many versions the archive has said that it keeps them; nothing where none is to go to an archive.
    std::optional<int> archived{};

    bool operator==(const WatchedReport&) const = default;
};

/// Watches the catalogue for versions of one report, which any workstation may store.
class ReportWatch {
public:
    virtual ~ReportWatch() = default;

    using Changed = std::function<void(const WatchedReport&)>;

    /// From now on `changed` is called whenever the catalogue has other versions of the report's series than before, or
    /// the archive keeps more of them, a few seconds afterwards at most, and once for what it has now. On the
    /// user-interface thread, also while a message box waits for the person. Another series' watch ends. Never waits
    /// and never fails: while the catalogue is away nothing is called.
    virtual void Watch(const std::string& seriesUid, Changed changed) = 0;
    /// Nothing is called any more.
    virtual void Stop() = 0;
};

} // namespace tavrel
