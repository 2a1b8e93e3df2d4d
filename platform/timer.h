#pragma once

#include <chrono>
#include <functional>

namespace tavrel {

/// Calls back after a while, on the user-interface thread, also while a message box or a modal window waits for the
/// person.
class Timer {
public:
    virtual ~Timer() = default;

    /// Calls `act` once when `delay` has passed. A call that has not come yet is replaced.
    virtual void Start(std::chrono::milliseconds delay, std::function<void()> act) = 0;
    /// A call that has not come yet does not come.
    virtual void Stop() = 0;
};

} // namespace tavrel
