#pragma once

#include "platform/dictation.h"

#include <string>
#include <utility>

namespace tavrel::test {

/// A command that writes when a test says so.
class FakeDictation : public Dictation {
public:
    std::string command; ///< of the last start
    int started = 0, finished = 0, stopped = 0;

    bool Running() const { return static_cast<bool>(ended_); }
    void Write(const Outcome& outcome) {
        if (const auto ended = std::exchange(ended_, {}))
            ended(outcome);
    }

    void Start(std::string_view what, std::function<void(const Outcome&)> ended) override {
        ++started;
        command = what;
        ended_ = std::move(ended);
    }
    void Finish() override { ++finished; }
    void Stop() override {
        ++stopped;
        ended_ = {};
    }

private:
    std::function<void(const Outcome&)> ended_;
};

} // namespace tavrel::test
