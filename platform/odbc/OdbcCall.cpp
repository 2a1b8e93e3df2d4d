#include "platform/odbc/OdbcCall.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace tavrel {

struct OdbcCall::State {
    std::mutex mutex;
    std::condition_variable came;
    bool done = false;
    SQLRETURN result = 0;
};

OdbcCall::OdbcCall(std::function<SQLRETURN()> call) : state_(std::make_shared<State>()) {
    std::thread([state = state_, call = std::move(call)]() mutable {
        const SQLRETURN result = call();
        call = nullptr; // before anybody goes on
        const std::lock_guard guard(state->mutex);
        state->result = result;
        state->done = true;
        state->came.notify_all();
    }).detach();
}

bool OdbcCall::WaitUntil(Deadline deadline) const {
    std::unique_lock guard(state_->mutex);
    return state_->came.wait_until(guard, deadline, [this] { return state_->done; });
}

SQLRETURN OdbcCall::Result() const {
    const std::lock_guard guard(state_->mutex);
    return state_->result;
}

} // namespace tavrel
