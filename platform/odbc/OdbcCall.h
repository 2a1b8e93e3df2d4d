#pragma once

#include <sqltypes.h>

#include <chrono>
#include <functional>
#include <memory>

namespace tavrel {

/// A driver's call on a thread of its own, so that its caller need not wait longer than it wants: no driver ends a
/// call to a server that keeps its connection and says nothing.
class OdbcCall {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// `call` may outlast everything that it was made by: it owns what it works with, and lets go of it at its end.
    explicit OdbcCall(std::function<SQLRETURN()> call);

    /// Whether it has come back.
    bool WaitUntil(Deadline deadline) const;
    /// What it came back with.
    SQLRETURN Result() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace tavrel
