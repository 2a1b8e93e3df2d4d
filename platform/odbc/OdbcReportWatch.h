#pragma once

#include "platform/report_watch.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace tavrel {

/// Asks the catalogue every few seconds, on a thread and a connection of its own: a statement over the rows of one
/// series, by their index, and one over those of its way to the archive. A server's own notices would be quicker, but
/// not every engine has them, and ODBC has none.
class OdbcReportWatch final : public ReportWatch {
public:
    /// Has something run on the user-interface thread; called from any.
    using Post = std::function<void(std::function<void()>)>;

    OdbcReportWatch(std::string connectionText, Post post, std::chrono::milliseconds pause = std::chrono::seconds(3));
    /// Does not wait for a server that does not answer.
    ~OdbcReportWatch() override;
    OdbcReportWatch(const OdbcReportWatch&) = delete;
    OdbcReportWatch& operator=(const OdbcReportWatch&) = delete;

    void Watch(const std::string& seriesUid, Changed changed) override;
    void Stop() override;

private:
    struct Shared;
    static void Run(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> shared_;
    bool running_ = false;
};

} // namespace tavrel
