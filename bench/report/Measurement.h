#pragma once

#include <chrono>
#include <string_view>

namespace tavrel {

/// The time that passes, and by how much the process's peak memory grows, from its making on.
class Measurement {
public:
    Measurement();

    /// Gives what the heap holds in reserve back to the system and starts the peak anew, so that a
    /// small growth shows too. What is measured next pays for its memory as a fresh process does.
    static void StartAtRest();

    /// Writes what it has been until now as one line for bench/run: the name, seconds, bytes.
    void Print(std::string_view name) const;

private:
    long peakKilobytes_;
    std::chrono::steady_clock::time_point start_;
};

} // namespace tavrel
