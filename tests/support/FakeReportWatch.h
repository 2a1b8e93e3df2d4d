#pragma once

#include "platform/report_watch.h"

#include <string>
#include <utility>

namespace tavrel::test {

/// The catalogue has other versions when a test says so.
class FakeReportWatch : public ReportWatch {
public:
    std::string seriesUid; ///< what is watched; empty when nothing is

    void Tell(const std::string& lastFile = {}) const { Tell(WatchedReport{.lastFile = lastFile}); }
    void Tell(const WatchedReport& report) const {
        if (const auto tell = changed_) // it may end the watch
            tell(report);
    }

    void Watch(const std::string& series, Changed changed) override {
        seriesUid = series;
        changed_ = std::move(changed);
    }
    void Stop() override {
        seriesUid.clear();
        changed_ = {};
    }

private:
    Changed changed_;
};

} // namespace tavrel::test
