#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>

namespace tavrel {

/// The places at which senders are served. The fewer are left, the sooner a sender that makes nothing of its
/// place gives way; a few are left to the report editor alone.
class Places {
public:
    static constexpr int ForAll = 32;
    static constexpr int ForTheEditor = 4; ///< besides
    static constexpr std::chrono::milliseconds LeastPatience{2000};

    bool IsFree(bool editor) const { return taken_ < ForAll + (editor ? ForTheEditor : 0); }

    /// What is left of the time that a sender usually has.
    std::chrono::milliseconds Patience(std::chrono::milliseconds usual) const {
        return std::max(LeastPatience, usual * std::max(ForAll - taken_, 0) / ForAll);
    }

    /// One of them.
    class Taken {
    public:
        explicit Taken(Places& places) : places_(places) { ++places_.taken_; }
        ~Taken() { --places_.taken_; }
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;

    private:
        Places& places_;
    };

private:
    std::atomic<int> taken_ = 0;
};

} // namespace tavrel
