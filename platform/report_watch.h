#pragma once

#include <functional>
#include <string>

namespace tavrel {

/// Watches the catalogue for versions of one report, which any workstation may store.
class ReportWatch {
public:
    virtual ~ReportWatch() = default;

    /// From now on `changed` is called whenever the catalogue has other versions of the report's series than before,
    /// a few seconds afterwards at most, and once for those that it has now, with the name of the last file. On the
    /// user-interface thread, also while a message box waits for the person. Another series' watch ends. Never waits
    /// and never fails: while the catalogue is away nothing is called.
    virtual void Watch(const std::string& seriesUid, std::function<void(const std::string& lastFile)> changed) = 0;
    /// Nothing is called any more.
    virtual void Stop() = 0;
};

} // namespace tavrel
