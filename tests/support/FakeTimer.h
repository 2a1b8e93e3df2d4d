#pragma once

#include "platform/timer.h"

#include <utility>

namespace tavrel::test {

/// Time passes when a test says so.
class FakeTimer : public Timer {
public:
    std::chrono::milliseconds delay{}; ///< of the last start

    bool Running() const { return static_cast<bool>(act_); }
    /// The delay has passed. Nothing happens when nothing was started.
    void Fire() {
        if (const auto act = std::exchange(act_, {}))
            act();
    }

    void Start(std::chrono::milliseconds wait, std::function<void()> act) override {
        delay = wait;
        act_ = std::move(act);
    }
    void Stop() override { act_ = {}; }

private:
    std::function<void()> act_;
};

} // namespace tavrel::test
