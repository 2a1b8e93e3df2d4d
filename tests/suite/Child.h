#pragma once

#include "tests/support/Shell.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace tavrel {

/// A process of the test, whose outputs go into a file. It is killed when it outlives this object.
class Child {
public:
    Child(const std::vector<std::string>& command, const std::string& outputFile);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool IsRunning();
    pid_t Process() const { return pid_; }
    void Signal(int signal) const;
    /// Waits at most 20 seconds; the exit status, or 128 and the signal that ended it.
    int Wait();

private:
    pid_t pid_;
    int status_ = -1;
    bool running_ = true;
};

/// Looks every 10 ms, for at most 20 seconds.
template <typename Condition> bool Eventually(Condition condition) {
    constexpr int attempts = 2000;
    for (int i = 0; i < attempts; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace tavrel
