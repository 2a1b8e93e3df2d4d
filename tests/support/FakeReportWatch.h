#pragma once

#include "platform/report_watch.h"

#include <string>
#include <utility>

namespace tavrel::test {

/// The catalogue has other versions when a test says so.
class FakeReportWatch : public ReportWatch {
public:
    std::string seriesUid; ///< what is watched; empty when nothing is

    void Tell(const std::string& lastFile = {}) const {
        if (const auto tell = changed_) // it may end the watch
            tell(lastFile);
    }

    void Watch(const std::string& series, std::function<void(const std::string&)> changed) override {
        seriesUid = series;
        changed_ = std::move(changed);
    }
    void Stop() override {
        seriesUid.clear();
        changed_ = {};
    }

private:
    std::function<void(const std::string&)> changed_;
};

} // namespace tavrel::test
