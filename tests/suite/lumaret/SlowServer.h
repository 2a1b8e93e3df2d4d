#pragma once

#include "platform/odbc/OdbcDatabase.h"
#include "tests/support/ForwardingDatabase.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace tavrel::test {

/// A server that keeps each statement in which certain words stand waiting until it is told to go on.
class SlowServer : public Database {
public:
    void Hold(const std::string& words) {
        const std::lock_guard lock(state_->guard);
        state_->held = words;
    }
    void GoOn() {
        const std::lock_guard lock(state_->guard);
        state_->held.clear();
        state_->changed.notify_all();
    }
    /// Statements that wait.
    int Waiting() const {
        const std::lock_guard lock(state_->guard);
        return state_->waiting;
    }
    int Connections() const {
        const std::lock_guard lock(state_->guard);
        return state_->connections;
    }
    bool ShareAConnection() const {
        const std::lock_guard lock(state_->guard);
        return state_->shared;
    }

    std::unique_ptr<Connection> NewConnection() override {
        const std::lock_guard lock(state_->guard);
        ++state_->connections;
        return std::make_unique<SlowConnection>(OdbcDatabase().NewConnection(), state_);
    }

private:
    struct State {
        std::mutex guard;
        std::condition_variable changed;
        std::string held;
        int waiting = 0;
        int connections = 0;
        bool shared = false; ///< two threads have used one connection
    };

    class SlowConnection : public ForwardingConnection {
    public:
        SlowConnection(std::unique_ptr<Connection> target, std::shared_ptr<State> state)
            : ForwardingConnection(std::move(target)), state_(std::move(state)) {}

        std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
            std::unique_lock lock(state_->guard);
            state_->shared = state_->shared || thread_ != std::this_thread::get_id();
            const auto held = [&] {
                return !state_->held.empty() && statement.find(state_->held) != std::string_view::npos;
            };
            ++state_->waiting;
            state_->changed.wait(lock, [&] { return !held(); });
            --state_->waiting;
            lock.unlock();
            return ForwardingConnection::OpenResultSet(statement, cursor);
        }

    private:
        std::shared_ptr<State> state_;
        std::thread::id thread_ = std::this_thread::get_id();
    };

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace tavrel::test
