#pragma once

#include "suite/porvane/FolderWatch.h"
#include "suite/porvane/UnsentVersions.h"

#include <filesystem>
#include <stop_token>
#include <thread>

namespace tavrel {

/// Takes unsent versions in as they come, on a thread of its own. What could not be taken in is tried again after
/// some seconds, then less and less often.
class UnsentDelivery {
public:
    UnsentDelivery(UnsentVersions& versions, const std::filesystem::path& folder);
    ~UnsentDelivery();
    UnsentDelivery(const UnsentDelivery&) = delete;
    UnsentDelivery& operator=(const UnsentDelivery&) = delete;

    /// Takes in what waits already; ends early once `stopSignals`, a signal descriptor, is readable.
    void TakeInAtStart(int stopSignals);
    void GoOn();

private:
    void Run(const std::stop_token& stop);

    UnsentVersions& versions_;
    FolderWatch watch_;
    int wakeUp_;
    bool left_ = false;
    std::jthread thread_;
};

} // namespace tavrel
